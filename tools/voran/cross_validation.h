#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/voran/table.h"
#include "voran/containers/integral_vector.h"
#include "voran/models/significance.h"

namespace tool {

constexpr int kDefaultCvGroups = 7;

/// The rows that are left out together.
struct CvGroups {
  int count = 0;
  /// The group of each row, from 0; nothing if row i belongs to group i mod `count`.
  std::optional<NCIntegralVector<int, -99>> ofRow;
  std::string note;  ///< what the user should know; empty if nothing

  /// As the library wants it.
  const NCIntegralVector<int, -99>* OfRow() const { return ofRow ? &*ofRow : nullptr; }
  /// The group of each of `rows` rows.
  NCIntegralVector<int, -99> OfRows(int rows) const;
};

/// The groups of the table's column of groups, in the order in which they appear, or without one `wanted` groups. There
/// are no more than `most`: further ones of a column are joined to the first. Throws `Failure`: bad data if `most` is
/// below 2, or if the column holds one group alone, or none for some row.
CvGroups MakeCvGroups(const Table& table, int wanted, int most);

/// What cross-validation tells of one component.
struct ComponentQ2 {
  double q2 = 0.0;
  double q2Cumulative = 0.0;
  double limit = 0.0;
  SignificanceE::Significance verdict = SignificanceE::kNS;
  std::vector<double> q2OfColumns;  ///< one a response; of a PCA, one a variable
  std::vector<double> q2OfColumnsCumulative;
};

/// "its Q2 is 0.0120, and the limit 0.0500", or what else the verdict rests on.
std::string InsignificanceReason(SignificanceE::Significance verdict, double q2, double limit);

/// "component 3 is not significant (NS): its Q2 is 0.0120, and the limit 0.0500".
std::string InsignificanceText(int component, const ComponentQ2& q2);

}  // namespace tool
