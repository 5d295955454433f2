#include "tools/voran/filled_table.h"

#include <cmath>
#include <cstddef>
#include <unordered_map>

#include "tools/voran/component_numbers.h"
#include "tools/voran/gap_filling.h"
#include "tools/voran/pca_fit.h"
#include "tools/voran/regression.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

std::vector<bool> EmptyRowsOf(const Matrix& scaled) {
  std::vector<bool> isEmpty;
  for (const NCDataVector<float>& row : scaled) isEmpty.push_back(row.GetNumMisVal() == row.Size());
  return isEmpty;
}

// Puts value(i, k), scaled, into each gap of the columns that were kept; i and k count from 0.
template <typename Value>
void Fill(const std::vector<std::string>& names, const PreparedColumns& columns, const std::vector<bool>& isEmpty,
          Value value, FilledBlock& block) {
  std::unordered_map<std::string, int> places;
  for (const std::string& name : names) places.emplace(name, static_cast<int>(places.size()) + 1);
  for (std::size_t i = 0; i < isEmpty.size(); ++i) {
    const int row = static_cast<int>(i) + 1;
    if (isEmpty[i] || block.before[row].GetNumMisVal() == 0) continue;
    for (std::size_t k = 0; k < columns.names.size(); ++k) {
      const int column = places.at(columns.names[k]);
      if (block.before[row][column] != kGap) continue;
      const double original = columns.Original(k, value(i, k));
      const float filled = std::isnan(original) ? kGap : AsPresent(original);
      if (!std::isfinite(filled) || filled == kGap) continue;
      block.values(row, column, filled);
      ++block.filled;
    }
  }
}

FilledBlock BlockOf(const Matrix& x) {
  FilledBlock block;
  block.values = x;
  block.before = x;
  return block;
}

void FillByPca(Table& table, const FillSettings& settings, FilledTable& result, NCProgress* progress) {
  PcaSettings pca;
  pca.components = settings.components;
  pca.isAuto = !settings.components;
  pca.transforms = settings.transforms;
  pca.scaling = settings.scaling;
  const PcaResult model = FitPca(table, pca, progress);
  result.notes = model.notes;
  result.x.components = static_cast<int>(model.components.size());
  result.x.columns = model.columns;
  result.x.emptyRows = model.gaps.emptyRows;
  std::vector<bool> isEmpty;
  for (const double score : model.components.front().score) isEmpty.push_back(std::isnan(score));
  const auto rebuilt = [&](std::size_t i, std::size_t k) {
    double sum = 0.0;
    for (const PcaComponent& component : model.components) sum += component.score[i] * component.loading[k];
    return sum / model.columns.unit;
  };
  Fill(table.variables, model.columns, isEmpty, rebuilt, result.x);
}

void FillByPls(Table& table, const FillSettings& settings, FilledTable& result, NCProgress* progress) {
  RegressionSettings regression;
  regression.transforms = settings.transforms;
  regression.scaling = settings.scaling;
  regression.yScaling = settings.scaling;
  RegressionResult prepared;
  RegressionData data = PrepareRegression(table, regression, prepared);
  result.notes = prepared.notes;
  const std::vector<bool> isEmptyX = EmptyRowsOf(data.x);
  const std::vector<bool> isEmptyY = EmptyRowsOf(data.y);
  result.x.emptyRows = EmptyRows(data.x, table.rowIds);
  result.y->emptyRows = EmptyRows(data.y, table.rowIds);
  result.x.columns = prepared.x;
  result.y->columns = prepared.y;
  const FilledBlocks filled = FillBlocks(data.x, data.y, table.source, progress);
  result.x.components = filled.x.components;
  result.y->components = filled.y.components;
  const auto of = [](const Matrix& m) {
    return [&m](std::size_t i, std::size_t k) { return ValueOf(m[static_cast<int>(i) + 1][static_cast<int>(k) + 1]); };
  };
  Fill(table.variables, prepared.x, isEmptyX, of(data.x), result.x);
  Fill(table.responses, prepared.y, isEmptyY, of(data.y), *result.y);
}

}  // namespace

FilledTable FillTable(Table& table, const FillSettings& settings, NCProgress* progress) {
  FilledTable result;
  result.gaps = CountGaps(table.x, table.rowIds);
  result.x = BlockOf(table.x);
  if (!table.responses.empty()) {
    result.yGaps = CountGaps(table.y, table.rowIds);
    result.y = BlockOf(table.y);
  }
  if (result.Left() == 0) return result;
  if (result.y) {
    FillByPls(table, settings, result, progress);
  } else {
    FillByPca(table, settings, result, progress);
  }
  return result;
}

}  // namespace tool
