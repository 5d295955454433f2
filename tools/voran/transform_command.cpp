#include "tools/voran/transform_command.h"

#include <memory>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/transform_report.h"
#include "tools/voran/transformed_table.h"

namespace tool {
namespace {

struct TransformOptions {
  RunOptions run;
  TransformOption transform;
  TransformSettings settings;
};

void Check(const TransformOptions& options) {
  const bool isScaled = options.settings.scaling != Scaling::kNone;
  if (options.settings.back && isScaled) {
    throw WrongUse("--back does not go with --scaling; scaled values have to be scaled back before");
  }
  if (options.settings.back && !options.transform.IsGiven()) {
    throw WrongUse("--back needs the --transform that the table was transformed with");
  }
  if (!options.transform.IsGiven() && !isScaled) {
    throw WrongUse("there is nothing to do; give --transform, as in --transform log, or --scaling");
  }
}

void RunTransform(const TransformOptions& options) {
  Check(options);
  CommandRun run(options.run);
  Table table = run.ReadTable();
  const NCTransform transform = options.transform.Resolve(table.variables, table.variables.size(), table.columns);
  const TransformedTable result = TransformTable(table, transform, options.settings);
  const TransformReport report = {table, options.settings, result};
  run.Finish(TransformText(report), TransformJson(report),
             [&](OutputDirectory& folder) { WriteTransformTables(report, folder); });
}

}  // namespace

void AddTransformCommand(CommandLine& program) {
  Command command = program.AddCommand("transform", "Functions of columns, and scaling");
  auto options = std::make_shared<TransformOptions>();
  options->transform.AddTo(command);
  command.AddFlag("--back", options->settings.back, "Transform back: the inverse of each function");
  AddScaling(command, options->settings.scaling);
  options->run.AddTo(command);
  command.Footer(
      R"(The functions, of a value x and constants C1, C2, C3 (with a decimal point):
  linear,C1[,C2]            C1 x + C2; C2 is 0 if left out
  log[,C1[,C2]]             log10(C1 x + C2); C1 is 1 and C2 is 0 if left out
  neglog[,C1[,C2]]          -log10(C1 x + C2)
  logit,C1,C2               log10((x - C1) / (C2 - x)), with C1 below C2
  exponential[,C1[,C2]]     exp(C1 x + C2)
  power,C1,C2,C3            (C1 x + C2)^C3
A value whose function does not exist, such as the log of 0, becomes a gap. Scaling comes after the functions. Without
--out there is only the summary.

Examples:
  voran transform wine.csv --class class --transform proline,malic_acid=log --out logs
  voran transform wine.csv --class class --transform log --transform hue,ash=power,1,0,0.5 --scaling uv --out scaled
  voran transform logs/transform.csv --class class --transform proline,malic_acid=log --back --out again)");
  command.OnRun([options] { RunTransform(*options); });
}

}  // namespace tool
