#include "voran/containers/integral_vector.h"

#include <climits>
#include <cstdlib>
#include <deque>
#include <initializer_list>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/containers/failing_allocation.h"

namespace {

using ::testing::ElementsAre;
using IntVector = NCIntegralVector<int, -99>;
using UnsignedVector = NCIntegralVector<unsigned long, 0>;
using FlagVector = NCIntegralVector<bool, 0>;

template <typename Vector>
Vector Make(std::initializer_list<typename Vector::value_type> values) {
  return Vector(values.begin(), static_cast<int>(values.size()));
}

template <typename Vector>
class IntegralVector : public ::testing::Test {
 protected:
  using T = typename Vector::value_type;
  using Elements = std::deque<T>;  // std::vector<bool> is no container

  struct Mutator {
    std::string name;
    void (*mutate)(Vector&);
    Elements expected;
  };

  static Elements Contents(const Vector& v) { return Elements(v.begin(), v.end()); }

  static constexpr T a = true;
  static constexpr T b = static_cast<T>(7);
  static constexpr T c = static_cast<T>(3);
  static constexpr T m = Vector::kMissing;

  /// The capacity is exactly six.
  static Vector Sample() { return Make<Vector>({b, m, a, b, m, c}); }

  template <typename... Ints>
  static IntVector At(Ints... positions) {
    return Make<IntVector>({positions...});
  }

