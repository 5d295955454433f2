#include "tools/voran/roc_command.h"

#include <memory>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/roc_fit.h"
#include "tools/voran/roc_report.h"

namespace tool {
namespace {

struct RocOptions {
  RunOptions run;
  RocSettings settings;
};

void RunRoc(const RocOptions& options) {
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const RocResult result = FitRoc(table, options.settings);
  const RocReport report = {table, options.settings, result};
  run.Finish(
      RocText(report), RocJson(report), [&](OutputDirectory& folder) { WriteRocTables(report, folder); },
      [&](std::ostream& out) { out << RocPicture(report); });
}

}  // namespace

void AddRocCommand(CommandLine& program) {
  Command command = program.AddCommand("roc", "How well a score tells a class: receiver operating characteristic");
  auto options = std::make_shared<RocOptions>();
  RocSettings& settings = options->settings;
  options->run.table.AddColumn(command, "--score", settings.score, ColumnRole::kVariable, "The column of scores")
      .Required();
  options->run.table
      .AddColumn(command, "--class", settings.classes, ColumnRole::kClass,
                 "The column that names the class of each row")
      .Required();
  command.Add("--positive", settings.positive, "The class that the score is to tell").Type("NAME").Required();
  command.AddFlag("--ascending", settings.isAscending, "Small scores speak for the class, and not large ones");
  options->run.AddSvgTo(command, "Draw the curve to this file, as SVG");
  options->run.AddWithoutRolesTo(command);
  command.Footer(
      R"(Examples:
  voran roc wine.csv --score flavanoids --class class --positive cultivar3 --ascending
  voran roc wine.csv --score proline --class class --positive cultivar1 --svg roc.svg --out results)");
  command.OnRun([options] { RunRoc(*options); });
}

}  // namespace tool
