#include "tools/voran/pls_command.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_file.h"
#include "tools/voran/pls_fit.h"
#include "tools/voran/pls_report.h"
#include "tools/voran/transform_option.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct PlsOptions {
  RunOptions run;
  TransformOption transform;
  std::optional<int> cvGroups;
  bool isAuto = false;
  bool isNotCrossValidated = false;
  PlsSettings settings;
};

SavedModel ModelOf(const PlsReport& report) {
  SavedModel model;
  model.kind = "pls";
  model.x = report.result.x;
  model.y = report.result.y;
  model.W = report.result.W;
  model.P = report.result.P;
  model.C = report.result.C;
  model.spread = report.result.spread;
  model.summary = ToText(PlsJson(report));
  return model;
}

PlsSettings SettingsFor(const PlsOptions& options, const Table& table) {
  PlsSettings settings = options.settings;
  settings.isCrossValidated = !options.isNotCrossValidated;
  if (!settings.isCrossValidated && settings.IsAuto()) {
    throw WrongUse("--no-cv leaves nothing to choose the number of components by; give --components N");
  }
  settings.cvGroups = options.cvGroups.value_or(settings.cvGroups);
  if (options.transform.IsGiven()) {
    std::vector<std::string> names = table.variables;
    names.insert(names.end(), table.responses.begin(), table.responses.end());
    settings.transforms = options.transform.Resolve(names, table.variables.size(), table.columns);
  }
  return settings;
}

void RunPls(const PlsOptions& options) {
  CommandRun run(options.run);
  Table table = run.ReadTable();
  const PlsSettings settings = SettingsFor(options, table);
  const PlsResult result = [&] {
    NCProgress progress("PLS", 0.0f, 1.0f, false, false, true, "");
    return FitPls(table, settings, &progress);
  }();
  run.Tell(table.source, result.notes);
  const PlsReport report = {table, settings, result};
  run.Finish(
      PlsText(report), PlsJson(report), [&](OutputDirectory& folder) { WritePlsTables(report, folder); },
      [&](std::ostream& out) { WriteModel(out, ModelOf(report)); });
}

}  // namespace

void AddPlsCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("pls", "Partial least squares regression");
  auto options = std::make_shared<PlsOptions>();
  options->run.table.AddResponses(*command);
  AddComponents(*command, options->settings.components, options->isAuto,
                "How many components; auto (the default): as many as cross-validation finds significant");
  AddScaling(*command, options->settings.scaling);
  AddScaling(*command, options->settings.yScaling, "--y-scaling", "The same of the responses");
  options->transform.AddTo(*command);
  AddIterationLimit(*command, options->settings.iterationLimit);
  CLI::Option* groups = AddCvGroups(*command, options->cvGroups);
  CLI::Option* column = options->run.table.AddCvColumn(*command, groups);
  command->add_flag("--no-cv", options->isNotCrossValidated, "No cross-validation; needs --components N")
      ->excludes(groups)
      ->excludes(column)
      ->group("Cross-validation");
  options->run.AddSaveTo(*command);
  options->run.AddTo(*command);
  command->footer(
      R"(COLUMNS is a list of names, positions from 1, or ranges: octane,3,nm900..nm1100; see voran pca --help.
All columns that have no other use are the variables. --transform means the variables unless it names columns, and
the responses may be among those; voran transform --help lists the functions.

Examples:
  voran pls gasoline.csv --y octane
  voran pls gasoline.csv --y octane --scaling center --components 4 --save octane.model --out results
  voran pls batches.csv --y yield,purity --cv-column batch --exclude operator)");
  command->callback([options] { RunPls(*options); });
}

}  // namespace tool
