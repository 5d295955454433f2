#include "tools/voran/command_run.h"

#include <cstdio>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/failure.h"
#include "tools/voran/terminal.h"
#include "voran/platform/progress.h"

namespace tool {

void RunOptions::AddTo(Command& command) {
  threads.AddTo(command);
  table.AddTo(command);
  output.AddTo(command);
}

void RunOptions::AddToPredict(Command& command) {
  threads.AddTo(command);
  table.AddToPredict(command);
  output.AddTo(command);
}

void RunOptions::AddWithoutRolesTo(Command& command) {
  threads.AddTo(command);
  table.AddSourceTo(command);
  output.AddTo(command);
}

void RunOptions::AddWithPictureTo(Command& command, const std::string& help) {
  table.AddWhere(command);
  AddSvgTo(command, help);
  AddTo(command);
}

void RunOptions::AddSaveTo(Command& command) {
  AddPath(command, "--save", save, "FILE", "Keep the model in this file, for voran predict");
}

void RunOptions::AddSvgTo(Command& command, const std::string& help) {
  AddPath(command, "--svg", svg, "FILE", help);
}

CommandRun::CommandRun(const RunOptions& options, std::vector<std::string> otherInputs) : options_(options) {
  std::vector<std::string> inputs = std::move(otherInputs);
  inputs.push_back(options.table.Path());
  options.threads.Apply();
  if (!options.output.quiet) NCProgress::SetDisplay(MakeTerminalDisplay());
  if (!options.output.folder.empty()) folder_.emplace(options.output.folder, inputs);
  if (!options.save.empty()) file_.emplace("--save", options.save, inputs);
  if (options.svg == "-") throw WrongUse("--svg: a picture does not go to standard output; give the name of a file");
  if (!options.svg.empty()) file_.emplace("--svg", options.svg, inputs);
}

Table CommandRun::ReadTable() const {
  Table table = options_.table.Read();
  Tell(table.source, table.notes);
  return table;
}

void CommandRun::Tell(const std::string& source, const std::vector<std::string>& sentences) const {
  if (options_.output.quiet) return;
  for (const std::string& sentence : sentences) fmt::print(stderr, "{}: {}\n", source, sentence);
}

void CommandRun::Finish(const std::string& text, const nlohmann::ordered_json& json,
                        const std::function<void(OutputDirectory&)>& writeTables,
                        const std::function<void(std::ostream&)>& writeFile) {
  if (file_) file_->Write(writeFile);
  if (folder_) {
    writeTables(*folder_);
    folder_->Write("summary.json", [&](std::ostream& out) { out << ToText(json); });
    if (!options_.save.empty()) folder_->RefuseTwice(options_.save, "--save");
    if (!options_.svg.empty()) folder_->RefuseTwice(options_.svg, "--svg");
  }
  StopIfInterrupted();
  if (folder_) folder_->Commit();
  if (file_) file_->Commit();
  WriteToStdout(options_.output.json ? ToText(json) : text);
}

nlohmann::ordered_json JsonHead(const std::string& command, const Table& table) {
  constexpr int kSchemaVersion = 1;
  nlohmann::ordered_json json = {{"schema_version", kSchemaVersion}, {"command", command}, {"input", table.source}};
  if (!table.chosen.empty()) json["where"] = table.chosen;
  json["rows"] = table.rowIds.size();
  return json;
}

std::string ToText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace tool
