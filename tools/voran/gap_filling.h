#pragma once

#include <string>

#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

namespace tool {

/// What was put into the gaps of a block.
struct FilledGaps {
  int cells = 0;
  int components = 0;  ///< of the model that told what; with none, each gap got the mean of its column

  /// "12 gaps filled with 2 components".
  std::string Text() const;
};

struct FilledBlocks {
  FilledGaps x;
  FilledGaps y;
};

/// Fills the gaps of two scaled blocks of the same rows, those of each by a PLS model of the other on it; of Y, by one
/// on the X that is complete by then. Every row should hold something in both. Throws `Failure`: computation failed if
/// the blocks have nothing to do with one another, cancelled if `progress`, which may be null, says so.
FilledBlocks FillBlocks(NCDataMatrix<float>& x, NCDataMatrix<float>& y, const std::string& source,
                        NCProgress* progress);

}  // namespace tool
