#include "voran/cluster/mega_distances.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "tests/cluster/plain_cluster.h"
#include "tests/platform/limited.h"
#include "voran/cluster/disk_fallback.h"
#include "voran/cluster/distance_memory.h"
#include "voran/cluster/single_linkage_distance_calculator.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/temporary_files.h"
#include "voran/platform/user_comm.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using namespace voran::DendroGram;
using plain::Pairs;

const char* const kAborted = "Cluster analysis aborted.";
const char* const kCannotRead = "Error when reading from temporary file.";

std::size_t OpenFiles() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// Says what it is told to, and keeps what it hears.
class Listener : public UserComm {
 public:
  Listener(std::vector<std::string>& heard, int answer) : heard_(heard), answer_(answer) {}
  void NotifyUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int number) override {
    heard_.push_back(caption.GetText() + "/" + std::to_string(number) + "/" + text.GetText());
  }
  int AskUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int declineCode) override {
    heard_.push_back(caption.GetText() + "?" + std::to_string(declineCode) + "?" + text.GetText());
    return answer_;
  }

 private:
  std::vector<std::string>& heard_;
  int answer_;
};

// NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
/// Every test has a temporary directory of its own, in which no file may be left, nor one be open.
class OnDisk : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = VrGetTempFileName(nullptr, "voran-test-", "");
    fs::create_directory(folder_);
    SetTemporaryDirectory(folder_);
    openFiles_ = OpenFiles();
    UserComm::SetUserComm(std::make_unique<Listener>(heard_, 1));
  }
  void TearDown() override {
    progress_.reset();
    ExpectNothingLeft();
    DistanceMemory::SetBudget(DistanceMemory::kUnlimited);
    NCProgress::SetDisplay(nullptr);
    UserComm::SetUserComm(nullptr);
    if (before_.empty()) {
      ::unsetenv("TMPDIR");
    } else {
      SetTemporaryDirectory(before_);
    }
    fs::remove_all(folder_);
  }

  static void SetTemporaryDirectory(const std::string& path) { ::setenv("TMPDIR", path.c_str(), 1); }

  void ExpectNothingLeft() const {
    EXPECT_TRUE(fs::is_empty(folder_));
    EXPECT_EQ(OpenFiles(), openFiles_);
  }

  std::shared_ptr<plain::Watcher> Watch(int cancelAt = 0) {
    auto watcher = std::make_shared<plain::Watcher>(cancelAt);
    NCProgress::SetDisplay(watcher);
    progress_ = std::make_unique<NCProgress>("", 0.0F, 1.0F, false, false, true, "");
    return watcher;
  }

  std::string folder_;
  std::vector<std::string> heard_;
  std::unique_ptr<NCProgress> progress_;

 private:
  std::size_t openFiles_ = 0;
  std::string before_ = std::getenv("TMPDIR") != nullptr ? std::getenv("TMPDIR") : "";
};

// NOLINTEND(concurrency-mt-unsafe)

/// Pairs of these distances, each with positions of its own.
Pairs WithPositions(const std::vector<float>& distances) {
  Pairs pairs;
  for (const float d : distances) {
    pairs.push_back({d, static_cast<int>(pairs.size()) + 1, static_cast<int>(pairs.size()) + 2});
  }
  return pairs;
}

std::unique_ptr<MegaDistances> Written(const Pairs& pairs, std::size_t capacity, NCProgress* progress = nullptr) {
  DendroGram::detail::PairList buffer(capacity);
  auto store = std::make_unique<MegaDistances>(buffer, progress, pairs.size());
  for (const DistanceAndIndex& pair : pairs) store->AppendDistance(pair);
  return store;
}

std::unique_ptr<MegaDistances> Split(const Pairs& pairs, std::size_t capacity, NCProgress* progress = nullptr) {
  auto store = Written(pairs, capacity, progress);
  store->SplitDistances();
  return store;
}

auto Sorted(const Pairs& pairs) {
  auto sorted = plain::Told(pairs);
  std::sort(sorted.begin(), sorted.end());
  return sorted;
}

