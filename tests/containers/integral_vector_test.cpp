#include "voran/containers/integral_vector.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <deque>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using IntVector = NCIntegralVector<int, -99>;
using UnsignedVector = NCIntegralVector<unsigned long, 0>;
using FlagVector = NCIntegralVector<bool, 0>;

template <typename Vector>
Vector Make(std::initializer_list<typename Vector::value_type> values) {
  return Vector(values.begin(), static_cast<int>(values.size()));
}

/// A mutator and what it does to a standard container. (A deque, since std::vector<bool> is no container.)
template <typename Vector>
struct Mutator {
  using T = typename Vector::value_type;
  std::string name;
  void (*mutate)(Vector&);
  void (*model)(std::deque<T>&);
};

template <typename Vector>
class IntegralVector : public ::testing::Test {
 protected:
  using T = typename Vector::value_type;
  using Model = std::deque<T>;

  static constexpr T kA = true;
  static constexpr T kB = static_cast<T>(7);
  static constexpr T kMissing = Vector::kMissing;

  /// Six elements, unsorted, with two missing; the capacity is exactly six.
  static Vector Sample() { return Make<Vector>({kB, kMissing, kA, kB, kMissing, static_cast<T>(3)}); }
  static Model Contents(const Vector& v) { return Model(v.begin(), v.end()); }

  static void SortModel(Model& model, bool ascending, bool missingLast) {
    auto last = model.end();
    if (missingLast) last = std::stable_partition(model.begin(), last, [](T x) { return x != kMissing; });
    std::sort(model.begin(), last);
    if (!ascending) std::reverse(model.begin(), last);
  }

  static std::vector<Mutator<Vector>> Mutators() {
    using V = Vector;
    using M = Model;
    static const V three = Make<V>({kA, kA, kB});
    static const V none;
    return {
        {"set", [](V& v) { v(2, kA); }, [](M& m) { m[1] = kA; }},
        {"through the pointer", [](V& v) { v.UnlinkedPtr()[1] = kA; }, [](M& m) { m[0] = kA; }},
        {"add nothing", [](V& v) { v += 5; }, [](M&) {}},
        {"assign", [](V& v) { v = three; }, [](M& m) { m = Contents(three); }},
        {"assign nothing", [](V& v) { v = none; }, [](M& m) { m.clear(); }},
        {"set size within", [](V& v) { v.SetSize(4); }, [](M& m) { m.resize(4); }},
        {"grow", [](V& v) { v.resize(9, kB); }, [](M& m) { m.resize(9, kB); }},
        {"shrink", [](V& v) { v.resize(2, kB); }, [](M& m) { m.resize(2); }},
        {"set values", [](V& v) { v.SetNumValues(3, kB); }, [](M& m) { m.assign(3, kB); }},
        {"reserve", [](V& v) { v.Reserve(50); }, [](M&) {}},
        {"clear", [](V& v) { v.Clear(); }, [](M& m) { m.clear(); }},
        {"concat", [](V& v) { v.Concat(three); }, [](M& m) { m.insert(m.end(), three.begin(), three.end()); }},
        {"concat itself", [](V& v) { v.Concat(v); },
         [](M& m) {
           const M copy = m;
           m.insert(m.end(), copy.begin(), copy.end());
         }},
        {"copy shorter content", [](V& v) { v.CopyContent(three); }, [](M& m) { m = Contents(three); }},
        {"copy longer content", [](V& v) { v.CopyContent(V(9, kA)); }, [](M& m) { m.assign(9, kA); }},
        {"copy own content", [](V& v) { v.CopyContent(v); }, [](M&) {}},
        {"insert in front", [](V& v) { v.InsertValues(1, 2, kA); }, [](M& m) { m.insert(m.begin(), 2, kA); }},
        {"insert far behind", [](V& v) { v.InsertValues(99, 2, kA); }, [](M& m) { m.insert(m.end(), 2, kA); }},
        {"insert a vector", [](V& v) { v.InsertValues(3, three); },
         [](M& m) { m.insert(m.begin() + 2, three.begin(), three.end()); }},
        {"insert no vector", [](V& v) { v.InsertValues(3, none); }, [](M&) {}},
        {"insert itself", [](V& v) { v.InsertValues(3, v); },
         [](M& m) {
           const M copy = m;
           m.insert(m.begin() + 2, copy.begin(), copy.end());
         }},
        {"remove values", [](V& v) { v.RemoveValues(2, 3); }, [](M& m) { m.erase(m.begin() + 1, m.begin() + 4); }},
        {"remove the tail", [](V& v) { v.RemoveValues(5, 2); }, [](M& m) { m.resize(4); }},
        {"remove positions",
         [](V& v) {
           v.Remove(Make<IntVector>({6, 1, 1, 99, 0, -99}));
         },
         [](M& m) {
           m.pop_back();
           m.pop_front();
         }},
        {"reduce",
         [](V& v) {
           v.Reduce(Make<IntVector>({6, 1, 1}));
         },
         [](M& m) {
           m = {m[5], m[0], m[0]};
         }},
        {"push back", [](V& v) { v.push_back(kB); }, [](M& m) { m.push_back(kB); }},
        {"insert one", [](V& v) { EXPECT_EQ(*v.insert(v.begin() + 1, kA), kA); },
         [](M& m) { m.insert(m.begin() + 1, kA); }},
        {"insert a range", [](V& v) { v.insert(v.end(), three.begin(), three.end()); },
         [](M& m) { m.insert(m.end(), three.begin(), three.end()); }},
        {"erase one",
         [](V& v) {
           const auto next = v.erase(v.begin() + 1);
           EXPECT_EQ(next, v.begin() + 1);
         },
         [](M& m) { m.erase(m.begin() + 1); }},
        {"erase a range", [](V& v) { v.erase(v.begin() + 1, v.end()); }, [](M& m) { m.resize(1); }},
        {"set all", [](V& v) { v.SetAllValues(kB); }, [](M& m) { m.assign(m.size(), kB); }},
        {"set range", [](V& v) { v.SetRange(5, 2, kB); }, [](M& m) { m[4] = m[5] = kB; }},
        {"index", [](V& v) { v.GenerateIndex(0, kB); },
         [](M& m) {
           for (std::size_t i = 0; i < m.size(); ++i) m[i] = static_cast<T>(i * static_cast<std::size_t>(kB));
         }},
        {"sort up", [](V& v) { v.Sort(true, false); }, [](M& m) { SortModel(m, true, false); }},
        {"sort down", [](V& v) { v.Sort(false, false); }, [](M& m) { SortModel(m, false, false); }},
        {"sort up, missing last", [](V& v) { v.Sort(true, true); }, [](M& m) { SortModel(m, true, true); }},
        {"sort down, missing last", [](V& v) { v.Sort(false, true); }, [](M& m) { SortModel(m, false, true); }},
        {"sort with index",
         [](V& v) {
           std::vector<int> index;
           v.SortWithOriginalIndex(true, index);
         },
         [](M& m) { SortModel(m, true, false); }},
    };
  }
};

