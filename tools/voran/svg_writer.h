#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// The attributes of an element, in the order in which they are written; a number becomes one by SvgNumber().
using SvgAttributes = std::vector<std::pair<std::string_view, std::string>>;

/// A picture as SVG 1.1, element by element. Coordinates are pixels from the upper left corner.
///
/// Text is escaped, and what XML cannot hold is replaced, so that the picture is well-formed whatever names it shows.
class SvgWriter {
 public:
  /// A white page. `title` is what a viewer calls it.
  SvgWriter(double width, double height, std::string_view title);

  /// An element without content, but for the `hint` that a viewer shows when it is pointed at.
  void Element(std::string_view name, const SvgAttributes& attributes, std::string_view hint = {});
  void Line(double x1, double y1, double x2, double y2, const SvgAttributes& attributes);
  /// Text that begins at `x`, or stands as `attributes` say, on the line `y`.
  void Text(double x, double y, std::string_view text, const SvgAttributes& attributes = {},
            std::string_view hint = {});
  /// What comes up to EndGroup() inherits these attributes.
  void BeginGroup(const SvgAttributes& attributes);
  void EndGroup();

  /// The whole file. To be called once, at the end.
  std::string Finish();

 private:
  void Open(std::string_view name, const SvgAttributes& attributes);

  std::string text_;
};

/// With two decimals at most.
std::string SvgNumber(double value);

/// About how wide a sans-serif font of this size sets `text`: rather too much than too little.
double TextWidth(std::string_view text, double fontSize);

/// `text` as content or attribute of XML, in valid UTF-8.
std::string EscapedXml(std::string_view text);

}  // namespace tool
