#include "tools/voran/svd_command.h"

#include <memory>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/svd_fit.h"
#include "tools/voran/svd_report.h"

namespace tool {
namespace {

struct SvdOptions {
  RunOptions run;
  SvdSettings settings;
};

void RunSvd(const SvdOptions& options) {
  CommandRun run(options.run);
  Table table = run.ReadTable();
  SvdSettings settings = options.settings;
  settings.withVectors = !options.run.output.folder.empty();
  const SvdResult result = FitSvd(table, settings);
  const SvdReport report = {table, settings, result};
  run.Finish(SvdText(report), SvdJson(report), [&](OutputDirectory& folder) { WriteSvdTables(report, folder); });
}

}  // namespace

void AddSvdCommand(CommandLine& program) {
  Command command = program.AddCommand("svd", "Singular value decomposition");
  auto options = std::make_shared<SvdOptions>();
  AddScaling(command, options->settings.scaling);
  options->run.AddTo(command);
  command.Footer(
      R"(The table is decomposed as it stands, unless --scaling says otherwise; with --scaling center or uv, this is
principal component analysis of a complete table. A table with gaps is refused: see voran pca.

Examples:
  voran svd spectra.csv --x 900..1700
  voran svd wine.csv --class class --scaling uv --out results)");
  command.OnRun([options] { RunSvd(*options); });
}

}  // namespace tool
