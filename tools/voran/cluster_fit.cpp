#include "tools/voran/cluster_fit.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "tools/voran/cluster_disk.h"
#include "tools/voran/cluster_gaps.h"
#include "tools/voran/component_loop.h"
#include "tools/voran/failure.h"
#include "tools/voran/library_error.h"
#include "tools/voran/memory_size.h"
#include "tools/voran/number_text.h"
#include "tools/voran/tree_cache.h"
#include "voran/cluster/cluster_allocation_error.h"
#include "voran/cluster/dendrogram.h"
#include "voran/cluster/distance_and_index.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

using DendroGram::DendroGramNode;
using DendroGram::DendroGramPointer;
using DendroGram::DistanceType;

std::unique_ptr<DendroGram::ClusterDistanceCalculator> MakeCalculator(const ClusterSettings& settings) {
  if (settings.ward) return std::make_unique<DendroGram::WardDistanceCalculator>(*settings.ward);
  return std::make_unique<DendroGram::SingleLinkageDistanceCalculator>();
}

void RefuseSize(const std::string& source, std::size_t rows, const ClusterSettings& settings) {
  if (rows > kMostClusterRows) {
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: {} are more than can be clustered, which are {}; leave out rows", source,
                              Counted(rows, "row"), kMostClusterRows));
  }
  if (settings.ward && rows > kMostRowsInMemory) {
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: {} are more than Ward's method can cluster, which are {}; leave out rows, or "
                              "take --method single",
                              source, Counted(rows, "row"), kMostRowsInMemory));
  }
  if (settings.groups && *settings.groups > rows) {
    throw WrongUse(fmt::format("--groups: {} of {} cannot make {}", Counted(rows, "row"), source,
                               Counted(*settings.groups, "group")));
  }
}

std::uint64_t DistanceBytes(std::size_t rows) {
  return static_cast<std::uint64_t>(rows) * (rows - 1) / 2 * sizeof(DendroGram::DistanceAndIndex);
}

Failure NoMemory(const std::string& source, std::size_t rows, const ClusterSettings& settings) {
  return Failure(ExitCode::kComputationFailed,
                 fmt::format("{}: the distances of {} take {}, and there may be {}; --memory allows more{}", source,
                             Counted(rows, "row"), MemorySizeText(DistanceBytes(rows)),
                             MemorySizeText(DendroGram::DistanceMemory::GetBudget()),
                             settings.ward ? ", and --method single can keep them on disk" : ""));
}

std::string FullDiskHint() {
  return fmt::format("; is the disk full where temporary files are kept ({})?", TemporaryFolder());
}

Failure FailureWhy(const NCError& error, const Table& table, const NCDataMatrix<float>& x, NCProgress* progress) {
  const std::string gaps = GapHint(x, table.rowIds);
  if (!gaps.empty()) {
    Failure failure = FailureOf(error, table.source, progress, gaps);
    return failure.Code() == ExitCode::kCancelled ? failure : BadData(failure.what());
  }
  if (const auto hint = TemporaryFileHint(error)) return FailureOf(error, table.source, progress, *hint);
  const std::size_t rows = table.rowIds.size();
  const bool isOnDisk = rows > kMostRowsInMemory || DistanceBytes(rows) > DendroGram::DistanceMemory::GetBudget();
  return FailureOf(error, table.source, progress, isOnDisk ? FullDiskHint() : "");
}

DendroGramPointer GrowTree(const Table& table, const NCDataMatrix<float>& x, const ClusterSettings& settings,
                           TreeCache* cache, NCProgress* progress) {
  RaiseFileLimit();
  try {
    const auto calculator = MakeCalculator(settings);
    return DendroGramPointer(DendroGram::GetDendroGram(x, *calculator, progress, cache));
  } catch (const DendroGram::ClusterAllocationError&) {
    throw NoMemory(table.source, table.rowIds.size(), settings);
  } catch (const NCError& error) {
    throw FailureWhy(error, table, x, progress);
  } catch (const NCInternalError&) {  // of a range on disk that is shorter than what was written
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: distances kept on disk cannot be read again{}", table.source, FullDiskHint()));
  }
}

std::size_t CountLowMerges(const std::vector<ClusterMerge>& merges, std::size_t rows) {
  const auto isLower = [&](const ClusterMerge& merge, std::size_t child) {
    return child > rows && merge.height < merges[child - rows - 1].height;
  };
  return static_cast<std::size_t>(std::count_if(merges.begin(), merges.end(), [&](const ClusterMerge& merge) {
    return isLower(merge, merge.first) || isLower(merge, merge.second);
  }));
}

ClusterGroups Cut(DendroGramNode& tree, const ClusterSettings& settings, double unit) {
  if (settings.groups) return CutIntoGroups(tree, *settings.groups);
  return CutAtHeight(tree, AsHeight(*settings.cut, unit));
}

}  // namespace

ClusterResult FitCluster(Table& table, const ClusterSettings& settings, TreeCache* cache, NCProgress* progress) {
  const std::size_t rows = table.rowIds.size();
  RefuseSize(table.source, rows, settings);
  ClusterResult result;
  result.gaps = CountGaps(table.x, table.rowIds);
  PreparedTable prepared = PrepareVariables(table, settings.transforms, settings.scaling);
  const double unit = prepared.columns.unit;
  result.unit = settings.ward == DistanceType::kErrorSumOfSquares ? unit * unit : unit;
  result.columns = std::move(prepared.columns);

  result.tree = GrowTree(table, prepared.x, settings, cache, progress);
  if (cache != nullptr && !IsTreeOf(*result.tree, rows)) {
    cache->Forget();
    result.tree = GrowTree(table, prepared.x, settings, cache, progress);
  }
  if (cache != nullptr) {
    result.isFromCache = cache->HadTree();
    for (std::string& note : cache->Notes(*result.tree)) result.notes.push_back(std::move(note));
  }
  result.merges = MergesOf(*result.tree, result.unit);
  result.lowMerges = CountLowMerges(result.merges, rows);
  result.order = RowOrder(*result.tree);
  if (settings.cut || settings.groups) result.groups = Cut(*result.tree, settings, result.unit);
  for (const TextColumn& column : table.classes) result.classes.push_back(ReadClasses(column));
  return result;
}

std::string WardTypeName(DistanceType type) {
  return type == DistanceType::kSquareRoot ? "root" : "ss";
}

std::string MethodText(const ClusterSettings& settings) {
  return settings.ward ? fmt::format("Ward's method ({})", WardTypeName(*settings.ward)) : "single linkage";
}

std::string HeightText(const ClusterSettings& settings) {
  if (!settings.ward) return "distance of the nearest rows";
  return settings.ward == DistanceType::kSquareRoot ? "square root of the growth of the sum of squares within groups"
                                                    : "growth of the sum of squares within groups";
}

}  // namespace tool
