// Short lives of cluster trees: rows of a made matrix are clustered, in memory or on disk, and the tree is reordered,
// split, copied, listed, drawn, stored and read.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "fuzz/round_trip.h"
#include "fuzz/tree_uses.h"
#include "voran/cluster/dendrogram.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/cluster/ward_distance_calculator.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/stream_source.h"

namespace {

using DendroGram::ClusterDistanceCalculator;
using DendroGram::DendroGramNode;
using DendroGram::DendroGramPointer;
using DendroGram::DistanceMemory;
using DendroGram::DistanceType;
using DendroGram::GetDendroGram;
using DendroGram::SingleLinkageDistanceCalculator;
using DendroGram::WardDistanceCalculator;
using fuzz::Cells;
using fuzz::Expect;
using fuzz::Matrix;
using fuzz::Vector;

enum class Method { kSingleLinkage, kWard, kWardRoot };

std::unique_ptr<ClusterDistanceCalculator> MakeCalculator(Method method) {
  switch (method) {
    case Method::kSingleLinkage:
      return std::make_unique<SingleLinkageDistanceCalculator>();
    case Method::kWard:
      return std::make_unique<WardDistanceCalculator>(DistanceType::kErrorSumOfSquares);
    default:
      return std::make_unique<WardDistanceCalculator>(DistanceType::kSquareRoot);
  }
}

// A host's store, whose bytes a fuzzer can get at.
class Store : public VrStreamSource {
 public:
  std::unique_ptr<std::istream> OpenInput(const std::string& name) override {
    const auto found = streams_.find(name);
    return found == streams_.end() ? nullptr : std::make_unique<std::istringstream>(found->second);
  }
  std::unique_ptr<std::ostream> OpenOutput(const std::string& name) override {
    return std::make_unique<Output>(streams_[name]);
  }

  void Damage(FuzzedDataProvider& bytes) {
    for (auto& [name, content] : streams_) {
      if (content.empty()) continue;
      const auto at = bytes.ConsumeIntegralInRange<std::size_t>(0, content.size() - 1);
      content[at] = static_cast<char>(bytes.ConsumeIntegral<std::uint8_t>());
    }
  }

 private:
  class Output : public std::ostringstream {
   public:
    explicit Output(std::string& place) : place_(place) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() override { place_ = str(); }

   private:
    std::string& place_;
  };

  std::map<std::string, std::string> streams_;
};

// A limit to the memory for distances, as long as it lives.
class Budget {
 public:
  explicit Budget(std::uint64_t bytes) { DistanceMemory::SetBudget(bytes); }
  ~Budget() { DistanceMemory::SetBudget(DistanceMemory::kUnlimited); }
  Budget(const Budget&) = delete;
  Budget& operator=(const Budget&) = delete;
};

struct MergeData {
  explicit MergeData(const DendroGramNode& root) {
    DendroGram::CreateMergeData(root, heights, firstIds, secondIds, newIds, &firstItems, &secondItems);
  }

  Vector heights;
  NCIntegralVector<unsigned long, 0> firstIds;
  NCIntegralVector<unsigned long, 0> secondIds;
  NCIntegralVector<unsigned long, 0> newIds;
  std::vector<std::vector<unsigned long>> firstItems;
  std::vector<std::vector<unsigned long>> secondItems;
};

void ExpectWhole(const DendroGramNode& root, int rows) {
  Expect(root.SizeLeafs() == rows, "a tree has a leaf for each row");
  std::list<int> leafs;
  root.GetLeafs(leafs);
  leafs.sort();
  std::list<int> all(static_cast<std::size_t>(rows));
  std::iota(all.begin(), all.end(), 1);
  Expect(leafs == all, "each row is in one leaf");
  const MergeData merges(root);
  Expect(merges.heights.Size() == rows - 1, "there is a merge less than rows");
  for (int p = 1; p < rows; ++p) {
    const auto id = static_cast<unsigned long>(rows) + static_cast<unsigned long>(p);
    Expect(merges.newIds[p] == id, "new clusters are numbered behind the rows");
    Expect(merges.firstIds[p] < id && merges.secondIds[p] < id, "what is joined is there already");
  }
}

class TreeLife {
 public:
  explicit TreeLife(FuzzedDataProvider& bytes)
      : bytes_(bytes),
        surroundings_(bytes),
        kind_(fuzz::MakeCellKind(bytes)),
        method_(static_cast<Method>(bytes.ConsumeIntegralInRange<int>(0, 2))),
        data_(fuzz::MakeMatrix(bytes, fuzz::MakeRows(bytes), fuzz::MakeColumns(bytes), kind_)) {}

