#include "tools/voran/regression.h"

#include <cmath>

#include <fmt/format.h>

#include "tools/voran/component_numbers.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/transform_option.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

void BlankResponsesWithoutX(const Matrix& x, Matrix& y) {
  for (int i = 1; i <= x.SizeRows(); ++i) {
    if (x[i].GetNumMisVal() == x[i].Size()) y.SetRow(i, kGap);
  }
}

void RefuseEmptyResponses(const std::string& source, const PreparedColumns& y) {
  if (y.dropped.empty()) return;
  const auto& [name, reason] = y.dropped.front();
  throw BadData(
      fmt::format("{}: response {} cannot be modelled ({}); leave it out of --y", source, Quoted(name), reason));
}

// Of the original values of response m, of which there are `used` degrees of freedom less than values.
double RootMeanSquareError(const Matrix& rawY, std::size_t m, const std::vector<double>& values, double used) {
  double sum = 0.0;
  double present = 0.0;
  for (int i = 1; i <= rawY.SizeRows(); ++i) {
    const float y = rawY[i][static_cast<int>(m) + 1];
    const double value = values[static_cast<std::size_t>(i) - 1];
    if (y == kGap || std::isnan(value)) continue;
    sum += (static_cast<double>(y) - value) * (static_cast<double>(y) - value);
    present += 1.0;
  }
  return present > used ? std::sqrt(sum / (present - used)) : kNoValue;
}

void AddCoefficients(const std::vector<double>& scaled, const RegressionResult& result, std::size_t m,
                     ResponseFit& fit) {
  const ColumnScale& y = result.y.scales[m];
  fit.intercept = y.centre;
  for (std::size_t k = 0; k < scaled.size(); ++k) {
    const ColumnScale& x = result.x.scales[k];
    fit.coefficients.push_back(scaled[k] * x.weight / y.weight);
    fit.intercept -= fit.coefficients.back() * x.centre;
  }
}

}  // namespace

RegressionData PrepareRegression(Table& table, const RegressionSettings& settings, RegressionResult& result) {
  result.gaps = CountGaps(table.x, table.rowIds);
  result.yGaps = CountGaps(table.y, table.rowIds);
  const int variables = settings.transforms.Size() == 0 ? 0 : static_cast<int>(table.variables.size());
  const int responses = settings.transforms.Size() - variables;
  PreparedTable x = PrepareVariables(table, PartOf(settings.transforms, 1, variables), settings.scaling);
  result.gaps.emptyRows = EmptyRows(x.x, table.rowIds);
  BlankResponsesWithoutX(x.x, table.y);
  RegressionData data;
  data.rawY = table.y;
  PreparedTable y = Prepare(
      {table.source, table.y, table.responses, table.rowIds, PartOf(settings.transforms, variables + 1, responses)},
      settings.yScaling);
  RefuseEmptyResponses(table.source, y.columns);
  result.x = std::move(x.columns);
  result.y = std::move(y.columns);
  data.rows = table.rowIds.size() - result.gaps.emptyRows.size();
  data.degreesOfFreedom = static_cast<double>(data.rows) - (IsCentred(settings.scaling) ? 1.0 : 0.0);
  data.x.swap(x.x);
  data.y.swap(y.x);
  if (!(SumOfSquares(data.x) > 0.0)) {
    throw BadData(table.source + ": every value of X is zero, so there is nothing to model");
  }
  return data;
}

CvGroups MakeCvGroups(const Table& table, const RegressionSettings& settings, RegressionResult& result) {
  CvGroups groups = MakeCvGroups(table, settings.cvGroups, static_cast<int>(table.rowIds.size()));
  if (!groups.note.empty()) result.notes.push_back(groups.note);
  result.cvGroups = groups.count;
  return groups;
}

void AddResponseFits(const Table& table, const Matrix& rawY, const ScaledFits& fits, bool isCentred,
                     RegressionResult& result) {
  result.responses.resize(result.y.names.size());
  for (std::size_t m = 0; m < result.responses.size(); ++m) {
    ResponseFit& fit = result.responses[m];
    AddCoefficients(fits.coefficients[m], result, m, fit);
    for (const double scaled : fits.fitted[m]) fit.fitted.push_back(result.y.Original(m, scaled));
    fit.rmsee = RootMeanSquareError(rawY, m, fit.fitted, fits.components + (isCentred ? 1.0 : 0.0));
    if (fits.predictedCv.empty()) continue;
    for (const double scaled : fits.predictedCv[m]) fit.predictedCv.push_back(result.y.Original(m, scaled));
    fit.rmsecv = RootMeanSquareError(rawY, m, fit.predictedCv, 0.0);
  }
  for (const ClassColumn& own : table.classResponses) {
    result.classes.push_back({own, GiveClasses(own, Each(result.responses, &ResponseFit::fitted)), {}});
    if (fits.predictedCv.empty()) continue;
    result.classes.back().predictedCv = GiveClasses(own, Each(result.responses, &ResponseFit::predictedCv));
  }
}

SavedModel RegressionModel(std::string_view kind, const RegressionResult& result, const std::string& summary) {
  SavedModel model;
  model.kind = kind;
  model.x = result.x;
  model.y = result.y;
  for (const ClassFit& fit : result.classes) model.classes.push_back(fit.own);
  model.spread = result.spread;
  model.summary = summary;
  return model;
}

}  // namespace tool
