#include "tools/voran/spectrum_command.h"

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/spectrum_fit.h"
#include "tools/voran/spectrum_report.h"

namespace tool {
namespace {

struct SpectrumOptions {
  RunOptions run;
  SpectrumSettings settings;
};

void Check(const SpectrumSettings& settings) {
  if (settings.segment && !std::has_single_bit(static_cast<unsigned>(*settings.segment))) {
    throw WrongUse(
        fmt::format("--segment: a segment has 2, 4, 8, ... elements, a power of two; {} is none", *settings.segment));
  }
  if (!(settings.step > 0.0) || !std::isnormal(settings.step) || !std::isnormal(1.0 / settings.step)) {
    throw WrongUse(fmt::format("--step: {} is no distance between elements; give a number above 0", settings.step));
  }
}

void RunSpectrum(const SpectrumOptions& options) {
  Check(options.settings);
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const SeriesSet series = SeriesToFill(table, options.settings.areRows);
  const SpectrumResult result = ComputeSpectra(series, options.settings, table.source);
  const SpectrumReport report = {table, series, options.settings, result};
  run.Finish(
      SpectrumText(report), SpectrumJson(report), [&](OutputDirectory& folder) { WriteSpectrumTables(report, folder); },
      [&](std::ostream& out) { out << SpectrumPicture(report); });
}

void AddWindow(Command& command, SpectrumSettings& settings) {
  static const std::map<std::string, FFT::DataWindowMode> windows = {{"bartlett", FFT::DataWindowMode::kBartlett},
                                                                     {"hann", FFT::DataWindowMode::kHann},
                                                                     {"welch", FFT::DataWindowMode::kWelch}};
  command
      .AddRead(
          "--window", [&settings](const std::string& name) { settings.window = windows.at(name); },
          "What each segment is multiplied by")
      .OneOf({"bartlett", "hann", "welch"})
      .Default(WindowName(settings.window));
  const auto readScaling = [&settings](const std::string& name) {
    settings.scaling = name == "density" ? FFT::ScalingMode::kDensity : FFT::ScalingMode::kSpectrum;
  };
  command.AddRead("--scaling", readScaling, "Power by unit of frequency, or the power of a sine at its frequency")
      .OneOf({"density", "spectrum"})
      .Default(PowerScalingName(settings.scaling));
}

}  // namespace

void AddSpectrumCommand(CommandLine& program) {
  Command command = program.AddCommand("spectrum", "Power spectra of series");
  auto options = std::make_shared<SpectrumOptions>();
  SpectrumSettings& settings = options->settings;
  AddAlong(command, settings.areRows);
  command
      .Add("--segment", settings.segment,
           "How many elements a segment has, a power of two; without it, the largest that a series holds twice")
      .Type("N")
      .Between(2, std::numeric_limits<int>::max());
  const auto readOverlap = [&settings](const std::string& name) { settings.overlap = name == "half"; };
  command.AddRead("--overlap", readOverlap, "How far a segment reaches into the next")
      .OneOf({"half", "none"})
      .Default("half");
  AddDetrending(command, settings.detrending);
  AddWindow(command, settings);
  command.Add("--step", settings.step, "How far apart elements are, the unit of periods").Type("S").ShowDefault();
  options->run.AddWithPictureTo(command, "Draw the spectra of the first series to this file, as SVG");
  command.Footer(
      R"(Gaps are filled on straight lines. Without --out there is only the summary.

Examples:
  voran spectrum sunspots.csv --svg sunspots.svg
  voran spectrum sunspots.csv --segment 512 --step 0.0833333 --detrend linear --out years)");
  command.OnRun([options] { RunSpectrum(*options); });
}

}  // namespace tool
