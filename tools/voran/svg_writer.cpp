#include "tools/voran/svg_writer.h"

#include <fmt/format.h>

#include "tools/voran/utf8.h"

namespace tool {
namespace {

// XML 1.0, production 2; line ends and tabs become blanks, as a viewer would show them.
bool IsControl(char32_t code) {
  return code < 0x20 || code == 0x7f || code == 0xfffe || code == 0xffff;
}

// In parts of the font size; Helvetica's widths (Adobe Font Metrics), a little rounded up.
double WidthOf(char32_t code) {
  constexpr std::string_view kNarrow = " !'(),./:;I[]fijlt|-`";
  constexpr std::string_view kWide = "mwMW@%";
  if (code >= 0x1100) return 1.0;
  if (code >= 0x80) return 0.65;
  const char c = static_cast<char>(code);
  if (kNarrow.find(c) != std::string_view::npos) return 0.37;
  if (kWide.find(c) != std::string_view::npos) return 0.95;
  return c >= 'A' && c <= 'Z' ? 0.74 : 0.6;
}

std::string HintElement(std::string_view hint) {
  return hint.empty() ? std::string() : fmt::format("<title>{}</title>", EscapedXml(hint));
}

}  // namespace

std::string SvgNumber(double value) {
  std::string text = fmt::format("{:.2f}", value);
  while (text.ends_with('0')) text.pop_back();
  if (text.ends_with('.')) text.pop_back();
  return text == "-0" ? "0" : text;
}

double TextWidth(std::string_view text, double fontSize) {
  double width = 0.0;
  while (!text.empty()) {
    const auto character = FirstCharacter(text);
    width += character ? WidthOf(character->code) : 1.0;
    text.remove_prefix(character ? character->bytes : 1);
  }
  return width * fontSize;
}

std::string EscapedXml(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const auto character = FirstCharacter(text);
    const std::string_view bytes = text.substr(0, character ? character->bytes : 1);
    if (!character) {
      escaped += "\xef\xbf\xbd";
    } else if (IsControl(character->code)) {
      escaped += ' ';
    } else if (bytes == "&") {
      escaped += "&amp;";
    } else if (bytes == "<") {
      escaped += "&lt;";
    } else if (bytes == ">") {
      escaped += "&gt;";
    } else if (bytes == "\"") {
      escaped += "&quot;";
    } else {
      escaped += bytes;
    }
    text.remove_prefix(bytes.size());
  }
  return escaped;
}

SvgWriter::SvgWriter(double width, double height, std::string_view title) {
  const std::string w = SvgNumber(width);
  const std::string h = SvgNumber(height);
  text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  Open("svg", {{"xmlns", "http://www.w3.org/2000/svg"},
               {"width", w},
               {"height", h},
               {"viewBox", fmt::format("0 0 {} {}", w, h)},
               {"font-family", "Helvetica, Arial, 'Liberation Sans', 'DejaVu Sans', sans-serif"}});
  text_ += fmt::format(">\n<title>{}</title>\n", EscapedXml(title));
  Element("rect", {{"width", w}, {"height", h}, {"fill", "#ffffff"}});
}

void SvgWriter::Open(std::string_view name, const SvgAttributes& attributes) {
  text_ += '<';
  text_ += name;
  for (const auto& [key, value] : attributes) text_ += fmt::format(" {}=\"{}\"", key, EscapedXml(value));
}

void SvgWriter::Element(std::string_view name, const SvgAttributes& attributes, std::string_view hint) {
  Open(name, attributes);
  text_ += hint.empty() ? "/>\n" : fmt::format(">{}</{}>\n", HintElement(hint), name);
}

void SvgWriter::Line(double x1, double y1, double x2, double y2, const SvgAttributes& attributes) {
  SvgAttributes all = {{"x1", SvgNumber(x1)}, {"y1", SvgNumber(y1)}, {"x2", SvgNumber(x2)}, {"y2", SvgNumber(y2)}};
  all.insert(all.end(), attributes.begin(), attributes.end());
  Element("line", all);
}

void SvgWriter::Text(double x, double y, std::string_view text, const SvgAttributes& attributes,
                     std::string_view hint) {
  SvgAttributes all = {{"x", SvgNumber(x)}, {"y", SvgNumber(y)}};
  all.insert(all.end(), attributes.begin(), attributes.end());
  Open("text", all);
  text_ += fmt::format(">{}{}</text>\n", HintElement(hint), EscapedXml(text));
}

void SvgWriter::BeginGroup(const SvgAttributes& attributes) {
  Open("g", attributes);
  text_ += ">\n";
}

void SvgWriter::EndGroup() {
  text_ += "</g>\n";
}

std::string SvgWriter::Finish() {
  text_ += "</svg>\n";
  return std::move(text_);
}

}  // namespace tool