/// What taking everything gives, and that it comes in order, and is counted.
Pairs TakeAll(MegaDistances& store) {
  Pairs taken;
  for (std::uint64_t left = store.Size(); left > 0; --left) {
    EXPECT_EQ(store.Size(), left);
    taken.push_back(store.Top());
    store.Pop();
    EXPECT_LE(taken[taken.size() < 2 ? 0 : taken.size() - 2].distance, taken.back().distance);
  }
  return taken;
}

std::string ErrorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const NCInternalError& error) {
    return std::string("internal: ") + error.what();
  } catch (const NCError& error) {
    EXPECT_EQ(error.GetLevel(), NCError::Level::kGeneral);
    return error.what();
  }
  return "";
}

std::vector<float> Distances(const std::string& kind, std::size_t n) {
  std::mt19937 generator(7);
  std::normal_distribution<float> normal;
  std::vector<float> distances(n);
  for (float& d : distances) {
    d = std::abs(normal(generator));
    if (kind == "far") d += 100.0F;  // all in one of the first ranges
    if (kind == "tied") d = std::floor(d * 64.0F);
    if (kind == "skew") d = std::exp(4.0F * d);  // most in the last range
  }
  return distances;
}

using Store = OnDisk;

TEST_F(Store, GivesEveryPairOnceTheSmallestFirst) {
  for (const char* const kind : {"half-normal", "far", "tied", "skew"}) {
    for (const std::size_t capacity : {60U, 100U, 999U, 1000U, 5000U}) {
      SCOPED_TRACE(std::string(kind) + " through " + std::to_string(capacity));
      const Pairs pairs = WithPositions(Distances(kind, 1000));
      const auto store = Split(pairs, capacity);
      EXPECT_EQ(store->Size(), pairs.size());
      EXPECT_EQ(Sorted(TakeAll(*store)), Sorted(pairs));
      EXPECT_EQ(ErrorOf([&] { store->Top(); }), "internal: MegaDistances::LoadNextSegment");
    }
  }
  const Pairs few = WithPositions({3.0F, 1.0F, 2.0F, 5.0F, 4.0F});
  EXPECT_EQ(Sorted(TakeAll(*Split(few, 1))), Sorted(few));
}

TEST_F(Store, KeepsDistancesThatAreNoNumbers) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  const auto store = Split(WithPositions({3.0F, kNaN, 1.0F, 2.0F, kNaN, 5.0F, 4.0F, 6.0F}), 3);
  std::vector<bool> isTaken(9);
  for (; store->Size() > 0; store->Pop()) isTaken[static_cast<std::size_t>(store->Top().first)] = true;
  EXPECT_EQ(std::count(isTaken.begin(), isTaken.end(), true), 8);
}

/// The magnitude that a share of all normal numbers does not exceed.
double HalfNormalQuantile(double share) {
  double lo = 0.0;
  double hi = 10.0;
  while (hi - lo > 1e-9) (std::erf((lo + hi) / 2.0 / std::sqrt(2.0)) > share ? hi : lo) = (lo + hi) / 2.0;
  return lo;
}

TEST_F(Store, IsCutAtQuantilesOfANormalDistribution) {
  constexpr double kTolerance = 1e-3;  // Student's t with 10000 degrees of freedom, to four decimals
  const std::vector<float> distances = Distances("half-normal", 2000);
  double squares = 0.0;
  for (const float d : distances) squares += static_cast<double>(d) * static_cast<double>(d);
  const double rms = std::sqrt(squares / 2000.0);
  const auto store = Split(WithPositions(distances), 250);
  const MegaDistances::Segments& files = store->GetSegments();
  ASSERT_EQ(files.size(), 17u);  // twice 2000 / 250, and one
  EXPECT_EQ(files.front()->upperLimit, *std::max_element(distances.begin(), distances.end()));
  EXPECT_EQ(files.back()->lowerLimit, 0.0F);
  for (std::size_t i = 1; i < files.size(); ++i) {
    const MegaDistances::TempFile& file = *files[files.size() - i];
    EXPECT_NEAR(static_cast<double>(file.upperLimit) / rms, HalfNormalQuantile(static_cast<double>(i) / 17.0),
                kTolerance);
    EXPECT_EQ(file.upperLimit, files[files.size() - i - 1]->lowerLimit);
    const auto count = std::count_if(distances.begin(), distances.end(),
                                     [&](float d) { return file.lowerLimit <= d && d < file.upperLimit; });
    EXPECT_EQ(file.entryCount, static_cast<std::uint64_t>(count));
  }
}

