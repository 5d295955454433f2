#include "voran/cluster/mega_distances.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/format.hpp>

#include "voran/cluster/cluster_progress.h"
#include "voran/platform/nc_error.h"
#include "voran/statistics/distributions.h"

inline namespace voran {
namespace DendroGram {
namespace {

constexpr std::uint64_t kEntriesPerReport = 10000;
constexpr double kDegreesOfFreedom = 10000.0;  // as good as a normal distribution

std::string Translated(const char* text) {
  return voran::detail::TranslateText(text, "Cluster analysis");
}

/// So many that an average file fills half of the buffer.
int PlannedSegments(std::uint64_t entries, std::uint64_t ramCapacity) {
  const double planned =
      static_cast<double>(static_cast<float>(entries)) * 2.0 / static_cast<double>(static_cast<float>(ramCapacity)) +
      1.0;
  return static_cast<int>(std::min<double>(planned, std::numeric_limits<int>::max()));
}

}  // namespace

MegaDistances::MegaDistances(detail::PairList& buffer, NCProgress* progress, std::uint64_t totalDistances)
    : ramCapacity_(buffer.size()),
      blockSize_(std::min<std::size_t>(kEntriesPerReport, buffer.size())),
      segments_{std::make_shared<TempFile>()},
      progress_(progress),
      totalDistances_(totalDistances) {
  loaded_.swap(buffer);
  loaded_.clear();
  if (progress_ == nullptr) return;
  progress_->SetRange(0.0F, 1.0F);
  const std::string calculating = voran::detail::TranslateText("Calculating and saving %1% distances");
  progress_->SetText(boost::str(boost::format(calculating) % totalDistances_).c_str());
}

MegaDistances::~MegaDistances() = default;

/// The buffer, which is free as yet, gathers what is written together. A block takes far less than a millisecond, so a
/// break is seen soon enough.
void MegaDistances::WriteBlock() {
  TempFile& file = *segments_.front();
  double sum = sumOfSquares_;
  float largest = file.upperLimit;
  for (const DistanceAndIndex& entry : loaded_) {
    const float square = entry.distance * entry.distance;
    sum += static_cast<double>(square);
    largest = entry.distance > largest ? entry.distance : largest;
  }
  sumOfSquares_ = sum;
  file.upperLimit = largest;
  const std::uint64_t reports = file.entryCount / kEntriesPerReport;
  file.Write(loaded_.data(), loaded_.size(), progress_);
  loaded_.clear();
  if (const std::uint64_t now = file.entryCount / kEntriesPerReport; now != reports) {
    detail::SetValue(progress_, static_cast<float>(now * kEntriesPerReport) / static_cast<float>(totalDistances_));
  }
  detail::ThrowOnBreak(progress_);
}

void MegaDistances::SplitDistances() {
  WriteBlock();
  const std::shared_ptr<TempFile> all = segments_.front();
  const int numSegments = PlannedSegments(all->entryCount, ramCapacity_);
  const auto rms = static_cast<float>(std::sqrt(sumOfSquares_ / static_cast<double>(all->entryCount)));
  detail::SetText(progress_, Translated("Splitting distances"));
  if (progress_ != nullptr) progress_->SetRange(0.0F, 1.0F);
  std::vector<float> limits;
  for (int i = 1; i < numSegments; ++i) {
    const double t = Sta::GetStudentsT(static_cast<double>(i) / numSegments, kDegreesOfFreedom, false);
    const auto limit = static_cast<float>(t * static_cast<double>(rms));
    if (!(limit < all->upperLimit)) break;  // nor is a NaN a limit
    limits.push_back(limit);
  }
  limits.push_back(all->upperLimit);
  segments_ = Partition(*all, std::move(limits), loaded_, totalDistances_, progress_);
}

const DistanceAndIndex& MegaDistances::Top() {
  if (loaded_.empty()) LoadNextSegment();
  sort_.ReachLast(loaded_);
  return loaded_.back();
}

void MegaDistances::Pop() {
  Top();
  loaded_.pop_back();
}

std::uint64_t MegaDistances::Size() const {
  std::uint64_t size = loaded_.size();
  for (const auto& file : segments_) size += file->entryCount;
  return size;
}

void MegaDistances::LoadNextSegment() {
  if (segments_.empty()) throw NCInternalError("MegaDistances::LoadNextSegment");
  while (segments_.back()->entryCount > ramCapacity_) RepartitionLast();
  detail::SetText(progress_, Translated("Loading distances"));
  TempFile& file = *segments_.back();
  loaded_.resize(static_cast<std::size_t>(file.entryCount));
  file.Rewind();
  if (!file.Read(loaded_.data(), loaded_.size(), progress_)) throw NCInternalError("MegaDistances::LoadNextSegment");
  segments_.pop_back();
  detail::SetText(progress_, Translated("Sorting"));
  sort_ = detail::PairSort(loaded_.size());  // a break does not reach it
  sort_.ReachLast(loaded_);
  detail::SetText(progress_, Translated("Merging clusters"));
}

/// Into ranges of the same width, of which there are enough for the buffer if the distances are spread evenly.
void MegaDistances::RepartitionLast() {
  const std::shared_ptr<TempFile> file = segments_.back();
  const std::uint64_t parts = file->entryCount / ramCapacity_ + 2;
  detail::SetText(progress_, Translated("Re-partitioning"));
  const float lower = file->lowerLimit;
  const float upper = file->upperLimit;
  std::vector<float> limits;
  for (std::uint64_t i = 1; i < parts; ++i) {
    limits.push_back(static_cast<float>(i) * (upper - lower) / static_cast<float>(parts) + lower);
  }
  limits.push_back(upper);
  const Segments files = Partition(*file, std::move(limits), loaded_, 0, progress_);
  segments_.pop_back();
  segments_.insert(segments_.end(), files.begin(), files.end());
}

}  // namespace DendroGram
}  // namespace voran
