#include "tools/voran/pls_command.h"

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/model_file.h"
#include "tools/voran/pls_fit.h"
#include "tools/voran/pls_report.h"
#include "tools/voran/regression_options.h"
#include "tools/voran/transform_option.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct PlsOptions {
  RegressionOptions common;
  bool isAuto = false;
  PlsSettings settings;
};

SavedModel ModelOf(const PlsReport& report) {
  SavedModel model = RegressionModel("pls", report.result, ToText(PlsJson(report)));
  model.W = report.result.W;
  model.P = report.result.P;
  model.C = report.result.C;
  return model;
}

void RunPls(const PlsOptions& options) {
  options.common.RefuseAutoWithoutCv(options.settings.IsAuto(), "components", "--components");
  CommandRun run(options.common.run);
  Table table = run.ReadTable();
  PlsSettings settings = options.settings;
  options.common.Complete(table, settings);
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

void AddPlsCommand(CommandLine& program) {
  Command command = program.AddCommand("pls", "Partial least squares regression");
  auto options = std::make_shared<PlsOptions>();
  options->common.run.table.AddResponses(command);
  AddComponents(command, options->settings.components, options->isAuto,
                "How many components; auto (the default): as many as cross-validation finds significant");
  options->common.AddTo(command, options->settings);
  command.Footer(std::string(kRegressionColumns) +
                 R"(Examples:
  voran pls gasoline.csv --y octane
  voran pls gasoline.csv --y octane --scaling center --components 4 --save octane.model --out results
  voran pls batches.csv --y yield,purity --cv-column batch --exclude operator
  voran pls wine.csv --y class)");
  command.OnRun([options] { RunPls(*options); });
}

}  // namespace tool