TEST_F(Store, HasNoFileForAnEmptyRange) {
  // Some of the 20 limits lie above the largest distance, and count for nothing; below the others there is nothing.
  const auto store = Split(WithPositions(std::vector<float>(100, 4.0F)), 10);
  ASSERT_EQ(store->GetSegments().size(), 1u);
  EXPECT_EQ(store->GetSegments()[0]->entryCount, 100u);
  EXPECT_EQ(store->GetSegments()[0]->upperLimit, 4.0F);
}

TEST_F(Store, EqualDistancesBeyondTheBufferEndByABreak) {
  const auto watcher = Watch(5000);
  const auto store = Split(WithPositions(std::vector<float>(20, 4.0F)), 19, progress_.get());
  EXPECT_EQ(ErrorOf([&] { store->Top(); }), kAborted);
  EXPECT_EQ(watcher->polls, 5000);
  EXPECT_EQ(watcher->texts.back(), "Re-partitioning");
}

TEST_F(Store, TellsWhatItDoesAndHowFarItIs) {
  const auto watcher = Watch();
  std::vector<float> distances(20000, 1.0F);
  std::fill_n(distances.begin(), 10000, 3.0F);
  distances[0] = 2.9F;
  const auto store = Split(WithPositions(distances), 20000, progress_.get());
  EXPECT_THAT(std::exchange(watcher->texts, {}),
              ElementsAre("", "Calculating and saving 20000 distances", "Splitting distances"));
  // Half of all written, all; the share of reading, and one file after the other (of three, whose limits are at 0.43
  // and 0.97 of the root mean square of 2.24).
  const std::vector<double> expected = {0.0, 0.5, 1.0, 0.0, 0.3, 0.3 + 0.7 / 3, 0.3 + 1.4 / 3, 1.0};
  EXPECT_THAT(watcher->positions, testing::Pointwise(testing::DoubleNear(1e-6), expected));
  store->Top();
  EXPECT_THAT(watcher->texts, ElementsAre("Loading distances", "Sorting", "Merging clusters"));
}

TEST_F(Store, TellsOfAFullDiskWhenItReads) {
  const Pairs pairs = WithPositions(Distances("far", 1000));
  {
    const Limited disk(RLIMIT_FSIZE, 11999);
    EXPECT_EQ(ErrorOf([&] { Split(pairs, 100); }), kCannotRead);
  }
  ExpectNothingLeft();
  const auto cutTwice = Written(pairs, 500);  // all lie in one of the first ranges, which has to be cut again
  const auto cutOnce = Written(WithPositions(std::vector<float>(83, 1.0F)), 83);
  const Limited disk(RLIMIT_FSIZE, 500);
  cutTwice->SplitDistances();
  EXPECT_EQ(ErrorOf([&] { cutTwice->Top(); }), kCannotRead);
  cutOnce->SplitDistances();
  EXPECT_EQ(ErrorOf([&] { cutOnce->Top(); }), "internal: MegaDistances::LoadNextSegment");
}

/// The merges of single linkage, with this many bytes for the distances.
std::vector<plain::Merge> Merges(const plain::Rows& rows, std::uint64_t budget) {
  DistanceMemory::SetBudget(budget);
  SingleLinkageDistanceCalculator calculator;
  return plain::MergesOf(calculator, rows);
}

using Fallback = OnDisk;

TEST_F(Fallback, GivesTheTreeOfMemory) {
  const struct {
    std::size_t rows, columns;
    double gapShare;
    std::uint64_t budget;
  } cases[] = {{2, 3, 0.0, 0}, {61, 4, 0.0, 600}, {61, 4, 0.1, 21959}, {200, 1, 0.0, 9600}, {200, 20, 0.2, 40000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.rows) + " rows in " + std::to_string(c.budget));
    const plain::Rows rows = plain::MadeRows(c.rows, c.columns, 0, c.gapShare, 5);
    EXPECT_EQ(Merges(rows, c.budget), plain::SingleLinkage(rows));
    EXPECT_EQ(heard_.size(), 1u);  // it has been on disk
    heard_.clear();
    ExpectNothingLeft();
  }
}

