#pragma once

#include <cstddef>
#include <vector>

#include "tools/voran/class_responses.h"
#include "tools/voran/svg_writer.h"

namespace tool {

/// The classes of rows in a picture: a square with a letter beside each row, and a legend. The colours run from dark to
/// light, so that they differ in grey and for the colour-blind too; of more than six classes, the seventh begins anew.
class ClassMarks {
 public:
  /// Marks the first of the columns that names a class.
  explicit ClassMarks(const std::vector<ClassColumn>& columns);

  bool IsEmpty() const { return column_ == nullptr; }
  /// On one line, the classes that find room between `left` and `right`.
  void WriteLegend(SvgWriter& svg, double left, double right, double y) const;
  /// The squares of all rows, as high as `pitch` allows. `places` are the rows' places down the page.
  void WriteRows(SvgWriter& svg, double x, double width, double pitch, const std::vector<double>& places) const;

 private:
  void WriteMark(SvgWriter& svg, std::size_t index, double x, double y, double width, double height) const;

  const ClassColumn* column_ = nullptr;
};

}  // namespace tool