using Instantiations = ::testing::Types<IntVector, UnsignedVector, FlagVector>;
TYPED_TEST_SUITE(IntegralVector, Instantiations);

TYPED_TEST(IntegralVector, MutatorsActOnTheirOwnVectorOnly) {
  for (const auto& [name, mutate, model] : this->Mutators()) {
    SCOPED_TRACE(name);
    const auto before = this->Contents(this->Sample());
    auto after = before;
    model(after);

    TypeParam alone = this->Sample();
    mutate(alone);
    EXPECT_EQ(this->Contents(alone), after);

    TypeParam original = this->Sample();
    TypeParam copy = original;
    ASSERT_EQ(copy.GetPtr(), original.GetPtr());
    mutate(copy);
    EXPECT_EQ(this->Contents(copy), after);
    EXPECT_EQ(this->Contents(original), before);

    copy = original;
    mutate(original);
    EXPECT_EQ(this->Contents(original), after);
    EXPECT_EQ(this->Contents(copy), before);

    mutate(alone = this->Sample());
    if (alone.Size() >= 6) {  // once more, now that there may be spare room
      mutate(alone);
      model(after);
      EXPECT_EQ(this->Contents(alone), after);
    }
  }
}

TYPED_TEST(IntegralVector, AFailedAllocationLeavesTheVectorAsItWas) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "the thread sanitizer's allocator cannot be replaced";
  for (const auto& [name, mutate, model] : this->Mutators()) {
    SCOPED_TRACE(name);
    const TypeParam shared = this->Sample();
    bool done = false;
    for (int k = 1; !done; ++k) {
      TypeParam v = shared;
      try {
        const FailingAllocation failing(k);
        mutate(v);
        done = true;
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(v, shared) << "allocation " << k;
      }
    }
  }
}

