#include "tools/voran/o2pls_command.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/common_options.h"
#include "tools/voran/failure.h"
#include "tools/voran/o2pls_fit.h"
#include "tools/voran/o2pls_model.h"
#include "tools/voran/o2pls_report.h"
#include "tools/voran/regression_options.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct O2plsOptions {
  RegressionOptions common;
  O2plsSettings settings;
  // The numbers of components; nothing means auto.
  std::optional<int> joint;
  std::optional<int> xOrthogonal;
  std::optional<int> yOrthogonal;
};

// Nothing if cross-validation is to choose. It chooses all of them together, or none.
std::optional<O2plsCounts> CountsOf(const O2plsOptions& options) {
  std::vector<std::string> given;
  std::vector<std::string> lacking;
  for (const auto& [count, option] : {std::pair{&options.joint, "--components"},
                                      {&options.xOrthogonal, "--ortho"},
                                      {&options.yOrthogonal, "--y-ortho"}}) {
    (count->has_value() ? given : lacking).emplace_back(option);
  }
  if (lacking.empty()) return O2plsCounts{*options.joint, *options.xOrthogonal, *options.yOrthogonal};
  if (given.empty()) return std::nullopt;
  throw WrongUse(
      fmt::format("{} {} a number and {} {} not: cross-validation chooses all three together or none; give {} "
                  "too, or leave out {}",
                  fmt::join(given, " and "), given.size() == 1 ? "has" : "have", fmt::join(lacking, " and "),
                  lacking.size() == 1 ? "has" : "have", fmt::join(lacking, " and "), fmt::join(given, " and ")));
}

void RunO2pls(const O2plsOptions& options) {
  O2plsSettings settings = options.settings;
  settings.counts = CountsOf(options);
  options.common.RefuseAutoWithoutCv(!settings.counts, "components", "--components N, --ortho N and --y-ortho");
  CommandRun run(options.common.run);
  Table table = run.ReadTable();
  options.common.Complete(table, settings);
  const O2plsResult result = [&] {
    NCProgress progress("O2PLS", 0.0f, 1.0f, false, false, true, "");
    return FitO2pls(table, settings, &progress);
  }();
  run.Tell(table.source, result.notes);
  const O2plsReport report = {table, settings, result};
  run.Finish(
      O2plsText(report), O2plsJson(report), [&](OutputDirectory& folder) { WriteO2plsTables(report, folder); },
      [&](std::ostream& out) { WriteModel(out, O2plsModel(result, ToText(O2plsJson(report)))); });
}

}  // namespace

void AddO2plsCommand(CommandLine& program) {
  Command command =
      program.AddCommand("o2pls", "Two-way orthogonal PLS of two blocks: what they share, and what each has alone");
  auto options = std::make_shared<O2plsOptions>();
  options->common.run.table.AddResponses(command);
  AddCount(command, "--components", options->joint, 1,
           "How many joint components; auto (the default): cross-validation chooses this and the next two together");
  AddCount(command, "--ortho", options->xOrthogonal, 0, "How many components that the variables have alone");
  AddCount(command, "--y-ortho", options->yOrthogonal, 0, "How many components that the responses have alone");
  command.AddFlag("--fill", options->settings.isFilled, "Fill gaps first, those of each block by PLS on the other");
  options->common.AddTo(command, options->settings);
  command.Footer(
      std::string(kRegressionColumns) +
      R"(The responses are the second block, and both blocks have to be complete: see --fill. Either block predicts the
other: voran predict --predict y|x.

Examples:
  voran o2pls oliveoil.csv --class class --y yellow..syrup
  voran o2pls oliveoil.csv --class class --y yellow..syrup --components 1 --ortho 1 --y-ortho 0 --save oil.model
  voran o2pls metabolites.csv --class class_hours --y '#3..#7' --fill --out results)");
  command.OnRun([options] { RunO2pls(*options); });
}

}  // namespace tool
