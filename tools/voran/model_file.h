#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tools/voran/class_responses.h"
#include "tools/voran/model_spread.h"
#include "tools/voran/prepared_table.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/streamable.h"

namespace tool {

/// A fitted model with everything that it takes to apply it to another table. The layout is in docs/file_formats.md.
class SavedModel : public StreamWalk<SavedModel> {
 public:
  std::string kind;                     ///< of ModelKind
  PreparedColumns x;                    ///< the columns of X, in the order of the matrices
  PreparedColumns y;                    ///< the responses; none in a PCA
  std::vector<ClassResponses> classes;  ///< those of them that stand for columns of class names
  NCDataMatrix<float> W;                ///< components x variables; of a PCA, the loadings
  NCDataMatrix<float> P;                ///< components x variables
  NCDataMatrix<float> C;                ///< components x responses
  /// What the kind needs besides; empty in a PCA and a PLS.
  std::vector<NCDataMatrix<float>> further;
  ModelSpread spread;  ///< of the components and then of the orthogonal ones
  /// The same of the responses, in a model that predicts in both directions.
  std::optional<ModelSpread> ySpread;
  std::string summary;  ///< of the fit, the JSON text that its command gave

  std::size_t Components() const { return static_cast<std::size_t>(W.SizeRows()); }
  std::size_t OrthogonalComponents() const { return spread.scoreVariances.size() - Components(); }

  /// The identity "voran model", version 1; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<SavedModel>;
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
};

/// Whether a matrix that was read has so many rows, and a column for each name; without rows none can be wrong.
bool HasShape(const NCDataMatrix<float>& matrix, std::size_t rows, const std::vector<std::string>& columns);

void WriteModel(std::ostream& out, const SavedModel& model);

/// Throws `Failure`: bad data if the file cannot be opened, holds no model, a damaged one, or one of a kind that this
/// version does not know.
SavedModel ReadModel(const std::string& path);
/// The same of what stands in `path`; the stream is binary and at its beginning.
SavedModel ReadModel(std::istream& in, const std::string& path);

}  // namespace tool
