#include "tools/voran/common_options.h"

#include <map>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/cross_validation.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_reader.h"
#include "tools/voran/terminal.h"
#include "voran/platform/threading_control.h"

namespace tool {
namespace {

using NCMultiThreading::ThreadingControl;

constexpr const char* kTableGroup = "Table";
constexpr const char* kOutputGroup = "Output";
constexpr const char* kCvGroup = "Cross-validation";
constexpr int kMostThreads = 1024;
constexpr int kMostCvGroups = 1000000;
constexpr int kMostComponents = 1000000;

const std::map<std::string, Scaling> kScalings = {{"uv", Scaling::kUnitVariance},
                                                  {"pareto", Scaling::kPareto},
                                                  {"center", Scaling::kCentre},
                                                  {"none", Scaling::kNone}};

CLI::Option* AddList(CLI::App& command, const std::string& name, std::vector<std::string>& list,
                     const std::string& help) {
  return command.add_option(name, list, help)->type_name("COLUMNS")->allow_extra_args(false)->group(kTableGroup);
}

void AddChoice(CLI::App& command, const std::string& name, std::string& value, std::vector<std::string> choices,
               const std::string& help) {
  command.add_option(name, value, help)
      ->check(CLI::IsMember(std::move(choices)))
      ->capture_default_str()
      ->group(kTableGroup);
}

// Nothing for auto.
std::optional<int> ReadCount(const std::string& option, const std::string& text, int least) {
  if (text == "auto") return std::nullopt;
  const auto count = WholeNumber<int>(text);
  if (count && *count >= least && *count <= kMostComponents) return count;
  throw WrongUse(fmt::format("{}: {} is neither a number of components nor auto", option, Quoted(text)));
}

int ReadingThreads() {
  return ThreadingControl::IsThreadingOn() ? ThreadingControl::GetNumberOfProcessors() : 1;
}

}  // namespace

void TableOptions::AddTo(CLI::App& command) {
  AddSource(command);
  AddList(command, "--class", roles_.classes, "Columns of group names, kept out of the model");
  AddList(command, "--x", roles_.variables, "Use these columns alone");
  AddList(command, "--exclude", roles_.unused, "Leave these columns out");
  AddDialect(command);
}

void TableOptions::AddToPredict(CLI::App& command) {
  AddSource(command);
  AddDialect(command);
}

void TableOptions::AddResponses(CLI::App& command) {
  AddList(command, "--y", roles_.responses, "The columns to predict")->required();
}

void TableOptions::AddSecondBlock(CLI::App& command) {
  AddList(command, "--y", roles_.responses, "The columns of a second block");
}

CLI::Option* TableOptions::AddCvColumn(CLI::App& command, CLI::Option* groups) {
  return AddList(command, "--cv-column", roles_.cvGroups, "The column that names the group of each row")
      ->type_name("COLUMN")
      ->excludes(groups)
      ->group(kCvGroup);
}

void TableOptions::AddSource(CLI::App& command) {
  command.add_option("TABLE", path_, "CSV, TSV or .npy file; - is standard input")->required()->option_text(" ");
  AddList(command, "--id", roles_.id, "The column that names the rows");
  command.add_flag("--no-id", roles_.noId, "Do not take the first column for the names of the rows")
      ->group(kTableGroup);
}

void TableOptions::AddDialect(CLI::App& command) {
  AddChoice(command, "--separator", separator_, {"auto", "comma", "semicolon", "tab"}, "What stands between cells");
  AddChoice(command, "--decimal", decimalMark_, {"auto", "point", "comma"}, "The decimal mark");
  AddChoice(command, "--header", header_, {"auto", "yes", "no"}, "Whether the first row holds names");
}

CsvOptions TableOptions::Resolve() const {
  static const std::map<std::string, char> separators = {{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}};
  CsvOptions options;
  options.roles = roles_;
  if (separator_ != "auto") options.dialect.separator = separators.at(separator_);
  if (decimalMark_ != "auto") options.dialect.decimalMark = decimalMark_ == "comma" ? ',' : '.';
  if (header_ != "auto") options.dialect.header = header_ == "yes";
  options.control.threads = ReadingThreads();
  return options;
}

Table TableOptions::Read() const {
  NCProgress progress(fmt::format("reading {}", path_).c_str(), 0.0f, 1.0f, false, false, true, "");
  CsvOptions options = Resolve();
  options.control.progress = &progress;
  return ReadTable(path_, options, &Interrupted());
}

void AddPath(CLI::App& command, const std::string& option, std::string& path, const std::string& type,
             const std::string& help) {
  command.add_option(option, path, help)
      ->type_name(type)
      ->check([](const std::string& name) { return name.empty() ? "the name is empty" : ""; }, "")
      ->group(kOutputGroup);
}

void OutputOptions::AddTo(CLI::App& command) {
  AddPath(command, "--out", folder, "DIR", "Write the results to this folder as well");
  command.add_flag("--json", json, "Print the summary as one JSON object")->group(kOutputGroup);
  command.add_flag("--quiet", quiet, "No remarks and no progress on standard error")->group(kOutputGroup);
}

void ThreadOptions::AddTo(CLI::App& command) {
  command.add_option("--threads", threads_, "Threads to use; without it, one for each processor")
      ->type_name("N")
      ->check(CLI::Range(1, kMostThreads));
}

void ThreadOptions::Apply() const {
  if (threads_) ThreadingControl::SetNumberOfProcessors(*threads_);
  ThreadingControl::SetThreadingIsOn(ThreadingControl::GetNumberOfProcessors() > 1);
}

void AddScaling(CLI::App& command, Scaling& scaling, const std::string& option, const std::string& help) {
  command
      .add_option_function<std::string>(
          option, [&scaling](const std::string& name) { scaling = kScalings.at(name); }, help)
      ->check(CLI::IsMember({"uv", "pareto", "center", "none"}).description(""))
      ->default_str(ScalingName(scaling))
      ->type_name("uv|pareto|center|none");
}

void AddComponents(CLI::App& command, std::optional<int>& count, bool& isAuto, const std::string& help) {
  command
      .add_option_function<std::string>(
          "--components",
          [&count, &isAuto](const std::string& text) {
            count = ReadCount("--components", text, 1);
            isAuto = !count;
          },
          help)
      ->type_name("N|auto");
}

void AddCount(CLI::App& command, const std::string& option, std::optional<int>& count, int least,
              const std::string& help) {
  command
      .add_option_function<std::string>(
          option, [&count, option, least](const std::string& text) { count = ReadCount(option, text, least); }, help)
      ->type_name("N|auto");
}

CLI::Option* AddCvGroups(CLI::App& command, std::optional<int>& groups) {
  return command
      .add_option("--cv-groups", groups,
                  fmt::format("Cross-validate, leaving out the rows in so many groups in turn (where it is done "
                              "without being asked: {})",
                              kDefaultCvGroups))
      ->type_name("G")
      ->check(CLI::Range(2, kMostCvGroups))
      ->group(kCvGroup);
}

void AddIterationLimit(CLI::App& command, int& limit) {
  command.add_option("--max-iterations", limit, "Rounds that a component may take")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000000))
      ->capture_default_str();
}

std::string ScalingName(Scaling scaling) {
  for (const auto& [name, value] : kScalings) {
    if (value == scaling) return name;
  }
  return {};
}

}  // namespace tool
