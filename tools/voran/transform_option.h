#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/preprocessing/transform.h"

namespace tool {

class Command;

/// `--transform [COLUMNS=]NAME[,C1[,C2[,C3]]]`, given any number of times: the function that columns are put through
/// before they are scaled.
class TransformOption {
 public:
  /// The option keeps a pointer to this object. Parsing the command line throws `Failure` (wrong use) for an argument
  /// of another form, an unknown function, or constants that it cannot do with.
  void AddTo(Command& command);

  bool IsGiven() const { return !arguments_.empty(); }

  /// One transform for each name; an argument without columns holds for the first `variables` of them, and a later
  /// argument overrides an earlier one. Positions and ranges are those of `fileColumns`, all columns of the file, of
  /// which those that are none of the names are passed over. Throws `Failure` (wrong use) for a column that does not
  /// exist, and for an argument whose columns are all passed over.
  NCTransform Resolve(const std::vector<std::string>& names, std::size_t variables,
                      const std::vector<std::string>& fileColumns) const;

 private:
  struct Argument {
    std::optional<std::string> columns;
    TransformStruct transform;
  };

  static Argument Parse(const std::string& argument);

  std::vector<Argument> arguments_;
};

/// Those of `count` columns from `first` (counted from 1) on.
NCTransform PartOf(const NCTransform& transform, int first, int count);

/// Puts the columns of `x` through their functions, or with `back` through the inverses, where they are: no second copy
/// of the matrix comes to be, unless its rows are shared. A gap stays one.
///
/// A value whose function gives nothing that a float can hold becomes a gap. Returns a sentence that tells how many
/// values of which columns these are and the ids of the first rows; nothing if there are none. A result that happens
/// to equal the marker of a gap moves by one unit in the last place. Throws `Failure` if the user breaks off.
std::optional<std::string> TransformColumns(NCDataMatrix<float>& x, const NCTransform& transform,
                                            const std::vector<std::string>& names,
                                            const std::vector<std::string>& rowIds, bool back = false);

}  // namespace tool
