#include "tools/voran/wavelet_report.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/number_text.h"
#include "tools/voran/series_report.h"
#include "tools/voran/table_writer.h"
#include "tools/voran/text_table.h"
#include "tools/voran/wavelet_form_file.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kShares[] = {0.9, 0.99, 0.999};

std::string LevelLines(const WaveletResult& result) {
  if (result.energies.empty()) return {};
  TextTable lines({"level", "scale", "energy"});
  for (std::size_t level = 1; level <= result.energies.size(); ++level) {
    lines.Row({std::to_string(level), fmt::format("{}", 1ULL << level),
               fmt::format("{:.2f} %", 100.0 * result.energies[level - 1])});
  }
  return lines.Text() + "\n";
}

std::string HoldingLines(const WaveletReport& report) {
  const SeriesSet& series = report.series;
  TextTable lines({series.areRows ? "row" : "column", "coefficients", "for 90 %", "99 %", "99.9 %"});
  for (std::size_t s = 0; s < std::min(series.Size(), kSeriesShown); ++s) {
    std::vector<std::string> cells = {ShortName(series.names[s])};
    cells.push_back(std::to_string(report.result.form.coefficients));
    for (const int count : CoefficientsHolding(report.result.coefficients[static_cast<int>(s) + 1], kShares)) {
      cells.push_back(series.IsEmpty(s) ? "-" : std::to_string(count));
    }
    lines.Row(cells);
  }
  return lines.Text() + MoreSeriesText(series.Size());
}

// A table of other rows than the one that was read, under other names.
Table TurnedTable(const std::string& heading, const std::vector<std::string>& rowIds) {
  Table table;
  table.idName = heading;
  table.rowIds = rowIds;
  return table;
}

// Series along rows stay in the rows of `table`; others become the columns of a table whose rows bear `places`.
void WriteSeries(std::ostream& out, const SeriesSet& series, const Table& table, NCDataMatrix<float> x,
                 const std::string& heading, const std::vector<std::string>& places) {
  if (series.areRows) {
    WriteTable(out, table, places, x);
  } else {
    WriteTable(out, TurnedTable(heading, places), series.names, x.Transpose());
  }
}

}  // namespace

std::string WaveletFormText(const WaveletForm& form) {
  const int length = static_cast<int>(form.places.size());
  std::string text = fmt::format("{}{}, detrend {}", form.wavelet.Name(), form.isBestBasis ? ", best basis" : "",
                                 DetrendingName(form.detrending));
  if (form.coefficients > length) text += fmt::format(", {} elements padded to {}", length, form.coefficients);
  if (form.isBestBasis) {
    const auto splits = static_cast<std::size_t>(std::count(form.basis.begin(), form.basis.end(), true));
    text += ", " + Counted(splits + 1, "block");
  }
  return text;
}

std::string WaveletText(const WaveletReport& report) {
  return SeriesHeading("Wavelet transform", report.table, report.series, kInterpolated) +
         fmt::format("  {}\n\n", WaveletFormText(report.result.form)) + LevelLines(report.result) +
         HoldingLines(report);
}

std::string RestoredText(const RestoredReport& report) {
  std::string text = fmt::format("Series restored from {}: {} of {}\n  {}\n", SourceText(report.table),
                                 Counted(report.coefficients.Size(), report.form.areRows ? "row" : "column"),
                                 Counted(report.form.places.size(), report.form.areRows ? "column" : "row"),
                                 WaveletFormText(report.form));
  const std::vector<std::string> empty = report.coefficients.EmptySeries();
  return text + (empty.empty() ? "" : fmt::format("  without a value: {}\n", Enumerated(empty)));
}

Json WaveletJson(const WaveletReport& report) {
  Json json = SeriesJsonHead("wavelet", report.table, report.series);
  json["inverse"] = false;
  json["padded"] = static_cast<std::size_t>(report.result.form.coefficients) > report.result.form.places.size();
  AddWaveletForm(json, report.result.form);
  for (std::size_t s = 0; s < report.series.Size(); ++s) {
    const std::vector<int> counts = CoefficientsHolding(report.result.coefficients[static_cast<int>(s) + 1], kShares);
    constexpr const char* kKeys[] = {"holding_90", "holding_99", "holding_99_9"};
    for (std::size_t i = 0; i < counts.size(); ++i) {
      json["series"][s][kKeys[i]] = report.series.IsEmpty(s) ? Json() : Json(counts[i]);
    }
  }
  json["levels"] = Json::array();
  for (std::size_t level = 1; level <= report.result.energies.size(); ++level) {
    json["levels"].push_back(
        {{"level", level}, {"scale", 1ULL << level}, {"energy", AsWritten(report.result.energies[level - 1])}});
  }
  return json;
}

Json RestoredJson(const RestoredReport& report) {
  Json json = SeriesJsonHead("wavelet", report.table, report.coefficients);
  json["length"] = report.form.places.size();
  json["along"] = report.form.areRows ? "rows" : "columns";
  json["inverse"] = true;
  json["family"] = Wavelet::WaveletFunctionStr(report.form.wavelet.family);
  json["order"] = report.form.wavelet.OrderName();
  json["detrend"] = DetrendingName(report.form.detrending);
  json["coefficients"] = report.form.coefficients;
  json["best_basis"] = report.form.isBestBasis;
  return json;
}

void WriteWaveletTables(const WaveletReport& report, OutputDirectory& folder) {
  folder.Write("wavelet.csv", [&](std::ostream& out) {
    WriteSeries(out, report.series, report.table, report.result.coefficients, "coefficient", report.result.names);
  });
}

void WriteRestoredTables(const RestoredReport& report, OutputDirectory& folder) {
  folder.Write("wavelet.csv", [&](std::ostream& out) {
    WriteSeries(out, report.coefficients, report.table, report.x, report.form.heading, report.form.places);
  });
}

}  // namespace tool
