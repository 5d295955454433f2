#include "tools/voran/gap_filling.h"

#include <cstddef>

#include <fmt/format.h>

#include "tools/voran/library_error.h"
#include "tools/voran/number_text.h"
#include "voran/orthogonal/pls_missing_value_estimator.h"

namespace tool {
namespace {

FilledGaps FillOne(NCDataMatrix<float>& block, const NCDataMatrix<float>& other, NCProgress* progress) {
  FilledGaps filled;
  filled.cells = block.GetNumMisVal();
  filled.components = detail::FillGaps(block, other, progress);
  return filled;
}

}  // namespace

std::string FilledGaps::Text() const {
  return fmt::format("{} filled with {}", Counted(static_cast<std::size_t>(cells), "gap"),
                     components > 0 ? Counted(static_cast<std::size_t>(components), "component") : "the means");
}

FilledBlocks FillBlocks(NCDataMatrix<float>& x, NCDataMatrix<float>& y, const std::string& source,
                        NCProgress* progress) {
  if (progress != nullptr) progress->SetText("filling gaps");
  try {
    FilledBlocks filled;
    filled.x = FillOne(x, y, progress);
    filled.y = FillOne(y, x, progress);
    return filled;
  } catch (const NCError& error) {
    throw FailureOf(error, source, progress);
  }
}

}  // namespace tool
