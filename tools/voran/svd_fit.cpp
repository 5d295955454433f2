#include "tools/voran/svd_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/containers/svd.h"

namespace tool {
namespace {

void RefuseGaps(const Table& table) {
  const NCDataMatrix<float>& x = table.x;
  if (x.GetNumMisVal() == 0) return;
  const auto* const row =
      std::find_if(x.begin(), x.end(), [](const NCDataVector<float>& r) { return r.GetNumMisVal() > 0; });
  const std::string& variable =
      table.variables[static_cast<std::size_t>(std::find(row->begin(), row->end(), kGap) - row->begin())];
  const int gaps = x.GetNumMisVal();
  throw BadData(fmt::format(
      "{}: row {} has no value in column {}{}, and a table with gaps has no SVD; leave out the columns with gaps "
      "(--exclude {}), or the rows",
      table.source, Quoted(table.rowIds[static_cast<std::size_t>(row - x.begin())]), Quoted(variable),
      gaps == 1 ? "" : fmt::format(", the first of {} gaps", gaps), Quoted(variable)));
}

NCDataMatrix<float> Transposed(const NCDataMatrix<float>& x) {
  NCDataMatrix<float> transposed;
  transposed.ReserveRows(x.SizeColumns());
  for (int c = 1; c <= x.SizeColumns(); ++c) transposed.push_back(x.GetColumn(c));
  return transposed;
}

std::vector<double> Column(const NCDataMatrix<float>& m, int k, double sign) {
  std::vector<double> column;
  for (const NCDataVector<float>& row : m) column.push_back(sign * static_cast<double>(row[k]));
  return column;
}

double SignOf(const std::vector<double>& vector) {
  const auto largest =
      std::max_element(vector.begin(), vector.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
  return largest != vector.end() && *largest < 0.0 ? -1.0 : 1.0;
}

void AddVectors(const NCDataMatrix<float>& left, const NCDataMatrix<float>& right,
                std::vector<SingularTriple>& triples) {
  int k = 0;
  for (SingularTriple& triple : triples) {
    ++k;
    const double sign = SignOf(Column(right, k, 1.0));
    triple.left = Column(left, k, sign);
    triple.right = Column(right, k, sign);
  }
}

void AddShares(std::vector<SingularTriple>& triples) {
  double total = 0.0;
  for (const SingularTriple& triple : triples) total += triple.value * triple.value;
  double sum = 0.0;
  for (SingularTriple& triple : triples) {
    if (total == 0.0) return;
    sum += triple.value * triple.value;
    triple.r2x = triple.value * triple.value / total;
    triple.r2xCumulative = sum / total;
  }
}

// What the rounding of floats leaves of a singular value that is 0 is about this much, by random-walk reasoning
// (Press et al., Numerical Recipes, 3rd ed., section 2.6).
double RoundingOf(const NCDataVector<float>& w, int rows, int columns) {
  const double epsilon = static_cast<double>(std::numeric_limits<float>::epsilon());
  return 0.5 * std::sqrt(static_cast<double>(rows) + static_cast<double>(columns) + 1.0) * epsilon *
         static_cast<double>(w[1]);
}

}  // namespace

SvdResult FitSvd(Table& table, const SvdSettings& settings) {
  RefuseGaps(table);
  PreparedTable prepared = PrepareVariables(table, {}, settings.scaling);
  const int rows = prepared.x.SizeRows();
  const int columns = prepared.x.SizeColumns();
  // The work grows with the square of the columns, so the longer side goes into the rows.
  const bool isWide = columns > rows;
  if (isWide) prepared.x = Transposed(prepared.x);
  const std::unique_ptr<const NCSVD<float>> svd(prepared.x.GetSVD());
  if (svd->GetStatus() != NCSVD<float>::Ok) {
    throw Failure(ExitCode::kComputationFailed,
                  table.source + ": the singular values did not converge; try --scaling uv");
  }

  SvdResult result;
  result.variables = std::move(prepared.columns.names);
  result.dropped = std::move(prepared.columns.dropped);
  const NCDataVector<float>& w = *svd->GetW();
  const double unit = prepared.columns.unit;
  for (const float value : w) {
    result.triples.emplace_back();
    result.triples.back().value = unit * static_cast<double>(value);
  }
  AddShares(result.triples);
  if (settings.withVectors) {
    AddVectors(isWide ? *svd->GetV() : *svd->GetU(), isWide ? *svd->GetU() : *svd->GetV(), result.triples);
  }
  const double rounding = RoundingOf(w, rows, columns);
  result.rank = static_cast<int>(
      std::count_if(w.begin(), w.end(), [&](float value) { return static_cast<double>(value) > rounding; }));
  if (w.back() > 0.0f) result.conditionNumber = static_cast<double>(svd->GetConditionNumber());
  if (rows == columns && result.rank == columns) {
    result.log10Determinant = static_cast<double>(svd->GetLogDeterminant()) + columns * std::log10(unit);
  }
  return result;
}

}  // namespace tool
