// Every result of the library has the same bits at any number of threads and on every set of vector instructions.

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/same_bits/digest.h"
#include "tests/same_bits/works.h"
#include "voran/containers/simd_target.h"
#include "voran/platform/threading_control.h"

namespace same_bits {
namespace {

using NCMultiThreading::ThreadingControl;

std::vector<Work> AllWorks() {
  std::vector<Work> all;
  for (const auto& kind : {ContainerWorks, ModelWorks, OrthogonalWorks, ClusterWorks, StatisticsWorks, SignalWorks}) {
    for (Work& work : kind()) all.push_back(std::move(work));
  }
  return all;
}

std::vector<std::uint64_t> ChecksumsOf(const Work& work, const std::string& target, int threads) {
  SimdTarget::Set(target);
  ThreadingControl::SetNumberOfProcessors(threads);
  ThreadingControl::SetThreadingIsOn(threads > 1);
  Digest digest;
  work.run(digest);
  return digest.Checksums();
}

std::vector<std::uint64_t> PlainChecksumsOf(const Work& work) {
  return ChecksumsOf(work, SimdTarget::GetAvailable().back(), 1);
}

class SameBits : public ::testing::TestWithParam<Work> {
 protected:
  void TearDown() override {
    SimdTarget::Set(targetBefore_);
    ThreadingControl::Reset();
  }

 private:
  const std::string targetBefore_ = SimdTarget::GetName();
};

TEST_P(SameBits, AtAnyNumberOfThreadsAndOnEveryTarget) {
  const std::vector<std::uint64_t> plain = PlainChecksumsOf(GetParam());
  for (const std::string& target : SimdTarget::GetAvailable()) {
    for (const int threads : {1, 2, 3, 8}) {
      const std::vector<std::uint64_t> found = ChecksumsOf(GetParam(), target, threads);
      ASSERT_EQ(found.size(), plain.size()) << GetParam().name << ", " << target << ", " << threads << " threads";
      const auto differs = std::mismatch(plain.begin(), plain.end(), found.begin()).first;
      EXPECT_EQ(differs, plain.end()) << GetParam().name << ", " << target << ", " << threads << " threads: result "
                                      << differs - plain.begin() + 1 << " of " << plain.size();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Works, SameBits, ::testing::ValuesIn(AllWorks()),
                         [](const ::testing::TestParamInfo<Work>& work) { return work.param.name; });

// What the test above rests on: a digest sees what there is to be seen.

TEST(SameBitsDigest, WorksDifferFromOneAnother) {
  std::map<std::vector<std::uint64_t>, std::string> seen;
  for (const Work& work : AllWorks()) {
    const std::vector<std::uint64_t> checksums = PlainChecksumsOf(work);
    EXPECT_FALSE(checksums.empty()) << work.name;
    const auto [place, isNew] = seen.emplace(checksums, work.name);
    EXPECT_TRUE(isNew) << work.name << " has the results of " << place->second;
  }
  ThreadingControl::Reset();
  SimdTarget::Set(SimdTarget::GetAvailable().front());
}

TEST(SameBitsDigest, ABitASignAndACountOfGapsAreSeen) {
  const auto of = [](const auto& result) {
    Digest digest;
    digest(result);
    return digest.Checksums();
  };
  NCDataMatrix<float> m(3, 40, 0.0f);
  const auto before = of(m);
  const NCDataMatrix<float> copy = m;
  EXPECT_EQ(of(copy), before);
  for (const float nearZero : {-0.0f, 1e-45f}) {
    m(3, 40, nearZero);
    EXPECT_NE(of(m), before) << nearZero;
  }
  NCDataVector<double> v({1.0, 2.0});
  const auto ofTwo = of(v);
  v.SetNumMisVal(1);
  EXPECT_NE(of(v), ofTwo);
  EXPECT_NE(of(std::vector<std::string>{"ab", "c"}), of(std::vector<std::string>{"a", "bc"}));
}

}  // namespace
}  // namespace same_bits
