#include "tools/voran/smooth_command.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/smooth_fit.h"
#include "tools/voran/smooth_report.h"

namespace tool {
namespace {

struct SmoothOptions {
  RunOptions run;
  SmoothSettings settings;
  std::optional<int> derivative;
  std::optional<double> step;
  bool withoutEdges = false;
};

SmoothSettings Resolve(const SmoothOptions& options) {
  SmoothSettings settings = options.settings;
  settings.withEdges = !options.withoutEdges;
  settings.derivative = options.derivative.value_or(0);
  settings.step = options.step.value_or(1.0);
  if (settings.window % 2 == 0) {
    throw WrongUse(fmt::format("--window: a window has a centre, so it is an odd number of elements; {} is even",
                               settings.window));
  }
  if (settings.window <= settings.order) {
    throw WrongUse(fmt::format("--window: a polynomial of order {} needs a window of {} elements or more",
                               settings.order, settings.LeastWindow()));
  }
  if (settings.derivative > settings.order) {
    throw WrongUse("--derivative: the third one of a polynomial of order 2 is 0 everywhere; add --order 3");
  }
  if (options.step && !options.derivative) throw WrongUse("--step goes with --derivative alone");
  const float step = static_cast<float>(settings.step);
  const float scale = std::pow(step, static_cast<float>(settings.derivative));
  if (!(step > 0.0f) || !std::isnormal(scale) || !std::isnormal(1.0f / scale)) {
    throw WrongUse(fmt::format("--step: {} is no distance that a derivative can be taken at", settings.step));
  }
  return settings;
}

void RunSmooth(const SmoothOptions& options) {
  const SmoothSettings settings = Resolve(options);
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const SeriesSet series = SeriesOf(table, settings.areRows);
  const SmoothResult result = SmoothSeries(series, settings, table.source);
  const SmoothReport report = {table, series, settings, result};
  run.Finish(
      SmoothText(report), SmoothJson(report), [&](OutputDirectory& folder) { WriteSmoothTables(report, folder); },
      [&](std::ostream& out) { out << SmoothPicture(report); });
}

}  // namespace

void AddSmoothCommand(CommandLine& program) {
  Command command = program.AddCommand("smooth", "Series smoothed by polynomials, or their derivatives");
  auto options = std::make_shared<SmoothOptions>();
  AddAlong(command, options->settings.areRows);
  command.Add("--window", options->settings.window, "How many elements a polynomial is fitted to; an odd number")
      .Type("N")
      .Between(3, std::numeric_limits<int>::max())
      .ShowDefault();
  command.Add("--order", options->settings.order, "The order of the polynomial: 2 or 3")
      .Type("P")
      .Between(2, 3)
      .ShowDefault();
  command.Add("--derivative", options->derivative, "The first, second or third derivative in place of the values")
      .Type("D")
      .Between(1, 3);
  command.Add("--step", options->step, "How far apart elements are, for derivatives; without it, 1").Type("S");
  command.AddFlag("--no-edges", options->withoutEdges,
                  "Leave gaps at the ends, where no window has its centre, instead of values of the last polynomial");
  options->run.AddWithPictureTo(command, "Draw the first series to this file, as SVG");
  command.Footer(
      R"(Without --out there is only the summary.

Examples:
  voran smooth sunspots.csv --window 13 --out smoothed --svg sunspots.svg
  voran smooth gasoline.csv --x 900..1700 --along rows --window 11 --derivative 1 --step 2 --out slopes)");
  command.OnRun([options] { RunSmooth(*options); });
}

}  // namespace tool
