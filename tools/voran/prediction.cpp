#include "tools/voran/prediction.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

ScaledPrediction PredictScaled(const Matrix& x, const SavedModel& model, double maxMissing, NCProgress* progress) {
  try {
    return KindOf(model).predict(x, model, maxMissing, progress);
  } catch (const NCError&) {
    StopIfInterrupted();
    throw;
  }
}

void AddScores(const Matrix& scores, int i, double unit, std::vector<double>& row) {
  for (const NCDataVector<float>& score : scores) {
    row.push_back(score[i] == kGap ? kNoValue : unit * static_cast<double>(score[i]));
  }
}

// Scores and distances of row i, counted from 1.
void AddRow(int i, const NCDataVector<float>& row, const ScaledPrediction& rows, const SavedModel& model,
            Prediction& prediction) {
  std::vector<double> scores;
  AddScores(rows.T, i, model.x.unit, scores);
  AddScores(rows.TO, i, model.x.unit, scores);
  const bool isRefused = std::any_of(scores.begin(), scores.end(), [](double t) { return std::isnan(t); });
  if (isRefused) std::fill(scores.begin(), scores.end(), kNoValue);  // a row has all of them, or none
  for (std::size_t a = 0; a < scores.size(); ++a) {
    const std::size_t predictive = prediction.scores.size();
    (a < predictive ? prediction.scores[a] : prediction.orthoScores[a - predictive]).push_back(scores[a]);
  }
  const int present = row.Size() - row.GetNumMisVal();
  const double residual =
      isRefused ? kNoValue : model.x.unit * RowResidual(rows.residualSS[i], present, static_cast<int>(scores.size()));
  prediction.residual.push_back(residual);
  prediction.distance.push_back(model.spread.residual > 0.0 ? residual / model.spread.residual : kNoValue);
  prediction.t2.push_back(model.spread.T2(scores));
  for (std::size_t m = 0; m < prediction.responses.size(); ++m) {
    const float y = rows.Y[i][static_cast<int>(m) + 1];
    const bool hasValue = !isRefused && y != kGap;
    prediction.responses[m].values.push_back(hasValue ? model.y.Original(m, static_cast<double>(y)) : kNoValue);
  }
}

// Holds the predictions of response m against what the table says of it.
void Compare(const Table& table, const std::string& name, PredictedResponse& response) {
  const auto place = std::find(table.responses.begin(), table.responses.end(), name);
  if (place == table.responses.end()) return;
  const int column = static_cast<int>(place - table.responses.begin()) + 1;
  double sum = 0.0;
  for (int i = 1; i <= table.y.SizeRows(); ++i) {
    const float y = table.y[i][column];
    const double predicted = response.values[static_cast<std::size_t>(i) - 1];
    if (y == kGap || std::isnan(predicted)) continue;
    sum += (static_cast<double>(y) - predicted) * (static_cast<double>(y) - predicted);
    ++response.observed;
  }
  if (response.observed > 0) response.rmsep = std::sqrt(sum / static_cast<double>(response.observed));
}

PredictedClasses PredictClasses(const Table& table, const ClassResponses& column, const Prediction& prediction) {
  PredictedClasses classes;
  classes.given = GiveClasses(column, Each(prediction.responses, &PredictedResponse::values));
  const auto place = std::find_if(table.classes.begin(), table.classes.end(),
                                  [&](const TextColumn& text) { return text.name == column.name; });
  if (place == table.classes.end()) return classes;
  for (const std::string& cell : place->values) {
    classes.own.push_back(column.IndexOf(cell));
    if (classes.own.back() == kNoClass && !IsMissingCell(cell)) ++classes.unknown;
  }
  return classes;
}

}  // namespace

std::string LeastText(double maxMissing, std::size_t components) {
  return fmt::format("--max-missing {}, and {} at least", maxMissing, Counted(components, "value"));
}

Prediction Predict(Table& table, const SavedModel& model, double maxMissing, NCProgress* progress) {
  Prediction prediction;
  PreparedTable prepared = PrepareLike({table.source, table.x, table.variables, table.rowIds, {}}, model.x);
  if (!prepared.columns.failure.empty()) prediction.notes.push_back(prepared.columns.failure);
  prediction.gaps = CountGaps(prepared.x, table.rowIds);
  const ScaledPrediction rows = PredictScaled(prepared.x, model, maxMissing, progress);
  prediction.scores.resize(model.Components());
  prediction.orthoScores.resize(model.OrthogonalComponents());
  prediction.responses.resize(model.y.names.size());
  for (int i = 1; i <= prepared.x.SizeRows(); ++i) {
    AddRow(i, prepared.x[i], rows, model, prediction);
    if (std::isnan(prediction.scores.back().back())) {
      prediction.refused.push_back(table.rowIds[static_cast<std::size_t>(i) - 1]);
    }
  }
  if (prediction.refused.size() == table.rowIds.size()) {
    throw BadData(fmt::format("{}: no row can be predicted: each holds too little ({})", table.source,
                              LeastText(maxMissing, prediction.AllComponents())));
  }
  for (std::size_t m = 0; m < model.y.names.size(); ++m) Compare(table, model.y.names[m], prediction.responses[m]);
  for (const ClassResponses& column : model.classes) {
    prediction.classes.push_back(PredictClasses(table, column, prediction));
  }
  return prediction;
}

}  // namespace tool
