#include "tools/voran/cluster_command.h"

#include <cmath>
#include <map>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/cluster_fit.h"
#include "tools/voran/cluster_report.h"
#include "tools/voran/command_run.h"
#include "tools/voran/dendrogram_picture.h"
#include "tools/voran/failure.h"
#include "tools/voran/memory_size.h"
#include "tools/voran/number_text.h"
#include "tools/voran/terminal_user.h"
#include "tools/voran/transform_option.h"
#include "tools/voran/tree_cache.h"
#include "voran/cluster/distance_memory.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

using DendroGram::DistanceMemory;
using DendroGram::DistanceType;

struct ClusterOptions {
  RunOptions run;
  TransformOption transform;
  ClusterSettings settings;
  std::string method = "ward";
  std::optional<DistanceType> wardType;
  std::optional<std::uint64_t> memory;
  std::string cache;
};

// Three quarters of the machine's memory leave room for the table and for whatever else runs.
void SetMemory(const std::optional<std::uint64_t>& asked) {
  const std::uint64_t machine = MachineMemory();
  if (asked) {
    DistanceMemory::SetBudget(*asked);
  } else if (machine > 0) {
    DistanceMemory::SetBudget(machine / 4 * 3);
  }
}

ClusterSettings SettingsOf(const ClusterOptions& options) {
  ClusterSettings settings = options.settings;
  if (options.method == "single") {
    if (options.wardType) throw WrongUse("--ward-type goes with --method ward alone");
    settings.ward.reset();
  } else if (options.wardType) {
    settings.ward = options.wardType;
  }
  if (settings.cut && !(*settings.cut >= 0.0 && std::isfinite(*settings.cut))) {
    throw WrongUse("--cut: a height is 0 or above");
  }
  return settings;
}

void RunCluster(const ClusterOptions& options) {
  ClusterSettings settings = SettingsOf(options);
  CommandRun run(options.run);
  std::optional<TreeCache> cache;
  if (!options.cache.empty()) cache.emplace(options.cache);
  SetMemory(options.memory);
  Table table = run.ReadTable();
  if (options.transform.IsGiven()) {
    settings.transforms = options.transform.Resolve(table.variables, table.variables.size(), table.columns);
  }
  UserComm::SetUserComm(std::make_unique<TerminalUser>(table.source, options.run.output.quiet));
  const ClusterResult result = [&] {
    NCProgress progress("cluster", 0.0f, 1.0f, false, false, true, "");
    return FitCluster(table, settings, cache ? &*cache : nullptr, &progress);
  }();
  run.Tell(table.source, result.notes);
  const ClusterReport report = {table, settings, result};
  run.Finish(
      ClusterText(report), ClusterJson(report), [&](OutputDirectory& folder) { WriteClusterTables(report, folder); },
      [&](std::ostream& out) { out << DendrogramPicture(report); });
}

void AddMethod(CLI::App& command, ClusterOptions& options) {
  command.add_option("--method", options.method, "ward: joins what keeps groups compact; single: the nearest rows")
      ->check(CLI::IsMember({"ward", "single"}).description(""))
      ->type_name("ward|single")
      ->capture_default_str();
  command
      .add_option_function<std::string>(
          "--ward-type",
          [&options](const std::string& name) {
            options.wardType = name == "root" ? DistanceType::kSquareRoot : DistanceType::kErrorSumOfSquares;
          },
          "The heights of Ward's method: by how much the sum of squares within groups grows, or the root of that")
      ->check(CLI::IsMember({"ss", "root"}).description(""))
      ->type_name("ss|root")
      ->default_str("root");
}

void AddCut(CLI::App& command, ClusterSettings& settings) {
  CLI::Option* const cut =
      command.add_option("--cut", settings.cut, "Make groups of what is joined at this height or below")
          ->type_name("HEIGHT");
  command.add_option("--groups", settings.groups, "Make so many groups")
      ->type_name("K")
      ->check(CLI::Range(std::size_t{1}, kMostClusterRows))
      ->excludes(cut);
}

void AddResources(CLI::App& command, ClusterOptions& options) {
  command
      .add_option_function<std::string>(
          "--memory", [&options](const std::string& text) { options.memory = ReadMemorySize("--memory", text); },
          "Memory that the distances may take (256M, 1.5GiB); without it, three quarters of the machine's. Where it "
          "does not suffice, single linkage keeps them in temporary files")
      ->type_name("SIZE");
  command.add_option("--cache", options.cache, "Keep the tree in this folder, and take it from there the next time")
      ->type_name("DIR")
      ->check([](const std::string& name) { return name.empty() ? "the name is empty" : ""; }, "");
}

}  // namespace

void AddClusterCommand(CLI::App& program) {
  CLI::App* command = program.add_subcommand("cluster", "Hierarchical clustering of the rows, and its tree");
  auto options = std::make_shared<ClusterOptions>();
  AddMethod(*command, *options);
  AddScaling(*command, options->settings.scaling);
  options->transform.AddTo(*command);
  AddCut(*command, options->settings);
  AddResources(*command, *options);
  options->run.AddSvgTo(*command, "Draw the tree to this file, as SVG");
  options->run.AddTo(*command);
  command->footer(
      R"(The summary tells between which heights the tree has 2, 3, ... groups: a wide range speaks for that number.

Examples:
  voran cluster usarrests.csv --svg tree.svg
  voran cluster wine.csv --class class --groups 3 --svg tree.svg --out results
  voran cluster spectra.csv --method single --scaling center --cut 0.5)");
  command->callback([options] { RunCluster(*options); });
}

}  // namespace tool