TYPED_TEST(IntegralVector, AnEmptyVectorTakesEveryKindOfElements) {
  using Value = typename TypeParam::value_type;
  void (*const fillers[])(TypeParam&) = {
      [](TypeParam& v) { v.push_back(Value(1)); },
      [](TypeParam& v) { v.InsertValues(7, 1, Value(1)); },
      [](TypeParam& v) { v.resize(1, Value(1)); },
      [](TypeParam& v) { v.insert(v.end(), Value(1)); },
      [](TypeParam& v) { v.Concat(TypeParam(1, Value(1))); },
      [](TypeParam& v) {
        v.SetSize(1);
        v(1, Value(1));
      },
  };
  for (const auto& fill : fillers) {
    TypeParam never;
    TypeParam cleared = this->Sample();
    cleared.Clear();
    TypeParam sized(0);
    for (TypeParam* v : {&never, &cleared, &sized}) {
      EXPECT_EQ(v->begin(), v->end());
      v->Sort(true, true);
      v->SetAllValues(Value(1));
      fill(*v);
      EXPECT_THAT(*v, ElementsAre(Value(1)));
    }
  }
}

TYPED_TEST(IntegralVector, GrowsAcrossEveryCapacityStep) {
  using Value = typename TypeParam::value_type;
  TypeParam v;
  typename TestFixture::Model model;
  for (int i = 0; i < 9500; ++i) {
    v.push_back(static_cast<Value>(i % 3));
    model.push_back(static_cast<Value>(i % 3));
  }
  EXPECT_EQ(this->Contents(v), model);
}

TEST(IntegralVectorValues, UnsignedValuesAre32BitHoweverTheyAreStored) {
  static constexpr unsigned long kWide = (1UL << 32) + 7;
  void (*const stores[])(UnsignedVector&) = {
      [](auto& v) { v = UnsignedVector(1, kWide); },
      [](auto& v) { v = Make<UnsignedVector>({kWide}); },
      [](auto& v) { v(1, kWide); },
      [](auto& v) { v.resize(2, kWide); },
      [](auto& v) { v.SetNumValues(1, kWide); },
      [](auto& v) { v.InsertValues(1, 1, kWide); },
      [](auto& v) { v.push_back(kWide); },
      [](auto& v) { v.insert(v.begin(), kWide); },
      [](auto& v) { v.insert(v.begin(), &kWide, &kWide + 1); },
      [](auto& v) { v.SetAllValues(kWide); },
      [](auto& v) { v.SetRange(1, 1, kWide); },
      [](auto& v) { v.GenerateIndex(kWide, 0); },
  };
  for (std::size_t i = 0; i < std::size(stores); ++i) {
    UnsignedVector v(1, 7);
    stores[i](v);
    EXPECT_THAT(v, ::testing::Each(7UL)) << "store " << i;
    EXPECT_EQ(v.Find(kWide, SortType::kUnsorted, 1, -1), 1);
    EXPECT_EQ(v.LowerBound(kWide, true), 1);
  }
  UnsignedVector index(3, 0);
  index.GenerateIndex(0xFFFFFFFFUL, 1);
  EXPECT_THAT(index, ElementsAre(0xFFFFFFFFUL, 0, 1));
}

TEST(IntegralVectorValues, StatisticsOfInts) {
  struct Case {
    IntVector v;
    long sum;
    double mean, variance, stdDev;
  };
  const Case cases[] = {
      {IntVector(), 0, -99.0, -99.0, -99.0},
      {Make<IntVector>({5}), 5, 5.0, -99.0, -99.0},
      {Make<IntVector>({4, 4}), 8, 4.0, 0.0, 0.0},
      {Make<IntVector>({-99, -95, -91}), -285, -95.0, 16.0, 4.0},
      {Make<IntVector>({INT_MAX, 1}), INT_MIN, 1073741824.0, 2305843004918726658.0, 1518500248.5738113},
      {Make<IntVector>({INT_MIN, INT_MIN}), 0, -2147483648.0, 0.0, 0.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.v));
    EXPECT_EQ(c.v.GetSum(), c.sum);
    EXPECT_DOUBLE_EQ(c.v.GetMean(), c.mean);
    EXPECT_DOUBLE_EQ(c.v.GetVariance(), c.variance);
    EXPECT_DOUBLE_EQ(c.v.GetStdDev(), c.stdDev);
  }
  IntVector index(3, 0);
  index.GenerateIndex(INT_MAX, 2);
  EXPECT_THAT(index, ElementsAre(INT_MAX, INT_MIN + 1, INT_MIN + 3));
}

