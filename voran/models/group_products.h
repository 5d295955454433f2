#pragma once

#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"

inline namespace voran {
namespace detail {

/// X'y of the rows that each round of a cross-validation keeps, for one response and no gaps, in one reading of X for
/// all rounds. What a round leaves out plays no part in its sums, which are formed of those of the other groups.
class GroupProducts {
 public:
  /// Whether that saves work, and its scratch memory, two rows of doubles for each group, is little beside X.
  static bool IsWorthwhile(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, int groups);

  /// Y: observations x 1. Groups are numbered from 0.
  GroupProducts(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, const NCIntegralVector<int, -99>& rowGroups,
                int groups);

  /// Whether y of the rows without the group is more than nothing.
  bool HasWeights(int group) const;
  /// The regression of each column of X on y, over the rows without the group.
  NCDataVector<float> Weights(int group) const;

 private:
  /// X'y and y'y of some rows.
  struct Sums {
    std::vector<double> products;
    double squares = 0.0;

    void Add(const Sums& other);
  };

  Sums SumsOf(const std::vector<const float*>& rows, const std::vector<float>& y) const;
  double Squares(int group) const;

  int columns_;
  std::vector<Sums> before_;  // of the groups before each one
  std::vector<Sums> behind_;
};

}  // namespace detail
}  // namespace voran
