#include "tools/voran/pca_command.h"

#include <memory>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/model_file.h"
#include "tools/voran/pca_fit.h"
#include "tools/voran/pca_report.h"
#include "tools/voran/transform_option.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct PcaOptions {
  RunOptions run;
  TransformOption transform;
  PcaSettings settings;
};

SavedModel ModelOf(const PcaReport& report) {
  SavedModel model;
  model.kind = "pca";
  model.x = report.result.columns;
  model.W = report.result.P;
  model.P = report.result.P;
  model.C = NCDataMatrix<float>(report.result.P.SizeRows(), 0, 0.0f);
  model.spread = report.result.spread;
  model.summary = ToText(PcaJson(report));
  return model;
}

void RunPca(const PcaOptions& options) {
  CommandRun run(options.run);
  Table table = run.ReadTable();
  PcaSettings settings = options.settings;
  if (options.transform.IsGiven()) {
    settings.transforms = options.transform.Resolve(table.variables, table.variables.size(), table.columns);
  }
  const PcaResult result = [&] {
    NCProgress progress("PCA", 0.0f, 1.0f, false, false, true, "");
    return FitPca(table, settings, &progress);
  }();
  run.Tell(table.source, result.notes);
  const PcaReport report = {table, settings, result};
  run.Finish(
      PcaText(report), PcaJson(report), [&](OutputDirectory& folder) { WritePcaTables(report, folder); },
      [&](std::ostream& out) { WriteModel(out, ModelOf(report)); });
}

}  // namespace

void AddPcaCommand(CommandLine& program) {
  Command command = program.AddCommand("pca", "Principal component analysis");
  auto options = std::make_shared<PcaOptions>();
  AddComponents(command, options->settings.components, options->settings.isAuto,
                "How many components (without it, 5 at most); auto: as many as cross-validation finds significant");
  AddScaling(command, options->settings.scaling);
  options->transform.AddTo(command);
  AddIterationLimit(command, options->settings.iterationLimit);
  command.AddFlag("--warm-start", options->settings.hasWarmStart,
                  "Begins components with a rough subspace of the table: fewer rounds where they settle slowly");
  options->run.table.AddCvColumn(command, AddCvGroups(command, options->settings.cvGroups));
  options->run.AddSaveTo(command);
  options->run.AddTo(command);
  command.Footer(R"(COLUMNS is a list of names, positions from 1, or ranges: class,3,nm900..nm1100. A range of numbers
(900..1100) takes the columns whose name holds a number in it, or else these positions; #3 and
#3..#5 are always positions. Without --id, the first column names the rows if its heading is "id" or
empty, or if it holds texts that are all different.

Examples:
  voran pca wine.csv --class class
  voran pca spectra.csv --x 900..1700 --scaling center --components 3 --out results
  voran pca wine.csv --class class --components auto --save wine.model
  zcat big.csv.gz | voran pca - --json --quiet)");
  command.OnRun([options] { RunPca(*options); });
}

}  // namespace tool
