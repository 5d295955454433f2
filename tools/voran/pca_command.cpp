#include "tools/voran/pca_command.h"

#include <memory>

#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/pca_fit.h"
#include "tools/voran/pca_report.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct PcaOptions {
  RunOptions run;
  PcaSettings settings;
};

void RunPca(const PcaOptions& options) {
  CommandRun run(options.run);
  Table table = run.ReadTable();
  const PcaResult result = [&] {
    NCProgress progress("PCA", 0.0f, 1.0f, false, false, true, "");
    return FitPca(table, options.settings, &progress);
  }();
  const PcaReport report = {table, options.settings, result};
  run.Finish(PcaText(report), PcaJson(report), [&](OutputDirectory& folder) { WritePcaTables(report, folder); });
}

}  // namespace

void AddPcaCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("pca", "Principal component analysis");
  auto options = std::make_shared<PcaOptions>();
  command->add_option("--components", options->settings.components, "How many components (without it, 5 at most)")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000));
  AddScaling(*command, options->settings.scaling);
  command->add_option("--max-iterations", options->settings.iterationLimit, "Rounds that a component may take")
      ->type_name("N")
      ->check(CLI::Range(1, 1000000000))
      ->capture_default_str();
  options->run.AddTo(*command);
  command->footer(R"(COLUMNS is a list of names, positions from 1, or ranges: class,3,nm900..nm1100. A range of numbers
(900..1100) takes the columns whose name holds a number in it, or else these positions; #3 and
#3..#5 are always positions. Without --id, the first column names the rows if its heading is "id" or
empty, or if it holds texts that are all different.

Examples:
  voran pca wine.csv --class class
  voran pca spectra.csv --x 900..1700 --scaling center --components 3 --out results
  zcat big.csv.gz | voran pca - --json --quiet)");
  command->callback([options] { RunPca(*options); });
}

}  // namespace tool
