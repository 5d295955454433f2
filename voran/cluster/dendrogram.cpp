#include "voran/cluster/dendrogram.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "voran/cluster/cluster_progress.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/md5.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace DendroGram {

using Matrix = NCDataMatrix<float>;
using Row = NCDataVector<float>;

namespace {

constexpr int kMergesPerReport = 10;

[[noreturn]] void Fail(const char* text) {
  throw NCError(ExceptionMessage::translate(text), NCError::Level::kGeneral);
}

int CommonColumns(const Row& a, const Row& b) {
  int common = 0;
  for (int k = 1; k <= a.Size(); ++k) {
    if (a[k] != voran::detail::kMissing<float> && b[k] != voran::detail::kMissing<float>) ++common;
  }
  return common;
}

/// The count of common columns is deliberately not set back from one partner of a row to the next: once it suffices, it
/// suffices for all later ones. So only the first partner that has enough gaps to be asked decides.
void CheckPartners(const Matrix& data, int i, int minCommon) {
  const int fewestMissing = data.SizeColumns() - data[i].GetNumMisVal() - minCommon;
  for (int j = i + 1; j <= data.SizeRows(); ++j) {
    if (data[j].GetNumMisVal() < fewestMissing) continue;
    if (CommonColumns(data[i], data[j]) >= minCommon) return;
    Fail(
        "Cluster analysis can not be performed on data where two rows have less than the square root of the number of "
        "columns common non-missing elements.");
  }
}

void CheckDataForClustering(const Matrix& data) {
  const auto columns = static_cast<float>(data.SizeColumns());
  for (int i = 1; i <= data.SizeRows(); ++i) {
    if (static_cast<float>(data[i].GetNumMisVal()) / columns > 0.5F) {
      Fail("Cluster analysis can not be performed on data that has rows with more than 50% missing values");
    }
  }
  const auto root = static_cast<float>(std::sqrt(static_cast<double>(data.SizeColumns())));
  const auto minCommon = static_cast<int>(std::floor(static_cast<double>(root) + 0.5));
  for (int i = 1; i <= data.SizeRows(); ++i) CheckPartners(data, i, minCommon);
}

/// Null if there is none, or if it is damaged.
DendroGramPointer LoadCachedDendroGram(VrStreamSource& source, const std::string& name) {
  const std::unique_ptr<std::istream> stream = source.OpenInput(name);
  if (!stream) return nullptr;
  DendroGramPointer root(new DendroGramNode());
  if (!ReadStreamable(*stream, *root)) root.reset();
  return root;
}

void StoreDendroGram(VrStreamSource& source, const std::string& name, const DendroGramNode& root) {
  if (const std::unique_ptr<std::ostream> stream = source.OpenOutput(name)) WriteStreamable(*stream, root);
}

/// The trees that are still to be joined, which are freed with it.
class Forest {
 public:
  Forest() = default;
  ~Forest() {
    for (DendroGramNode* const root : roots_) root->Destroy();
  }

  Forest(const Forest&) = delete;
  Forest& operator=(const Forest&) = delete;

  std::size_t Size() const { return roots_.size(); }

  void AddLeafs(int rows) {
    roots_.reserve(static_cast<std::size_t>(rows));
    for (int i = 1; i <= rows; ++i) roots_.push_back(new DendroGramNode(i));
  }

  /// Joins two trees, by their positions: the new one stands at the lower, and those behind the higher move down.
  void Join(float height, int first, int second) {
    const auto [i, j] = std::minmax(first, second);
    assert(0 <= i && i < j && static_cast<std::size_t>(j) < roots_.size());
    DendroGramNode*& left = roots_[static_cast<std::size_t>(i)];
    left = new DendroGramNode(height, left, roots_[static_cast<std::size_t>(j)]);
    roots_.erase(roots_.begin() + j);
  }

  DendroGramPointer TakeRoot() {
    DendroGramPointer root(roots_.back());
    roots_.pop_back();
    return root;
  }

 private:
  std::vector<DendroGramNode*> roots_;
};

void ReportMerge(NCProgress& progress, int merges) {
  if (merges % kMergesPerReport == 0) progress.SetValue(static_cast<float>(merges));
  detail::ThrowOnBreak(&progress);
}

DendroGramPointer MergeAll(Forest& forest, ClusterDistanceCalculator& calculator, NCProgress* progress) {
  for (int merges = 1; forest.Size() > 1; ++merges) {
    int first = 0;
    int second = 0;
    const float distance = calculator.FindNearestAndMerge(first, second);
    forest.Join(distance, first, second);
    if (progress != nullptr) ReportMerge(*progress, merges);
  }
  return forest.TakeRoot();
}

DendroGramPointer Cluster(const Matrix& data, ClusterDistanceCalculator& calculator, NCProgress* progress) {
  if (progress != nullptr) progress->SetRange(0.0F, 10.0F);
  std::optional<detail::SubRange> stretch(std::in_place, progress, 0.0F, 5.0F);
  if (data.GetNumMisVal() > 0) CheckDataForClustering(data);
  Forest forest;
  forest.AddLeafs(data.SizeRows());
  calculator.Init(data, progress);
  stretch.reset();
  stretch.emplace(progress, 5.0F, 10.0F);
  detail::SetText(progress, voran::detail::TranslateText("Merging clusters"));
  if (progress != nullptr) {
    progress->SetRange(0.0F, static_cast<float>(forest.Size()));
  }
  DendroGramPointer root = MergeAll(forest, calculator, progress);
  root->SortBySize();
  return root;
}

}  // namespace

DendroGramNode* GetDendroGram(const Matrix& data, ClusterDistanceCalculator& calculator, NCProgress* progress,
                              VrStreamSource* streamSource) {
  if (data.SizeRows() == 0) return nullptr;
  if (streamSource == nullptr) return Cluster(data, calculator, progress).release();
  const std::string name = CachedDendroGramName(data, calculator);
  if (DendroGramPointer cached = LoadCachedDendroGram(*streamSource, name)) return cached.release();
  DendroGramPointer root = Cluster(data, calculator, progress);
  StoreDendroGram(*streamSource, name, *root);
  return root.release();
}

std::string CachedDendroGramName(const Matrix& data, ClusterDistanceCalculator& calculator) {
  MD5 digest;
  const std::size_t rowBytes = sizeof(float) * static_cast<std::size_t>(data.SizeColumns());
  for (int i = 1; i <= data.SizeRows(); ++i) digest.Update(data[i].begin(), rowBytes);
  digest.Update(calculator.GetId());
  digest.Finalize();
  return "Dendro_" + std::to_string(data.SizeRows()) + "_" + std::to_string(data.SizeColumns()) + "_" +
         digest.GetDigest();
}

}  // namespace DendroGram
}  // namespace voran
