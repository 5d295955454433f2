#include "tools/voran/series_plot.h"

#include <cmath>

#include <fmt/format.h>

#include "tools/voran/number_text.h"
#include "tools/voran/picture_style.h"

namespace tool {
namespace {

constexpr double kHeadHeight = 84.0;
constexpr double kPlotHeight = 200.0;
constexpr double kPlotPitch = kPlotHeight + 72.0;
constexpr double kLeft = 74.0;

}  // namespace

SeriesAxis::SeriesAxis(const SeriesSet& series) : series_(series) {
  std::optional<std::vector<double>> numbers = NumbersOfPlaces(series);
  isNumeric_ = numbers.has_value();
  if (isNumeric_) x_ = std::move(*numbers);
  for (int i = 1; !isNumeric_ && i <= series.Length(); ++i) x_.push_back(i);
}

ChartAxis SeriesAxis::Range() const {
  return PlotRange(x_.front(), x_.back()).Axis(0.0, 0.0);
}

void SeriesAxis::Draw(Plot& plot, const std::string& title) const {
  if (isNumeric_) {
    plot.DrawXAxis(title, kPageXTicks);
  } else {
    plot.DrawXAxis(title, kPageXTicks, [this](double tick) { return PlaceName(series_, tick); });
  }
}

PlotPage::PlotPage(const std::string& name, const std::string& title, const std::string& subtitle, std::size_t plots)
    : svg_(kPageWidth, kHeadHeight + kPlotPitch * static_cast<double>(plots) - 18.0, name) {
  WriteHead(svg_, title, subtitle);
}

PlotBox PlotPage::Next() {
  const double top = kHeadHeight + kPlotPitch * static_cast<double>(drawn_++);
  return {kLeft, top, kPageWidth - kPageMargin, top + kPlotHeight};
}

std::string PlaceName(const SeriesSet& series, double position) {
  constexpr std::size_t kLongestLabel = 12;
  const double rounded = std::round(position);
  const bool isThere = rounded >= 1.0 && rounded <= series.Length() && std::abs(rounded - position) < 1e-6;
  return isThere ? ShortName(series.places[static_cast<std::size_t>(rounded) - 1], kLongestLabel) : std::string();
}

std::string DrawnText(const SeriesSet& series, std::size_t drawn) {
  if (drawn == series.Size()) return series.Text();
  return fmt::format("{} of {}", drawn, series.Text());
}

std::vector<std::size_t> SeriesToDraw(const SeriesSet& series, std::size_t most) {
  std::vector<std::size_t> chosen;
  for (std::size_t s = 0; s < series.Size() && chosen.size() < most; ++s) {
    if (!series.IsEmpty(s)) chosen.push_back(s);
  }
  return chosen;
}

}  // namespace tool
