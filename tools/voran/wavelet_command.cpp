#include "tools/voran/wavelet_command.h"

#include <bit>
#include <filesystem>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/wavelet_fit.h"
#include "tools/voran/wavelet_form_file.h"
#include "tools/voran/wavelet_report.h"

namespace tool {
namespace {

struct WaveletOptions {
  RunOptions run;
  WaveletSettings settings;
  std::string family = "Daubechies";
  std::string order;
  bool inverse = false;
};

void RefusePicture(const WaveletOptions& options, int coefficients) {
  if (options.run.svg.empty()) return;
  if (options.settings.bestBasis) {
    throw WrongUse("--svg: a scalogram shows the levels of the dyadic transform, which --best-basis does not have");
  }
  if (coefficients > 1 && std::has_single_bit(static_cast<unsigned>(coefficients))) return;
  throw WrongUse(fmt::format("--svg: a scalogram needs a power of two for the number of coefficients, which are {}{}",
                             coefficients, coefficients > 1 ? "; add --pad" : ""));
}

void RunForward(const WaveletOptions& options) {
  WaveletSettings settings = options.settings;
  settings.wavelet = ChooseWavelet(options.family, options.order);
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const SeriesSet series = SeriesToFill(table, settings.areRows);
  const WaveletResult result = TransformSeries(series, table.idName, settings, table.source);
  RefusePicture(options, result.form.coefficients);
  const WaveletReport report = {table, series, result};
  run.Finish(
      WaveletText(report), WaveletJson(report), [&](OutputDirectory& folder) { WriteWaveletTables(report, folder); },
      [&](std::ostream& out) { out << WaveletPicture(report); });
}

void RunInverse(const WaveletOptions& options) {
  if (!options.run.svg.empty()) throw WrongUse("--svg does not go with --inverse; --out writes the series");
  const std::string& path = options.run.table.Path();
  if (path == "-") throw WrongUse("--inverse reads wavelet.csv and the summary.json beside it; name the file");
  const std::string summary = (std::filesystem::path(path).parent_path() / "summary.json").string();
  CommandRun run(options.run, {summary});
  const WaveletForm form = ReadWaveletForm(summary);
  const Table table = run.ReadTable();
  const SeriesSet coefficients = SeriesOf(table, form.areRows);
  const NCDataMatrix<float> x = RestoreSeries(coefficients, form, table.source);
  const RestoredReport report = {table, coefficients, form, x};
  run.Finish(RestoredText(report), RestoredJson(report),
             [&](OutputDirectory& folder) { WriteRestoredTables(report, folder); });
}

// Those that only the forward transform takes: the inverse one reads all that from the summary.
void AddForwardOptions(Command& command, WaveletOptions& options, const Option& inverse) {
  AddAlong(command, options.settings.areRows).Excludes(inverse);
  command.Add("--family", options.family, "The family of the wavelet")
      .OneOf(WaveletFamilies())
      .ShowDefault()
      .Excludes(inverse);
  command.Add("--order", options.order, "Its order, see below; without it, the lowest of the family")
      .Type("NAME")
      .NotEmpty()
      .Excludes(inverse);
  AddDetrending(command, options.settings.detrending).Excludes(inverse);
  command.AddFlag("--pad", options.settings.pad, "Lengthen series to a power of two, on a line back to their beginning")
      .Excludes(inverse);
  command
      .AddFlag("--best-basis", options.settings.bestBasis,
               "Wavelet packets of least entropy in place of the dyadic transform; pads")
      .Excludes(inverse);
}

std::string OrderLines() {
  std::string lines;
  for (const std::string& family : WaveletFamilies()) {
    const auto type = Wavelet::WaveletFunction(family.c_str(), Wavelet::WaveletFunctionType::kBeylkin);
    lines += fmt::format("  {:<15}", family);
    for (const std::string& order : WaveletOrders(type)) lines += " " + order;
    lines += '\n';
  }
  return lines;
}

}  // namespace

void AddWaveletCommand(CommandLine& program) {
  Command command = program.AddCommand("wavelet", "Wavelet transforms of series, and back");
  auto options = std::make_shared<WaveletOptions>();
  const Option inverse =
      command.AddFlag("--inverse", options->inverse,
                      "Restore the series from wavelet.csv, with the summary.json that --out wrote beside it");
  AddForwardOptions(command, *options, inverse);
  options->run.AddWithPictureTo(command, "Draw the scalograms of the first series to this file, as SVG");
  command.Footer("The orders of the families:\n" + OrderLines() +
                 R"(Gaps are filled on straight lines. Without --out there is only the summary.

Examples:
  voran wavelet sunspots.csv --pad --family Symmlet --order 8 --out coefficients --svg sunspots.svg
  voran wavelet coefficients/wavelet.csv --inverse --out restored
  voran wavelet gasoline.csv --x 900..1700 --along rows --best-basis --out packets)");
  command.OnRun([options] { options->inverse ? RunInverse(*options) : RunForward(*options); });
}

}  // namespace tool