  /// Every mutator on Sample(), with what it makes of it.
  static std::vector<Mutator> Mutators() {
    using V = Vector;
    static const V three = Make<V>({a, a, b});
    static const V none;
    static std::vector<int> index;
    return {
        {"set", [](V& v) { v(2, a); }, {b, a, a, b, m, c}},
        {"through the pointer", [](V& v) { v.UnlinkedPtr()[1] = a; }, {a, m, a, b, m, c}},
        {"add nothing", [](V& v) { v += 5; }, {b, m, a, b, m, c}},
        {"assign", [](V& v) { v = three; }, {a, a, b}},
        {"assign nothing", [](V& v) { v = none; }, {}},
        {"set size within", [](V& v) { v.SetSize(4); }, {b, m, a, b}},
        {"grow", [](V& v) { v.resize(9, b); }, {b, m, a, b, m, c, b, b, b}},
        {"shrink", [](V& v) { v.resize(2, b); }, {b, m}},
        {"set values", [](V& v) { v.SetNumValues(3, b); }, {b, b, b}},
        {"reserve", [](V& v) { v.Reserve(60); }, {b, m, a, b, m, c}},
        {"clear", [](V& v) { v.Clear(); }, {}},
        {"concat itself", [](V& v) { v.Concat(v); }, {b, m, a, b, m, c, b, m, a, b, m, c}},
        {"copy shorter content", [](V& v) { v.CopyContent(three); }, {a, a, b}},
        {"copy longer content", [](V& v) { v.CopyContent(V(9, a)); }, {a, a, a, a, a, a, a, a, a}},
        {"copy own content", [](V& v) { v.CopyContent(v); }, {b, m, a, b, m, c}},
        {"insert in front", [](V& v) { v.InsertValues(1, 2, a); }, {a, a, b, m, a, b, m, c}},
        {"insert far behind", [](V& v) { v.InsertValues(99, 2, a); }, {b, m, a, b, m, c, a, a}},
        {"insert a vector", [](V& v) { v.InsertValues(3, three); }, {b, m, a, a, b, a, b, m, c}},
        {"insert no vector", [](V& v) { v.InsertValues(3, none); }, {b, m, a, b, m, c}},
        {"insert itself", [](V& v) { v.InsertValues(3, v); }, {b, m, b, m, a, b, m, c, a, b, m, c}},
        {"remove values", [](V& v) { v.RemoveValues(2, 3); }, {b, m, c}},
        {"remove positions", [](V& v) { v.Remove(At(6, 1, 1, 99, 0, -99)); }, {m, a, b, m}},
        {"reduce", [](V& v) { v.Reduce(At(6, 1, 1)); }, {c, b, b}},
        {"push back", [](V& v) { v.push_back(b); }, {b, m, a, b, m, c, b}},
        {"insert one", [](V& v) { EXPECT_EQ(*v.insert(v.begin() + 1, a), a); }, {b, a, m, a, b, m, c}},
        {"insert a range", [](V& v) { v.insert(v.end(), three.begin(), three.end()); }, {b, m, a, b, m, c, a, a, b}},
        {"erase one", [](V& v) { EXPECT_EQ(*v.erase(v.begin() + 1), a); }, {b, a, b, m, c}},
        {"erase a range", [](V& v) { v.erase(v.begin() + 1, v.end()); }, {b}},
        {"set range", [](V& v) { v.SetRange(5, 2, b); }, {b, m, a, b, b, b}},
        {"index", [](V& v) { v.GenerateIndex(0, b); }, {T(0), T(7), T(14), T(21), T(28), T(35)}},
        {"sort up", [](V& v) { v.Sort(true, false); }, {m, m, a, c, b, b}},
        {"sort down", [](V& v) { v.Sort(false, false); }, {b, b, c, a, m, m}},
        {"sort up, missing last", [](V& v) { v.Sort(true, true); }, {a, c, b, b, m, m}},
        {"sort with index", [](V& v) { v.SortWithOriginalIndex(true, index); }, {m, m, a, c, b, b}},
    };
  }
};

using Instantiations = ::testing::Types<IntVector, UnsignedVector, FlagVector>;
TYPED_TEST_SUITE(IntegralVector, Instantiations);

TYPED_TEST(IntegralVector, MutatorsActOnTheirOwnVectorOnly) {
  const auto before = this->Contents(this->Sample());
  for (const auto& [name, mutate, expected] : this->Mutators()) {
    for (const int room : {6, 50}) {
      SCOPED_TRACE(::testing::Message() << name << " in a buffer of " << room);
      TypeParam original = this->Sample();
      original.Reserve(room);
      TypeParam copy = original;
      ASSERT_EQ(copy.GetPtr(), original.GetPtr());
      mutate(copy);
      EXPECT_EQ(this->Contents(copy), expected);
      EXPECT_EQ(this->Contents(original), before);

      copy = original;
      mutate(original);
      EXPECT_EQ(this->Contents(original), expected);
      EXPECT_EQ(this->Contents(copy), before);

      mutate(copy);  // which is alone now
      EXPECT_EQ(this->Contents(copy), expected);
    }
  }
}

TYPED_TEST(IntegralVector, AFailedAllocationLeavesTheVectorAsItWas) {
  if (!FailingAllocation::IsAvailable()) GTEST_SKIP() << "the thread sanitizer's allocator cannot be replaced";
  for (const auto& [name, mutate, expected] : this->Mutators()) {
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
  using V = TypeParam;
  static constexpr typename V::value_type kOne{1};
  void (*const fillers[])(V&) = {
      [](V& v) { v.push_back(kOne); },
      [](V& v) { v.InsertValues(7, 1, kOne); },
      [](V& v) { v.insert(v.end(), &kOne, &kOne + 1); },
      [](V& v) { v.Concat(V(1, kOne)); },
      [](V& v) { v.SetSize(1), v(1, kOne); },
  };
  for (const auto& fill : fillers) {
    V never;
    V sized(0);
    for (V* v : {&never, &sized}) {
      EXPECT_EQ(v->begin(), v->end());
      v->Sort(true, true);
      v->SetAllValues(kOne);
      fill(*v);
      EXPECT_THAT(*v, ElementsAre(kOne));
    }
  }
}

TYPED_TEST(IntegralVector, GrowsAcrossEveryCapacityStep) {
  TypeParam v;
  typename TestFixture::Elements expected;
  for (int i = 0; i < 9500; ++i) {
    expected.push_back(static_cast<typename TypeParam::value_type>(i % 3));
    v.push_back(expected.back());
  }
  EXPECT_EQ(this->Contents(v), expected);
}

TEST(IntegralVectorValues, UnsignedValuesAre32BitHoweverTheyAreStored) {
  static constexpr unsigned long kWide = (1UL << 32) + 7;
  void (*const stores[])(UnsignedVector&) = {
      [](auto& v) { v = Make<UnsignedVector>({kWide}); },
      [](auto& v) { v(1, kWide); },
      [](auto& v) { v.InsertValues(1, 1, kWide); },
      [](auto& v) { v.push_back(kWide); },
      [](auto& v) { v.insert(v.begin(), &kWide, &kWide + 1); },
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
  constexpr double kExpected = 1000.0;
  constexpr double kChiSquareOf5At1e6 = 35.9;  // a uniform shuffle exceeds this once in a million seeds
  const auto source = Make<IntVector>({1, 2, 3});
  const auto draw = [&] {
    std::vector<std::vector<int>> orders;
    std::srand(1);
    for (int i = 0; i < 6000; ++i) {
      IntVector v = source;
      v.Scramble();
      orders.emplace_back(v.begin(), v.end());
    }
    return orders;
  };
  const auto orders = draw();
  EXPECT_EQ(draw(), orders);
  std::map<std::vector<int>, int> counts;
  for (const auto& order : orders) ++counts[order];
  ASSERT_EQ(counts.size(), 6U);
  double chiSquare = 0.0;
  for (const auto& [order, count] : counts) chiSquare += (count - kExpected) * (count - kExpected) / kExpected;
  EXPECT_LT(chiSquare, kChiSquareOf5At1e6);
  EXPECT_THAT(source, ElementsAre(1, 2, 3));
}

}  // namespace
