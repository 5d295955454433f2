#pragma once

#include <string_view>

#include "tools/voran/model_file.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/platform/progress.h"

namespace tool {

/// New rows under a model, in the units in which it was fitted. A row that holds too little is missing throughout.
struct ScaledPrediction {
  NCDataMatrix<float> T;            ///< scores, components x rows
  NCDataMatrix<float> TO;           ///< scores of orthogonal components x rows, in a model that has such
  NCDataMatrix<float> Y;            ///< rows x responses
  NCDataVector<double> residualSS;  ///< one a row, of its present values after all components
};

/// What sets the models of one kind apart from others, once they are saved. A new kind is one more of them in
/// model_kind.cpp, and a line in docs/file_formats.md.
struct ModelKind {
  std::string_view name;   ///< in files and JSON: "pls"
  std::string_view title;  ///< on the terminal: "PLS"
  /// Whether a model that was read has all that the kind wants, with matrices of the right sizes; what all kinds have
  /// in common is already checked.
  bool (*isWhole)(const SavedModel& model);
  /// Rows of `x` are refused that lack more than the share `maxMissing`, or have fewer values than the model
  /// components. Throws NCError if `progress` says that the user breaks off.
  ScaledPrediction (*predict)(const NCDataMatrix<float>& x, const SavedModel& model, double maxMissing,
                              NCProgress* progress);
};

/// Null if this version knows no such kind.
const ModelKind* FindModelKind(std::string_view name);

/// That of a model which ReadModel() has returned.
const ModelKind& KindOf(const SavedModel& model);

}  // namespace tool
