#include "tools/voran/cross_validation.h"

#include <algorithm>
#include <cstddef>
#include <unordered_map>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/models/cv_groups.h"

namespace tool {
namespace {

CvGroups GroupsOfColumn(const Table& table, int most) {
  const TextColumn& column = *table.cvGroups;
  std::unordered_map<std::string, int> groups;
  NCIntegralVector<int, -99> ofRow(static_cast<int>(column.values.size()), 0);
  for (std::size_t r = 0; r < column.values.size(); ++r) {
    if (IsMissingCell(column.values[r])) {
      throw BadData(fmt::format("{}: row {} has no group in column {}; give every row one", table.source,
                                Quoted(table.rowIds[r]), Quoted(column.name)));
    }
    const int group = groups.emplace(column.values[r], static_cast<int>(groups.size())).first->second;
    ofRow(static_cast<int>(r) + 1, group % most);
  }
  const int found = static_cast<int>(groups.size());
  if (found < 2) {
    throw BadData(fmt::format("{}: column {} holds one group alone; cross-validation needs at least two", table.source,
                              Quoted(column.name)));
  }
  CvGroups result = {std::min(found, most), ofRow, {}};
  if (found > most) {
    result.note = fmt::format("the {} groups of column {} are joined to {}, since no more can be left out in turn",
                              found, Quoted(column.name), most);
  }
  return result;
}

}  // namespace

NCIntegralVector<int, -99> CvGroups::OfRows(int rows) const {
  return ofRow ? *ofRow : GetDeafultCVGroupsVector(rows, count);
}

CvGroups MakeCvGroups(const Table& table, int wanted, int most) {
  if (most < 2) throw BadData(table.source + ": is too small for cross-validation, which needs two groups at least");
  if (table.cvGroups) return GroupsOfColumn(table, most);
  return {std::min(wanted, most), std::nullopt, {}};
}

std::string InsignificanceReason(SignificanceE::Significance verdict, double q2, double limit) {
  switch (verdict) {
    case SignificanceE::kN3:
      return "it leaves the table too few rows, or columns";
    case SignificanceE::kN4:
      return "it explains next to nothing";
    default:
      return fmt::format("its Q2 is {:.4f}, and the limit {:.4f}", q2, limit);
  }
}

std::string InsignificanceText(int component, const ComponentQ2& q2) {
  return fmt::format("component {} is not significant ({}): {}", component, SignificanceE::GetSignificance(q2.verdict),
                     InsignificanceReason(q2.verdict, q2.q2, q2.limit));
}

}  // namespace tool
