#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "voran/cluster/cluster_progress.h"
#include "voran/cluster/kernels/pair_compare.h"
#include "voran/cluster/mega_distances.h"
#include "voran/cluster/misplaced_pairs.h"
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

/// A piece of the source, each entry with the number of the file that it belongs to. A byte for each is all that is
/// read again and again, once for every file, and not the entries.
class Piece {
 public:
  static constexpr std::size_t kMostLimits = 255;

  /// File k takes what is at or above lowerLimits[k], and not above that of the file before.
  Piece(DistanceAndIndex* first, DistanceAndIndex* last, const std::vector<float>& lowerLimits)
      : first_(first), last_(last), numbers_(static_cast<std::size_t>(last - first)) {
    kernels_.countLimitsAbove(first_, numbers_.size(), lowerLimits.data(), lowerLimits.size(), numbers_.data());
  }

  /// Moves the entries of a file to the front of those that are left, and returns where the others begin. Files are
  /// taken in order. From both ends inward, two misplaced entries are swapped: part of the results, as equal distances
  /// are not told apart later.
  DistanceAndIndex* Take(std::uint8_t file) {
    DistanceAndIndex* end = last_;
    detail::MisplacedPairs backward;  // of the front
    detail::MisplacedPairs forward;   // of the back
    while (end - first_ >= 2 * kChunk) {
      if (backward.IsEmpty()) {
        backward = {first_, ~kernels_.findByte(NumberOf(first_), file)};
        first_ += kChunk;
      }
      if (forward.IsEmpty()) {
        end -= kChunk;
        forward = {end, kernels_.findByte(NumberOf(end), file)};
      }
      for (; !backward.IsEmpty() && !forward.IsEmpty(); backward.DropLowest(), forward.DropHighest()) {
        Swap(backward.Lowest(), forward.Highest());
      }
    }
    if (!backward.IsEmpty()) first_ = &backward.Lowest();
    if (!forward.IsEmpty()) end = &forward.Highest() + 1;
    TakeOneByOne(file, end);
    return first_;
  }

 private:
  static constexpr std::ptrdiff_t kChunk = detail::PairCompareKernels::kTogether;

  std::uint8_t* NumberOf(const DistanceAndIndex* entry) { return numbers_.data() + numbers_.size() - (last_ - entry); }
  void Swap(DistanceAndIndex& a, DistanceAndIndex& b) {
    std::swap(a, b);
    std::swap(*NumberOf(&a), *NumberOf(&b));
  }
  void TakeOneByOne(std::uint8_t file, DistanceAndIndex* end) {
    for (;;) {
      while (first_ != end && *NumberOf(first_) == file) ++first_;
      if (first_ == end) return;
      do {
        --end;
        if (first_ == end) return;
      } while (*NumberOf(end) != file);
      Swap(*first_++, *end);
    }
  }

  const detail::PairCompareKernels& kernels_ = detail::PairCompareKernels::Current();
  DistanceAndIndex* first_;
  DistanceAndIndex* last_;
  std::vector<std::uint8_t> numbers_;
};

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
  const auto write = [&](std::size_t i, DistanceAndIndex* end) {
    source.Release(static_cast<std::size_t>(end - first));
    files[i]->Write(first, static_cast<std::size_t>(end - first), progress.progress);
    first = end;
    const float part = static_cast<float>(i + 1);
    const double fraction = kReading + kWriting * static_cast<double>(part) / static_cast<double>(files.size());
    progress.Report(static_cast<float>(fraction), done, entries.size());
  };
  const std::size_t lastFile = files.size() - 1;
  for (std::size_t begin = 0; begin < lastFile; begin += Piece::kMostLimits) {
    const std::size_t end = std::min(lastFile, begin + Piece::kMostLimits);
    std::vector<float> lowerLimits;
    for (std::size_t i = begin; i < end; ++i) lowerLimits.push_back(files[i]->lowerLimit);
    Piece piece(first, last, lowerLimits);
    for (std::size_t i = begin; i < end; ++i) write(i, piece.Take(static_cast<std::uint8_t>(i - begin)));
  }
  write(lastFile, last);
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
