#include "voran/platform/threading_control.h"

#include <thread>

#include <gtest/gtest.h>
#include <omp.h>

namespace {

using NCMultiThreading::ThreadingControl;

class Threading : public testing::Test {
 protected:
  void TearDown() override { ThreadingControl::Reset(); }

  static void ExpectStartState() {
    EXPECT_EQ(ThreadingControl::GetNumberOfProcessors(), omp_get_num_procs());
    EXPECT_EQ(ThreadingControl::IsThreadingOn(), omp_get_num_procs() > 1);
    EXPECT_EQ(omp_get_max_threads(), omp_get_num_procs());
    EXPECT_EQ(detail::ParallelWidth(), omp_get_num_procs());
    EXPECT_TRUE(omp_get_dynamic());
  }
};

TEST_F(Threading, StartsAndResetsWithAllProcessors) {
  ExpectStartState();
  omp_set_dynamic(0);
  ThreadingControl::SetNumberOfProcessors(7);
  ThreadingControl::SetThreadingIsOn(false);
  ThreadingControl::Reset();
  ExpectStartState();
}

TEST_F(Threading, SwitchingOnRestoresTheStoredWidth) {
  ThreadingControl::SetNumberOfProcessors(3);
  EXPECT_EQ(omp_get_max_threads(), omp_get_num_procs()) << "the number alone does not reach OpenMP";
  ThreadingControl::SetThreadingIsOn(false);
  EXPECT_EQ(omp_get_max_threads(), 1);
  EXPECT_EQ(ThreadingControl::GetNumberOfProcessors(), 3);
  ThreadingControl::SetThreadingIsOn(true);
  EXPECT_EQ(omp_get_max_threads(), 3);
  ThreadingControl::SetNumberOfProcessors(0);
  ThreadingControl::SetThreadingIsOn(true);
  EXPECT_EQ(detail::ParallelWidth(), 1);
}

TEST_F(Threading, WidthHoldsForOtherThreadsToo) {
  ThreadingControl::SetThreadingIsOn(false);
  int width = 0;
  std::thread([&] { width = detail::ParallelWidth(); }).join();
  EXPECT_EQ(width, 1);
}

TEST_F(Threading, NoSecondTeamStartsInsideOfATeam) {
  ThreadingControl::SetNumberOfProcessors(3);
  ThreadingControl::SetThreadingIsOn(true);
  omp_set_dynamic(0);
  int widest = 0;
  int team = 0;
#pragma omp parallel num_threads(2) reduction(max : widest)
  {
    widest = detail::ParallelWidth();
#pragma omp single
    team = omp_get_num_threads();
  }
  ASSERT_EQ(team, 2);
  EXPECT_EQ(widest, 1);
  EXPECT_EQ(detail::ParallelWidth(), 3);
}

}  // namespace
