#include "tools/voran/fill_command.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/failure.h"
#include "tools/voran/fill_report.h"
#include "tools/voran/filled_table.h"
#include "tools/voran/number_text.h"
#include "tools/voran/transform_option.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct FillOptions {
  RunOptions run;
  TransformOption transform;
  FillSettings settings;
};

void RunFill(const FillOptions& options) {
  CommandRun run(options.run);
  Table table = run.ReadTable();
  FillSettings settings = options.settings;
  if (options.transform.IsGiven()) {
    std::vector<std::string> names = table.variables;
    names.insert(names.end(), table.responses.begin(), table.responses.end());
    settings.transforms = options.transform.Resolve(names, table.variables.size(), table.columns);
  }
  if (!table.classResponses.empty()) {
    throw WrongUse(fmt::format("--y: column {} holds text, of which no gap is filled; give it to --class",
                               Quoted(table.classResponses.front().name)));
  }
  if (settings.components && !table.responses.empty()) {
    throw WrongUse("--components does not go with --y, where as many are taken as cross-validation finds significant");
  }
  const FilledTable result = [&] {
    NCProgress progress("filling gaps", 0.0f, 1.0f, false, false, true, "");
    return FillTable(table, settings, &progress);
  }();
  run.Tell(table.source, result.notes);
  const FillReport report = {table, settings, result};
  run.Finish(FillText(report), FillJson(report), [&](OutputDirectory& folder) { WriteFillTables(report, folder); });
}

}  // namespace

void AddFillCommand(CommandLine& program) {
  Command command = program.AddCommand("fill", "Fill the gaps of a table");
  auto options = std::make_shared<FillOptions>();
  options->run.table.AddSecondBlock(command);
  AddCount(command, "--components", options->settings.components, 1,
           "How many components of a table without --y; auto (the default): as many as cross-validation finds "
           "significant");
  AddScaling(command, options->settings.scaling);
  options->transform.AddTo(command);
  options->run.AddTo(command);
  command.Footer(
      R"(A gap gets what a model of the table says there: a PCA of all variables, or with --y two PLS models, each block
on the other. What is present stays as it is. Without --out there is only the summary.

Examples:
  voran fill metabolites.csv --class class_hours --out complete
  voran fill metabolites.csv --class class_hours --y '#3..#7' --out complete
  voran fill airquality.csv --transform Ozone=log --components 2 --json)");
  command.OnRun([options] { RunFill(*options); });
}

}  // namespace tool
