#include "tools/voran/correlate_command.h"

#include <limits>
#include <memory>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/correlate_fit.h"
#include "tools/voran/correlate_report.h"

namespace tool {
namespace {

struct CorrelateOptions {
  RunOptions run;
  CorrelateSettings settings;
};

void RunCorrelate(const CorrelateOptions& options) {
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const SeriesSet series = SeriesToFill(table, options.settings.areRows);
  const CorrelateResult result = Correlate(series, options.settings, table);
  const CorrelateReport report = {table, series, options.settings, result};
  run.Finish(
      CorrelateText(report), CorrelateJson(report),
      [&](OutputDirectory& folder) { WriteCorrelateTables(report, folder); },
      [&](std::ostream& out) { out << CorrelatePicture(report); });
}

}  // namespace

void AddCorrelateCommand(CommandLine& program) {
  Command command = program.AddCommand("correlate", "Autocorrelations of series, or correlations with one of them");
  auto options = std::make_shared<CorrelateOptions>();
  AddAlong(command, options->settings.areRows);
  command
      .Add("--with", options->settings.with,
           "Correlate the others with this series, instead of each with itself; a positive lag is how far they come "
           "behind it")
      .Type("SERIES")
      .NotEmpty();
  command.Add("--lags", options->settings.lags, "The largest lag; without it, a quarter of the length")
      .Type("L")
      .Between(0, std::numeric_limits<int>::max());
  AddDetrending(command, options->settings.detrending);
  options->run.AddWithPictureTo(command, "Draw the first correlations to this file, as SVG");
  command.Footer(
      R"(Gaps are filled on straight lines. Without --out there is only the summary.

Examples:
  voran correlate sunspots.csv --svg sunspots.svg
  voran correlate daily.csv --x rain,level --with rain --lags 30 --out delays)");
  command.OnRun([options] { RunCorrelate(*options); });
}

}  // namespace tool