TEST(IntegralVectorOrder, SizeDecidesBeforeContents) {
  const IntVector ascending[] = {IntVector(), Make<IntVector>({9}), Make<IntVector>({-1, 5}), Make<IntVector>({0, 1}),
                                 Make<IntVector>({0, 2})};
  for (const IntVector& a : ascending) {
    for (const IntVector& b : ascending) {
      const IntVector sameAsB(b.begin(), b.Size());
      EXPECT_EQ(a == sameAsB, &a == &b);
      EXPECT_EQ(a != sameAsB, &a != &b);
      EXPECT_EQ(a < sameAsB, &a < &b);
      EXPECT_EQ(a >= sameAsB, &a >= &b);
    }
  }
}

TEST(IntegralVectorSearch, FindsByEveryOrder) {
  const auto up = Make<IntVector>({1, 3, 3, 8});
  const auto down = Make<IntVector>({8, 3, 3, 1});
  const auto mixed = Make<IntVector>({3, 8, 1, 3});
  struct Case {
    const IntVector* v;
    int value, type, first, last, position;
  };
  const IntVector empty;
  const Case cases[] = {
      {&empty, 1, 0, 1, -1, -1}, {&empty, 1, 2, 1, -1, -1}, {&up, 3, 0, 1, -1, 2},     {&up, 8, 0, 1, 1, 4},
      {&up, 2, 0, 1, -1, -1},    {&up, 9, 0, 1, -1, -1},    {&up, 1, 0, 5, -1, -1},    {&down, 3, 1, 1, -1, 2},
      {&down, 1, 1, 1, -1, 4},   {&down, 0, 1, 1, -1, -1},  {&mixed, 3, 2, 1, -1, 1},  {&mixed, 3, 2, 2, -1, 4},
      {&mixed, 3, 2, 2, 3, -1},  {&mixed, 1, 2, 3, 3, 3},   {&mixed, 3, 2, 5, -1, -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.v->Find(c.value, c.type, c.first, c.last), c.position)
        << ::testing::PrintToString(*c.v) << ' ' << c.value << " by " << c.type << " from " << c.first;
  }
  EXPECT_EQ(up.LowerBound(9, true), 5);
  EXPECT_EQ(down.LowerBound(4, false), 2);
  EXPECT_EQ(empty.LowerBound(4, true), 1);

  EXPECT_TRUE(up.IsSorted(true) && down.IsSorted(false) && empty.IsSorted(true) && empty.IsSorted(false));
  EXPECT_FALSE(up.IsSorted(false) || down.IsSorted(true) || mixed.IsSorted(true) || mixed.IsSorted(false));
}

TEST(IntegralVectorOrder, OriginalIndexKeepsEqualElementsInTheirOrder) {
  const auto source = Make<IntVector>({3, -99, 3, 1, -99});
  std::vector<int> index = {42};
  IntVector v = source;
  v.SortWithOriginalIndex(true, index);
  EXPECT_THAT(v, ElementsAre(-99, -99, 1, 3, 3));
  EXPECT_THAT(index, ElementsAre(2, 5, 4, 1, 3));
  v = source;
  v.SortWithOriginalIndex(false, index);
  EXPECT_THAT(v, ElementsAre(3, 3, 1, -99, -99));
  EXPECT_THAT(index, ElementsAre(1, 3, 4, 2, 5));
}

TEST(IntegralVectorOrder, ScrambleFollowsTheSeedAndReachesEveryOrderAlike) {
  constexpr int kDraws = 6000;
  constexpr double kExpected = 1000.0;
  constexpr double kChiSquareOf5At1e6 = 35.9;  // a uniform shuffle exceeds this once in a million seeds
  const auto source = Make<IntVector>({1, 2, 3});
  std::map<std::vector<int>, int> counts;
  std::srand(1);
  for (int i = 0; i < kDraws; ++i) {
    IntVector v = source;
    v.Scramble();
    ++counts[std::vector<int>(v.begin(), v.end())];
  }
  ASSERT_EQ(counts.size(), 6U);
  double chiSquare = 0.0;
  for (const auto& [order, count] : counts) chiSquare += (count - kExpected) * (count - kExpected) / kExpected;
  EXPECT_LT(chiSquare, kChiSquareOf5At1e6);
  EXPECT_THAT(source, ElementsAre(1, 2, 3));

  IntVector first(100, 0);
  first.GenerateIndex(1, 1);
  IntVector second = first;
  std::srand(7);
  first.Scramble();
  std::srand(7);
  second.Scramble();
  EXPECT_THAT(second, ElementsAreArray(first));
}

}  // namespace
