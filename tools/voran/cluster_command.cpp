#include "tools/voran/cluster_command.h"

#include <cmath>
#include <map>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/cluster_disk.h"
#include "tools/voran/cluster_fit.h"
#include "tools/voran/cluster_report.h"
#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/dendrogram_picture.h"
#include "tools/voran/failure.h"
#include "tools/voran/memory_size.h"
#include "tools/voran/number_text.h"
#include "tools/voran/transform_option.h"
#include "tools/voran/tree_cache.h"
#include "voran/cluster/distance_memory.h"
#include "voran/platform/physical_memory.h"
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
  std::optional<int> groups;
  std::string cache;
};

// Three quarters of the machine's memory leave room for the table and for whatever else runs.
void SetMemory(const std::optional<std::uint64_t>& asked) {
  DistanceMemory::SetBudget(asked.value_or(voran::detail::GetPhysicalMemory() / 4 * 3));
}

ClusterSettings SettingsOf(const ClusterOptions& options) {
  ClusterSettings settings = options.settings;
  if (options.groups) settings.groups = static_cast<std::size_t>(*options.groups);
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
  UserComm::SetUserComm(std::make_unique<ClusterUser>(table.source, table.rowIds.size(), options.run.output.quiet));
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

void AddMethod(Command& command, ClusterOptions& options) {
  command.Add("--method", options.method, "ward: joins what keeps groups compact; single: the nearest rows")
      .OneOf({"ward", "single"})
      .ShowDefault();
  const auto readType = [&options](const std::string& name) {
    options.wardType = name == "root" ? DistanceType::kSquareRoot : DistanceType::kErrorSumOfSquares;
  };
  command
      .AddRead("--ward-type", readType,
               "The heights of Ward's method: by how much the sum of squares within groups grows, or the root of that")
      .OneOf({"ss", "root"})
      .Default("root");
}

void AddCut(Command& command, ClusterOptions& options) {
  const Option cut = command.Add("--cut", options.settings.cut, "Make groups of what is joined at this height or below")
                         .Type("HEIGHT");
  command.Add("--groups", options.groups, "Make so many groups")
      .Type("K")
      .Between(1, static_cast<int>(kMostClusterRows))
      .Excludes(cut);
}

void AddResources(Command& command, ClusterOptions& options) {
  command
      .AddRead(
          "--memory", [&options](const std::string& text) { options.memory = ReadMemorySize("--memory", text); },
          "Memory that the distances may take (256M, 1.5GiB); without it, three quarters of the machine's. Where it "
          "does not suffice, single linkage keeps them in temporary files")
      .Type("SIZE");
  command.Add("--cache", options.cache, "Keep the tree in this folder, and take it from there the next time")
      .Type("DIR")
      .NotEmpty();
}

}  // namespace

void AddClusterCommand(CommandLine& program) {
  Command command = program.AddCommand("cluster", "Hierarchical clustering of the rows, and its tree");
  auto options = std::make_shared<ClusterOptions>();
  AddMethod(command, *options);
  AddScaling(command, options->settings.scaling);
  options->transform.AddTo(command);
  AddCut(command, *options);
  AddResources(command, *options);
  options->run.AddSvgTo(command, "Draw the tree to this file, as SVG");
  options->run.AddTo(command);
  command.Footer(
      R"(The summary tells from which height up to which a cut makes 2, 3, ... groups: a wide range speaks for that number,
and - says that no height makes the groups that --groups makes.

Examples:
  voran cluster usarrests.csv --svg tree.svg
  voran cluster wine.csv --class class --groups 3 --svg tree.svg --out results
  voran cluster spectra.csv --method single --scaling center --cut 0.5)");
  command.OnRun([options] { RunCluster(*options); });
}

}  // namespace tool