TEST_F(Fallback, AsksWhetherTheDiskSuffices) {
  using DendroGram::detail::DiskSpaceQuestion;
  EXPECT_FALSE(DiskSpaceQuestion(1001, "/tmp", 24 * 500500));
  const struct {
    int rows;
    std::uint64_t freeBytes;
    const char* needed;
    const char* available;
  } cases[] = {{1001, 24 * 500500 - 1, "11.456 Megabytes", "11.456 Megabytes"},
               // The unit goes no further than the smaller of the two.
               {1001, 0, "12012000.000 bytes", "0.000 bytes"},
               {1001, 1024, "12012000.000 bytes", "1024.000 bytes"},
               {1001, 1536, "11730.469 Kilobytes", "1.500 Kilobytes"},
               {46341, 1ULL << 33, "24.000 Gigabytes", "8.000 Gigabytes"},
               {46342, 1ULL << 52, "402653184.000 Terabytes", "4096.000 Terabytes"}};  // 24 times 2^64, about
  for (const auto& c : cases) {
    EXPECT_EQ(DiskSpaceQuestion(c.rows, "/tmp", c.freeBytes)->GetText(),
              "When doing cluster analysis, a total of N*(N-1)/2 initial distances are calculated. In this case, "
              "enough RAM to hold these distances could not be allocated (N=" +
                  std::to_string(c.rows) + "). VORAN can use your disk to store these numbers but it needs " +
                  c.needed +
                  " of free space on the disk where VORAN stores temporary files ('/tmp'). The free space on the disk "
                  "is currently " +
                  c.available +
                  ". Please make sure that there is enough free space on the disk.\nDo you want to "
                  "continue?");
  }
}

TEST_F(Fallback, GoesNoFurtherThanTheUserWants) {
  UserComm::SetUserComm(std::make_unique<Listener>(heard_, UserComm::kDeclined));
  SingleLinkageDistanceCalculator calculator;
  EXPECT_EQ(ErrorOf([&] { calculator.Init(NCDataMatrix<float>(46342, 1, 0.0F), nullptr); }), kAborted);
  ASSERT_EQ(heard_.size(), 1u);
  EXPECT_THAT(heard_[0], StartsWith("Cluster Analysis?3?When doing cluster analysis"));
}

TEST_F(Fallback, TellsTheUserAndAsksNothingIfTheDiskDoesNotSayWhatIsFree) {
  SetTemporaryDirectory(folder_ + "/missing");
  const std::string error = ErrorOf([&] { Merges(plain::MadeRows(5, 2, 0, 0.0, 1), 100); });
  EXPECT_THAT(error, StartsWith("The temporary file " + folder_ + "/missing/vor-"));
  ASSERT_EQ(heard_.size(), 1u);
  EXPECT_EQ(heard_[0],
            "Cluster Analysis/854226/When doing cluster analysis, a total of N*(N-1)/2 initial distances are "
            "calculated. In this case, enough RAM to hold these distances could not be allocated (N=5). The disk ('" +
                folder_ +
                "/missing') will be used to temporarily store the calculated distances. The calculations may be "
                "time-consuming but you can increase the speed by using a fast disk for the temporary storage.");
  SetTemporaryDirectory(folder_);
}

TEST_F(Fallback, HalvesTheBufferUntilItFitsTheBudget) {
  constexpr std::uint64_t kWrapped = std::numeric_limits<std::uint64_t>::max() - 98302;  // of 65535 rows
  const std::vector<std::array<std::uint64_t, 3>> cases = {{45, 45 * 12, 45}, {45, 45 * 12 - 1, 22},
                                                           {45, 11, 1},       {45, 22 * 12 - 1, 11},
                                                           {1, 0, 1},         {kWrapped, 1 << 20, 65535}};
  for (const auto& [pairs, budget, size] : cases) {
    DistanceMemory::SetBudget(budget);
    EXPECT_EQ(DendroGram::detail::AllocateBuffer(pairs).size(), size) << pairs << " in " << budget;
  }
}

}  // namespace
