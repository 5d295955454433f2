#include "tools/voran/predict_command.h"

#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_file.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/o2pls_model.h"
#include "tools/voran/prediction.h"
#include "tools/voran/prediction_report.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct PredictOptions {
  std::string model;
  RunOptions run;
  double maxMissing = 0.5;
  std::string block;  ///< empty if the option is not given
};

// As the model is to be applied: for X to be predicted, with its blocks exchanged.
SavedModel ReadModelFor(const PredictOptions& options) {
  SavedModel model = ReadModel(options.model);
  const bool isTwoWay = model.ySpread.has_value();
  if (options.block == "x" && !isTwoWay) {
    throw WrongUse(
        fmt::format("--predict x: only O2PLS predicts X, and {} is a model of {}", options.model, KindOf(model).title));
  }
  if (options.block == "x" && !model.classes.empty()) {
    throw WrongUse("--predict x: X is not predicted from classes");
  }
  return options.block == "x" ? Mirrored(model) : model;
}

void RunPredict(PredictOptions& options) {
  if (!(options.maxMissing >= 0.0 && options.maxMissing <= 1.0)) {
    throw WrongUse("--max-missing: is a share, from 0 to 1");
  }
  CommandRun run(options.run, {options.model});
  const SavedModel model = ReadModelFor(options);
  ModelColumns columns = {model.x.names, model.y.names, {}};
  for (const ClassResponses& column : model.classes) columns.classes.push_back(column.name);
  options.run.table.SetModel(columns);
  Table table = run.ReadTable();
  const Prediction prediction = [&] {
    NCProgress progress("prediction", 0.0f, 1.0f, false, false, true, "");
    return Predict(table, model, options.maxMissing, &progress);
  }();
  run.Tell(table.source, prediction.notes);
  const PredictionReport report = {table, options.model, model, options.maxMissing, prediction, options.block == "x"};
  run.Finish(PredictionText(report), PredictionJson(report),
             [&](OutputDirectory& folder) { WritePredictionTables(report, folder); });
}

}  // namespace

void AddPredictCommand(CommandLine& program) {
  Command command = program.AddCommand("predict", "Apply a saved model to the rows of another table");
  auto options = std::make_shared<PredictOptions>();
  command.AddArgument("MODEL", options->model, "What --save of a command that fits models has written");
  command.Add("--max-missing", options->maxMissing, "Largest share of a row's values that may be missing")
      .Type("SHARE")
      .ShowDefault();
  command.Add("--predict", options->block, "The block that a model of voran o2pls predicts (y)").OneOf({"y", "x"});
  options->run.AddToPredict(command);
  command.Footer(
      R"(Columns are matched by name, in any order; what the model does not use is left out. If the table has the
responses themselves, the errors of the predictions are told, and of classes how many are right.

Examples:
  voran predict octane.model new.csv
  voran predict octane.model new.csv --out results --json
  voran predict oil.model sensory.csv --predict x)");
  command.OnRun([options] { RunPredict(*options); });
}

}  // namespace tool