  void Live() {
    const fuzz::Untouched input(data_);
    try {
      if (const DendroGramPointer root = ClusterRows()) {
        ExpectWhole(*root, data_.SizeRows());
        for (int left = bytes_.ConsumeIntegralInRange<int>(0, 6); left > 0; --left) Reorder(*root);
        ExpectWhole(*root, data_.SizeRows());
        fuzz::UseTree(bytes_, *root);
        Change(*root);
        fuzz::UseTree(bytes_, *root);
      } else {
        Expect(data_.SizeRows() == 0, "rows make a tree");
      }
    } catch (const NCError&) {
    }
    input.Check();
  }

 private:
  // Rows without a common column have none.
  bool AreDistancesNumbers() const { return kind_ == Cells::kPlain && data_.SizeColumns() > 0; }

  DendroGramPointer ClusterRows() {
    switch (bytes_.ConsumeIntegralInRange<int>(0, 3)) {
      case 0:
        return ClusterOnDisk();
      case 1:
        return ClusterFromStore();
      default:
        NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
        return Cluster(&progress, nullptr);
    }
  }

  DendroGramPointer Cluster(NCProgress* progress, VrStreamSource* source) {
    return DendroGramPointer(GetDendroGram(data_, *MakeCalculator(method_), progress, source));
  }

  // Equal distances that do not fit into the buffer are cut again and again, until a break.
  DendroGramPointer ClusterOnDisk() {
    constexpr int kEnough = 2000;
    NCProgress::SetDisplay(std::make_shared<fuzz::CancelAtPoll>(bytes_.ConsumeIntegralInRange<int>(0, kEnough)));
    NCProgress progress("", 0.0f, 1.0f, false, false, true, "");
    const DendroGramPointer onDisk = [&] {
      const Budget budget(bytes_.ConsumeIntegralInRange<std::uint64_t>(0, 600));
      return Cluster(&progress, nullptr);
    }();
    NCProgress::SetDisplay(nullptr);
    DendroGramPointer inMemory = Cluster(nullptr, nullptr);
    if (onDisk && method_ == Method::kSingleLinkage && AreDistancesNumbers()) {
      Expect(MergeData(*onDisk).heights == MergeData(*inMemory).heights,
             "the disk gives the heights that memory gives");
    }
    return inMemory;
  }

  DendroGramPointer ClusterFromStore() {
    Store store;
    const DendroGramPointer made = Cluster(nullptr, &store);
    DendroGramPointer stored = Cluster(nullptr, &store);
    if (!made) return stored;
    if (AreDistancesNumbers()) Expect(*made == *stored, "a tree that was kept is the one that was made");
    store.Damage(bytes_);
    const DendroGramPointer damaged = Cluster(nullptr, &store);
    Expect(damaged != nullptr, "a damaged tree is made anew");
    return stored;
  }

  void Reorder(DendroGramNode& root) {
    DendroGramNode& node = fuzz::PickNode(bytes_, root);
    switch (bytes_.ConsumeIntegralInRange<int>(0, 4)) {
      case 0:
        node.SortBySize();
        break;
      case 1:
        node.SortByHeight();
        break;
      case 2:
        node.SortByIndex();
        break;
      case 3:
        Mirror(node);
        break;
      default:
        node.SetModel(bytes_.ConsumeIntegral<int>());
    }
  }

  void Mirror(DendroGramNode& node) const {
    const DendroGramPointer before(new DendroGramNode(node));
    node.MirrorImage();
    const DendroGramPointer mirrored(new DendroGramNode(node));
    mirrored->MirrorImage();
    if (AreDistancesNumbers()) Expect(*mirrored == *before, "the mirror image of the mirror image is the tree");
  }

  // Afterwards the leaves are no longer the rows.
  void Change(DendroGramNode& root) {
    DendroGramNode& node = fuzz::PickNode(bytes_, root);
    const DendroGramPointer other(new DendroGramNode(std::list<int>{3, 1, 2}));
    switch (bytes_.ConsumeIntegralInRange<int>(0, 3)) {
      case 0:
        root.Normalise();
        break;
      case 1:
        other->Split({2}, fuzz::MakeCell(bytes_, kind_));
        node = *other;
        break;
      case 2:
        node.swap(*other);
        break;
      default:
        node = fuzz::PickNode(bytes_, root);
    }
  }

  FuzzedDataProvider& bytes_;
  fuzz::Surroundings surroundings_;
  Cells kind_;
  Method method_;
  Matrix data_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  TreeLife(bytes).Live();
  return 0;
}
