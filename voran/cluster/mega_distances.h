#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "voran/cluster/distance_and_index.h"
#include "voran/cluster/pair_sort.h"
#include "voran/export.h"
#include "voran/platform/progress.h"

inline namespace voran {
namespace DendroGram {

/// The distances of all pairs of rows, where memory cannot hold them: on disk, to be taken from the smallest up.
///
/// Three stages, on the caller's thread. AppendDistance writes all to one file. SplitDistances cuts it into files by
/// ranges of distance. Top and Pop bring one file after another into memory, those of the smallest distances first; a
/// file that is not reached is never read again. At most 24 bytes a pair are on disk, while the file is being cut; in
/// memory there is one buffer. The order of equal distances depends on the size of this buffer.
///
/// A file whose distances are all equal cannot be cut. If it does not fit into the buffer it is cut again and again,
/// until a break: give a progress.
///
/// The files vanish with the object, and with the process however that ends. Writing is not tested: a full disk is told
/// when what was written is read. A break throws NCError. After any error the object can only be destroyed.
class VORAN_EXPORT MegaDistances {
 public:
  class TempFile;
  using Segments = std::vector<std::shared_ptr<TempFile>>;

  /// Takes the memory of `buffer`, which has at least one element; that many fit into the buffer. `totalDistances` is
  /// what will be appended, and only shown. `progress`, if not null, must outlive the object. Throws NCError if a
  /// temporary file cannot be opened.
  MegaDistances(detail::PairList& buffer, NCProgress* progress, std::uint64_t totalDistances);
  MegaDistances(const MegaDistances&) = delete;
  MegaDistances& operator=(const MegaDistances&) = delete;
  ~MegaDistances();

  void AppendDistance(const DistanceAndIndex& entry) {
    loaded_.push_back(entry);
    if (loaded_.size() == blockSize_) WriteBlock();
  }

  /// Once, after the last AppendDistance. The limits are chosen as for distances that are the magnitudes of normal
  /// numbers around 0, and so that a file fills about half of the buffer.
  void SplitDistances();

  /// The smallest pair that is left. Throws NCInternalError if there is none, or if its file cannot be read.
  const DistanceAndIndex& Top();
  /// As above; `isUseless` tells pairs that the caller would only pop, and that need not be sorted for that.
  template <class IsUseless>
  const DistanceAndIndex& Top(IsUseless isUseless) {
    if (loaded_.empty()) LoadNextSegment();
    sort_.ReachLast(loaded_, isUseless);
    return loaded_.back();
  }
  void Pop();

  /// The number of pairs that are left.
  std::uint64_t Size() const;
  /// The files that are left, from the largest distances to the smallest.
  const Segments& GetSegments() const { return segments_; }

 private:
  void WriteBlock();
  void LoadNextSegment();
  void RepartitionLast();
  static Segments Partition(TempFile& source, std::vector<float> limits, detail::PairList& buffer, std::uint64_t total,
                            NCProgress* progress);

  std::uint64_t ramCapacity_;  ///< how many pairs fit into the buffer
  std::size_t blockSize_;      ///< how many are written together
  double sumOfSquares_ = 0.0;
  Segments segments_;
  detail::PairList loaded_;  ///< the buffer; by descending distance, as far as sort_ has come
  detail::PairSort sort_;
  NCProgress* progress_;
  std::uint64_t totalDistances_;
};

/// Pairs on disk, as they stand in memory. The system's temporary directory shows nothing of it where an open file can
/// lose its name.
class VORAN_EXPORT MegaDistances::TempFile {
 public:
  /// Throws NCError if it cannot be opened.
  TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile();

  /// At the end, before anything has been read. Whether it succeeds is seen by reading.
  void Write(const DistanceAndIndex* entries, std::size_t n);
  /// To the start, for reading, whatever has happened before.
  void Rewind();
  /// Whether so many could be read.
  bool Read(DistanceAndIndex* entries, std::size_t n);

  float upperLimit = 0.0F;  ///< above all distances; in the file of the largest ones, the largest
  float lowerLimit = 0.0F;  ///< no distance is below
  std::uint64_t entryCount = 0;

 private:
  std::string pathName_;
  std::fstream stream_;
};

}  // namespace DendroGram
}  // namespace voran
