#pragma once

#include <istream>
#include <ostream>
#include <string>

#include "tools/voran/model_spread.h"
#include "tools/voran/prepared_table.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/streamable.h"

namespace tool {

/// A fitted model with everything that it takes to apply it to another table. The layout is in docs/file_formats.md.
class SavedModel : public StreamWalk<SavedModel> {
 public:
  std::string kind;       ///< "pca" or "pls"
  PreparedColumns x;      ///< the columns of X, in the order of the matrices
  PreparedColumns y;      ///< the responses; none in a PCA
  NCDataMatrix<float> W;  ///< components x variables; of a PCA, the loadings
  NCDataMatrix<float> P;  ///< components x variables
  NCDataMatrix<float> C;  ///< components x responses
  ModelSpread spread;
  std::string summary;  ///< of the fit, the JSON text that its command gave

  /// The identity "voran model", version 1; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<SavedModel>;
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
};

void WriteModel(std::ostream& out, const SavedModel& model);

/// Throws `Failure`: bad data if the file cannot be opened, holds no model, or a damaged one.
SavedModel ReadModel(const std::string& path);

}  // namespace tool
