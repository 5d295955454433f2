#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/mega_distances.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {
namespace {

/// The shares of reading and of writing in the time that a piece of the file takes.
constexpr double kReading = 0.3;
constexpr double kWriting = 0.7;

/// How far a file is: `fraction` of a piece of n entries, behind `done` ones. Without a total it is not shown.
struct PartitionProgress {
  NCProgress* progress;
  std::uint64_t total;

  void Report(float fraction, std::uint64_t done, std::size_t n) const {
    detail::ThrowOnBreak(progress);
    if (total == 0) return;
    detail::SetValue(progress,
                     (fraction * static_cast<float>(n) + static_cast<float>(done)) / static_cast<float>(total));
  }
};

/// Moves the entries at or above `limit` to the front, and returns where the others begin. From both ends inward, two
/// misplaced entries are swapped: part of the results, as equal distances are not told apart later.
DistanceAndIndex* MoveToFront(DistanceAndIndex* first, DistanceAndIndex* last, float limit) {
  for (;;) {
    while (first != last && first->distance >= limit) ++first;
    if (first == last) return first;
    do {
      --last;
      if (first == last) return first;
    } while (!(last->distance >= limit));
    std::swap(*first++, *last);
  }
}

MegaDistances::Segments MakeFiles(const std::vector<float>& limits, float lowest) {
  MegaDistances::Segments files;
  for (std::size_t i = 0; i < limits.size(); ++i) {
    files.push_back(std::make_shared<MegaDistances::TempFile>());
    files.back()->upperLimit = limits[i];
    files.back()->lowerLimit = i + 1 < limits.size() ? limits[i + 1] : lowest;
  }
  return files;
}

/// Deals the entries out, which come to stand in another order.
void Deal(detail::PairList& entries, MegaDistances::TempFile& source, const MegaDistances::Segments& files,
          std::uint64_t done, const PartitionProgress& progress) {
  DistanceAndIndex* first = entries.data();
  DistanceAndIndex* const last = first + entries.size();
  for (std::size_t i = 0; i < files.size(); ++i) {
    DistanceAndIndex* const end = i + 1 < files.size() ? MoveToFront(first, last, files[i]->lowerLimit) : last;
    source.Release(static_cast<std::size_t>(end - first));
    files[i]->Write(first, static_cast<std::size_t>(end - first), progress.progress);
    first = end;
    const float part = static_cast<float>(i + 1);
    const double fraction = kReading + kWriting * static_cast<double>(part) / static_cast<double>(files.size());
    progress.Report(static_cast<float>(fraction), done, entries.size());
  }
}

}  // namespace

MegaDistances::Segments MegaDistances::Partition(TempFile& source, std::vector<float> limits, detail::PairList& buffer,
                                                 std::uint64_t total, NCProgress* progress) {
  std::sort(limits.begin(), limits.end(), std::greater<>());
  Segments files = MakeFiles(limits, source.lowerLimit);
  const PartitionProgress report{progress, total};
  source.Rewind();
  for (std::uint64_t done = 0; done < source.entryCount; done += buffer.size()) {
    buffer.resize(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.capacity(), source.entryCount - done)));
    const bool isRead = source.Read(buffer.data(), buffer.size(), progress);
    report.Report(static_cast<float>(kReading), done, buffer.size());
    if (!isRead) {
      throw NCError(ExceptionMessage::translate("Error when reading from temporary file."), NCError::Level::kGeneral);
    }
    Deal(buffer, source, files, done, report);
  }
  std::erase_if(files, [](const auto& file) { return file->entryCount == 0; });
  buffer.clear();
  return files;
}

}  // namespace DendroGram
}  // namespace voran
