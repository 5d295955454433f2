#include "tools/voran/histogram_command.h"

#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/histogram_fit.h"
#include "tools/voran/histogram_picture.h"
#include "tools/voran/histogram_report.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct HistogramOptions {
  RunOptions run;
  bool withDots = false;
};

void RunHistogram(const HistogramOptions& options) {
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const std::vector<ColumnHistogram> columns = [&] {
    NCProgress progress("histogram", 0.0f, 1.0f, false, false, true, "");
    return MakeHistograms(table, &progress);
  }();
  const HistogramReport report = {table, columns, options.withDots};
  run.Finish(
      HistogramText(report), HistogramJson(report),
      [&](OutputDirectory& folder) { WriteHistogramTables(report, folder); },
      [&](std::ostream& out) { out << HistogramPicture(report); });
}

}  // namespace

void AddHistogramCommand(CommandLine& program) {
  Command command = program.AddCommand("histogram", "How the values of each column are distributed");
  auto options = std::make_shared<HistogramOptions>();
  command.AddFlag("--dots", options->withDots, "Stacked dots, one for each row, in place of bars");
  options->run.AddWithPictureTo(command, "Draw the histograms to this file, as SVG");
  command.Footer(
      R"(Examples:
  voran histogram wine.csv --class class --x alcohol
  voran histogram wine.csv --class class --svg wine.svg --out results
  voran histogram iris.csv --where class=setosa --dots --svg setosa.svg)");
  command.OnRun([options] { RunHistogram(*options); });
}

}  // namespace tool
