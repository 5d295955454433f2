#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"
#include "tools/voran/series_plot.h"
#include "tools/voran/wavelet_report.h"

namespace tool {
namespace {

/// From white to the colour of data; each is four times the power of the one before.
constexpr std::array<std::string_view, 9> kShades = {"#ffffff", "#e4eff7", "#c9dfee", "#a3c9e3", "#7cb3d7",
                                                     "#559dcb", "#2e87c0", "#0072b2", "#003f63"};

std::size_t ShadeOf(float power, float most) {
  if (!(power > 0.0f)) return 0;
  const int quarterings = static_cast<int>(std::floor(0.5f * std::log2(most / power)));
  return static_cast<std::size_t>(std::max(0, static_cast<int>(kShades.size()) - 1 - quarterings));
}

// Cells of one shade that follow one another become one rectangle: at most 256 in a band.
void DrawBand(SvgWriter& svg, const NCDataVector<float>& row, float most, const PlotBox& band,
              const std::string& name) {
  const int columns = row.Size();
  const double width = (band.right - band.left) / columns;
  for (int first = 1, next = 1; first <= columns; first = next) {
    const std::size_t shade = ShadeOf(row[first], most);
    for (next = first; next <= columns && ShadeOf(row[next], most) == shade;) ++next;
    if (shade == 0) continue;
    svg.Element("rect",
                {{"x", SvgNumber(band.left + (first - 1) * width)},
                 {"y", SvgNumber(band.top)},
                 {"width", SvgNumber((next - first) * width)},
                 {"height", SvgNumber(band.bottom - band.top)},
                 {"fill", std::string(kShades[shade])}},
                name);
  }
}

void DrawBands(PlotPage& page, const NCDataMatrix<float>& image, const PlotBox& box, int coefficients) {
  const int levels = image.SizeRows() / 2;
  const double height = (box.bottom - box.top) / levels;
  float most = 0.0f;
  for (const NCDataVector<float>& row : image) most = std::max(most, *std::max_element(row.begin(), row.end()));
  const int labelled = std::max(1, static_cast<int>(std::ceil(13.0 / height)));
  for (int band = 1; band <= levels; ++band) {  // the coarsest first, at the bottom
    const double bottom = box.bottom - (band - 1) * height;
    const int scale = coefficients >> (band - 1);
    const std::string name = fmt::format("scale {}", scale);
    DrawBand(page.Svg(), image[2 * (levels - band + 1)], most, {box.left, bottom - height + 1.0, box.right, bottom},
             name);
    if ((band - 1) % labelled != 0) continue;
    page.Svg().Text(box.left - 6.0, bottom - 0.5 * height + 4.0, std::to_string(scale),
                    TextStyle(kSmallText, kGrey, "end"));
  }
}

void DrawSeries(PlotPage& page, const WaveletReport& report, std::size_t s) {
  const int coefficients = report.result.form.coefficients;
  const int length = report.series.Length();
  const PlotBox box = page.Next();
  Plot plot(page.Svg(), box, {0.5, coefficients + 0.5, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0});
  const NCDataVector<float>& series = report.result.coefficients[static_cast<int>(s) + 1];
  const std::unique_ptr<NCDataMatrix<float>> image(Wavelet::PowerSpectrum(&series, true, nullptr));
  plot.DrawXAxis("", kPageXTicks, [&](double tick) { return PlaceName(report.series, tick); });
  if (image != nullptr) DrawBands(page, *image, box, coefficients);
  if (length < coefficients) {
    plot.DrawLine(length + 0.5, 0.0, length + 0.5, 1.0,
                  {{"stroke", std::string(kColours[1])}, {"stroke-dasharray", "6 4"}});
  }
  page.Svg().Text(box.left, box.top - 8.0,
                  ShortName(report.series.names[s], kLongestTitle) + ": scale (elements that a coefficient covers)",
                  TextStyle(kSmallText, kGrey));
  page.Svg().Text(box.right, box.top - 8.0, "each shade is four times the power of the next paler one",
                  TextStyle(kSmallText, kGrey, "end"));
}

}  // namespace

std::string WaveletPicture(const WaveletReport& report) {
  const std::vector<std::size_t> drawn = SeriesToDraw(report.series, kMostPlots / 2);
  PlotPage page(
      "Scalogram of " + PictureName(report.table), PictureName(report.table),
      fmt::format("Scalogram, {}, {}{}", DrawnText(report.series, drawn.size()), WaveletFormText(report.result.form),
                  report.series.Length() < report.result.form.coefficients ? ", padding right of the dashes" : ""),
      drawn.size());
  for (const std::size_t s : drawn) DrawSeries(page, report, s);
  return page.Finish();
}

}  // namespace tool
