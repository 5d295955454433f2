#include "tools/voran/spectrum_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kPeaksOfOne = 5;
constexpr std::size_t kPeaksOfSeveral = 2;

std::string PeakLines(const SpectrumReport& report) {
  const SeriesSet& series = report.series;
  TextTable lines({series.areRows ? "row" : "column", "peak", "period", "frequency", "power", "share"});
  for (std::size_t s = 0; s < std::min(series.Size(), kSeriesShown); ++s) {
    const std::vector<double>& powers = report.result.powers[s];
    const std::vector<SpectrumPeak> peaks = PeaksOf(powers, series.Size() == 1 ? kPeaksOfOne : kPeaksOfSeveral);
    const std::string name = ShortName(series.names[s]);
    if (peaks.empty()) lines.Row({name, "-", "-", "-", "-", "-"});
    for (std::size_t i = 0; i < peaks.size(); ++i) {
      const double frequency = report.result.frequencies[peaks[i].place];
      lines.Row({i == 0 ? name : "", std::to_string(i + 1), ShortNumber(PeriodOf(frequency)), ShortNumber(frequency),
                 ShortNumber(powers[peaks[i].place]), fmt::format("{:.1f} %", 100.0 * peaks[i].share)});
    }
  }
  return lines.Text() + MoreSeriesText(series.Size());
}

Json PeaksJson(const SpectrumReport& report, const std::vector<double>& powers) {
  Json peaks = Json::array();
  for (const SpectrumPeak& peak : PeaksOf(powers, kPeaksOfOne)) {
    const double frequency = report.result.frequencies[peak.place];
    peaks.push_back({{"frequency", AsWritten(frequency)},
                     {"period", AsWritten(PeriodOf(frequency))},
                     {"power", AsWritten(powers[peak.place])},
                     {"share", AsWritten(peak.share)}});
  }
  return peaks;
}

}  // namespace

std::string WindowName(FFT::DataWindowMode window) {
  constexpr const char* kNames[] = {"bartlett", "hann", "welch"};
  return kNames[static_cast<int>(window)];
}

std::string PowerScalingName(FFT::ScalingMode scaling) {
  return scaling == FFT::ScalingMode::kDensity ? "density" : "spectrum";
}

std::string SegmentText(const SpectrumReport& report) {
  const SpectrumSettings& settings = report.settings;
  return fmt::format("segments of {}{}, {} window, detrend {}, {}", report.result.segment,
                     settings.overlap ? ", half overlapping" : "", WindowName(settings.window),
                     DetrendingName(settings.detrending), PowerScalingName(settings.scaling)) +
         (settings.step == 1.0 ? std::string() : fmt::format(", step {}", ShortNumber(settings.step)));
}

std::string SpectrumText(const SpectrumReport& report) {
  return SeriesHeading("Power spectrum", report.table, report.series, kInterpolated) +
         fmt::format("  {}\n\n", SegmentText(report)) + PeakLines(report);
}

Json SpectrumJson(const SpectrumReport& report) {
  const SpectrumSettings& settings = report.settings;
  Json json = SeriesJsonHead("spectrum", report.table, report.series);
  json["segment"] = report.result.segment;
  json["overlap"] = settings.overlap;
  json["window"] = WindowName(settings.window);
  json["detrend"] = DetrendingName(settings.detrending);
  json["scaling"] = PowerScalingName(settings.scaling);
  json["step"] = settings.step;
  json["series"] = Json::array();
  for (std::size_t s = 0; s < report.series.Size(); ++s) {
    json["series"].push_back({{"name", report.series.names[s]}, {"peaks", PeaksJson(report, report.result.powers[s])}});
  }
  return json;
}

void WriteSpectrumTables(const SpectrumReport& report, OutputDirectory& folder) {
  folder.Write("spectrum.csv", [&](std::ostream& out) {
    CsvWriter csv(out);
    for (const char* heading : {"frequency", "period"}) csv.Text(heading);
    for (const std::string& name : report.series.names) csv.Text(name);
    csv.EndRow();
    for (std::size_t k = 0; k < report.result.frequencies.size(); ++k) {
      StopIfInterrupted();
      csv.Number(report.result.frequencies[k]);
      csv.Number(PeriodOf(report.result.frequencies[k]));
      for (const std::vector<double>& powers : report.result.powers) csv.Number(powers[k]);
      csv.EndRow();
    }
  });
}

}  // namespace tool
