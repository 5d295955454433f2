#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/string_vector.h"

namespace {

constexpr int kElements = 24;
using Plain = std::vector<int>;

// What the containers have in common here: kElements small numbers.

template <class Container>
Container Filled(int value) {
  return Container(kElements, static_cast<typename Container::value_type>(value));
}
template <>
NCDataMatrix<float> Filled(int value) {
  return {4, kElements / 4, static_cast<float>(value)};
}
template <>
NCStringVector Filled(int value) {
  return NCStringVector(std::vector<std::string>(kElements, std::to_string(value)));
}

template <class Container>
void Set(Container& c, int i, int value) {
  if constexpr (std::is_same_v<Container, NCDataMatrix<float>>) {
    c(1 + i / 6, 1 + i % 6, static_cast<float>(value));
  } else if constexpr (std::is_same_v<Container, NCStringVector>) {
    c(i + 1, std::to_string(value));
  } else {
    c(i + 1, static_cast<typename Container::value_type>(value));
  }
}

int Get(const NCDataMatrix<float>& m, int i) {
  return static_cast<int>(m[1 + i / 6][1 + i % 6]);
}
int Get(const NCStringVector& v, int i) {
  return std::stoi(v[i + 1]);
}
int Get(const auto& v, int i) {
  return static_cast<int>(v[i + 1]);
}

template <class Container>
Plain Contents(const Container& c) {
  Plain contents;
  for (int i = 0; i < kElements; ++i) contents.push_back(Get(c, i));
  return contents;
}

/// Runs work(t) in so many threads, which start together. A deadlock would leave nothing to join: it ends the program.
template <class Work>
void InThreads(int count, const Work& work) {
  std::barrier start(count);
  std::vector<std::future<void>> threads;
  for (int t = 0; t < count; ++t) {
    threads.push_back(std::async(std::launch::async, [&, t] {
      start.arrive_and_wait();
      work(t);
    }));
  }
  for (const auto& thread : threads) {
    if (thread.wait_for(std::chrono::seconds(120)) == std::future_status::ready) continue;
    std::fputs("deadlock\n", stderr);
    std::_Exit(1);
  }
}

template <class Container>
class SharingThreads : public ::testing::Test {};

using Containers = ::testing::Types<NCDataVector<float>, NCDataVector<double>, NCDataMatrix<float>,
                                    NCIntegralVector<int, -99>, NCIntegralVector<unsigned long, 0>, NCStringVector>;
TYPED_TEST_SUITE(SharingThreads, Containers);

/// Every thread has handles of its own on buffers that all share, and knows what they have to hold.
TYPED_TEST(SharingThreads, CopiesAreTakenWrittenAndDroppedByManyAtATime) {
  constexpr int kHandles = 4;
  constexpr int kSteps = 1500;
  const TypeParam source = Filled<TypeParam>(1);
  const Plain ofSource = Contents(source);
  for (int threads = 2; threads <= 8; ++threads) {
    InThreads(threads, [&](int t) {
      std::mt19937 random(static_cast<unsigned>(t));
      std::vector<TypeParam> handles(kHandles, source);
      std::vector<Plain> expected(kHandles, ofSource);
      for (int step = 0; step < kSteps / threads; ++step) {
        const auto at = static_cast<std::size_t>(random() % kHandles);
        const auto other = static_cast<std::size_t>(random() % kHandles);
        const int i = static_cast<int>(random() % kElements);
        switch (random() % 3) {
          case 0:
            handles[at] = handles[other];
            expected[at] = expected[other];
            break;
          case 1:
            Set(handles[at], i, t + 2);
            expected[at][static_cast<std::size_t>(i)] = t + 2;
            break;
          default:  // a copy of what all share in the place of one that is dropped
            ASSERT_EQ(Contents(std::exchange(handles[at], TypeParam(source))), expected[at]);
            expected[at] = ofSource;
        }
        ASSERT_EQ(Contents(handles[at]), expected[at]);
      }
    });
    ASSERT_EQ(Contents(source), ofSource);
  }
}

/// Half of the threads give `a` the buffer of `b` while the others do the reverse: with two locks at a time, taken in
/// the order in which they come, they would wait for each other for ever.
TYPED_TEST(SharingThreads, CrossingAssignmentsDoNotWaitForEachOther) {
  constexpr int kRounds = 2000;
  const TypeParam a = Filled<TypeParam>(1);
  const TypeParam b = Filled<TypeParam>(2);
  for (const int threads : {2, 4, 8}) {
    InThreads(threads, [&, threads](int t) {
      TypeParam mine = t % 2 == 0 ? a : b;
      TypeParam other = t % 2 == 0 ? b : a;
      for (int round = 0; round < kRounds / threads; ++round) {
        const TypeParam saved = mine;
        mine = other;
        other = saved;
      }
      EXPECT_EQ(Contents(mine)[0] + Contents(other)[0], 3);
    });
  }
}

}  // namespace
