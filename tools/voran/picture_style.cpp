#include "tools/voran/picture_style.h"

#include <filesystem>

#include "tools/voran/number_text.h"

namespace tool {

SvgAttributes TextStyle(double size, std::string_view colour, std::string_view anchor) {
  return {{"font-size", SvgNumber(size)}, {"fill", std::string(colour)}, {"text-anchor", std::string(anchor)}};
}

std::string PictureName(const Table& table) {
  constexpr std::size_t kLongestName = 90;
  const std::string file = std::filesystem::path(table.source).filename().string();
  return ShortName(table.chosen.empty() ? file : file + ", " + table.chosen, kLongestName);
}

void WriteHead(SvgWriter& svg, const std::string& title, const std::string& subtitle) {
  SvgAttributes style = TextStyle(15.0, kInk);
  style.emplace_back("font-weight", "bold");
  svg.Text(kPageMargin, 26.0, title, style);
  svg.Text(kPageMargin, 43.0, subtitle, TextStyle(kSmallText, kGrey));
}

}  // namespace tool
