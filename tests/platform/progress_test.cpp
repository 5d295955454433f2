#include "voran/platform/progress.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::chrono::milliseconds kEveryCall{0};
constexpr std::chrono::milliseconds kNeverAgain = std::chrono::hours(24);
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Keeps what it was told, as "depth:callback:text"; throws from one of its callbacks when asked to.
class Recorder : public ProgressDisplay {
 public:
  explicit Recorder(std::chrono::milliseconds interval = kEveryCall) : interval_(interval) {}

  void Begin(const ProgressView& view) override { Record("begin", view); }
  void ShowPosition(const ProgressView& view) override { Record("position", view); }
  void ShowSpin(const ProgressView& view) override { Record("spin", view); }
  void End(const ProgressView& view) override { Record("end", view); }
  bool IsCancelRequested() const noexcept override { return isCancelRequested.load(); }
  std::chrono::milliseconds UpdateInterval() const noexcept override { return interval_; }

  std::atomic<bool> isCancelRequested{false};
  std::string throwFrom;
  std::vector<std::string> calls;
  ProgressView last;

 private:
  void Record(const std::string& callback, const ProgressView& view) {
    calls.push_back(std::to_string(view.depth) + ":" + callback + ":" + view.text);
    last = view;
    if (callback == throwFrom) throw std::runtime_error("the window is gone");
  }

  std::chrono::milliseconds interval_;
};

class ProgressDisplays : public testing::Test {
 protected:
  void SetUp() override { Install(kEveryCall); }
  void TearDown() override { NCProgress::SetDisplay(nullptr); }
  void Install(std::chrono::milliseconds interval) {
    recorder = std::make_shared<Recorder>(interval);
    NCProgress::SetDisplay(recorder);
  }

  std::shared_ptr<Recorder> recorder;
};
using ProgressRanges = ProgressDisplays;
using ProgressThreads = ProgressDisplays;
using ProgressCancel = ProgressDisplays;

struct Work : NCProgress {
  explicit Work(const char* text = "", float min = 0.0F, float max = 1.0F)
      : NCProgress(text, min, max, false, false, true, "") {}
};

TEST_F(ProgressRanges, MapToTheWhole) {
  struct Case {
    const char* name;
    float min, max;
    std::function<void(NCProgress&)> run;
    double fraction;
    bool isLengthKnown = true;
  };
  const Case cases[] = {
      {"value", 0, 8, [](auto& p) { p.SetValue(2); }, 0.25},
      {"negative range", -4, 0, [](auto& p) { p.SetValue(-1); }, 0.75},
      {"descending range", 1, 0, [](auto& p) { p.SetValue(0.25F); }, 0.75},
      {"beyond the ends", 0, 8, [](auto& p) { p.SetValue(2), p.SetValue(9); }, 1.0},
      {"before the start", 0, 8, [](auto& p) { p.SetValue(2), p.SetValue(-kInfinity); }, 0.0},
      {"NaN is no position", 0, 8, [](auto& p) { p.SetValue(2), p.SetValue(kNaN); }, 0.25},
      {"ends whose difference is no float", -3e38F, 3e38F, [](auto& p) { p.SetValue(1.5e38F); }, 0.75},
      {"two deep", 0, 4,
       [](auto& p) { p.PushSubRange(2, 4), p.SetRange(0, 10), p.PushSubRange(5, 10), p.SetValue(0.5F); }, 0.875},
      {"pop ends the stretch", 0, 4, [](auto& p) { p.PushSubRange(1, 3), p.SetValue(0.25F), p.PopSubRange(); }, 0.75},
      {"only the inner one of two ends", 0, 4,
       [](auto& p) { p.PushSubRange(2, 4), p.SetRange(0, 10), p.PushSubRange(5, 10), p.PopSubRange(), p.SetValue(2); },
       0.6},
      {"new range starts over", 0, 4, [](auto& p) { p.SetValue(3), p.SetRange(10, 20); }, 0.0},
      {"sub-range beyond the ends", 0, 4, [](auto& p) { p.PushSubRange(2, 99), p.SetValue(0.5F); }, 0.75},
      {"sub-range of NaN", 0, 4, [](auto& p) { p.PushSubRange(kNaN, kNaN), p.SetValue(1); }, 0.0},
      {"sub-range without a length", 0, 4, [](auto& p) { p.PushSubRange(2, 4), p.SetRange(3, 3), p.SetValue(3); }, 0.5},
      {"unmatched pop", 0, 4, [](auto& p) { p.SetValue(p.PopSubRange() ? 4 : 1); }, 0.25},
      {"unknown length", -1, 0, [](auto& p) { p.SetValue(-0.5F); }, 0.0, false},
      {"inside an unknown length", -1, 0, [](auto& p) { p.PushSubRange(-0.5F, 0), p.SetValue(1); }, 0.0, false},
      {"equal ends", 5, 5, [](auto& p) { p.SetValue(5); }, 0.0, false},
      {"an infinite end", 0, kInfinity, [](auto& p) { p.SetValue(5); }, 0.0, false},
  };
  for (const Case& c : cases) {
    Work work("", c.min, c.max);
    c.run(work);
    EXPECT_DOUBLE_EQ(recorder->last.fraction, c.fraction) << c.name;
    EXPECT_EQ(recorder->last.isLengthKnown, c.isLengthKnown) << c.name;
  }
}

TEST_F(ProgressDisplays, SeeTextsFlagsAndSpinning) {
  {
    NCProgress work("rows", 0, 1, true, false, true, "Fit");
    work.SetText("columns");
    work.NextSpin();
    work.SpinDone();
    work.SpinDone();
    work.SetText(nullptr);
  }
  EXPECT_THAT(recorder->calls, ElementsAre("0:begin:rows", "0:position:columns", "0:spin:columns", "0:position:columns",
                                           "0:position:", "0:end:"));
  EXPECT_EQ(recorder->last.title, "Fit");
  EXPECT_THAT(recorder->last.flags, ElementsAre(true, false, true));
}

TEST_F(ProgressDisplays, ShowTheOuterWorkAgainWhenTheInnerEnds) {
  auto outer = std::make_unique<Work>("outer");
  { Work("inner"); }
  auto middle = std::make_unique<Work>("middle");
  auto innermost = std::make_unique<Work>("innermost");
  middle.reset();
  innermost.reset();
  outer.reset();
  EXPECT_THAT(recorder->calls,
              ElementsAre("0:begin:outer", "1:begin:inner", "1:end:inner", "0:position:outer", "1:begin:middle",
                          "2:begin:innermost", "1:end:middle", "2:position:innermost", "2:end:innermost",
                          "0:position:outer", "0:end:outer"));
}

TEST_F(ProgressDisplays, AreNotCalledAheadOfTheirPace) {
  Install(kNeverAgain);
  {
    Work outer("outer");
    for (int i = 0; i < 10000; ++i) {
      outer.SetValue(static_cast<float>(i) / 20000.0F);
      outer.NextSpin();
      outer.SpinDone();
      Work shortLived("short");
    }
    EXPECT_THAT(recorder->calls, ElementsAre("0:begin:outer"));
    for (int i = 0; i < 1000; ++i) outer.SetText("text");  // a few of them may draw on the time to come
    EXPECT_LE(recorder->calls.size(), 6U);
  }
  EXPECT_EQ(recorder->calls.back(), "0:end:text");
  EXPECT_NEAR(recorder->last.fraction, 0.5, 1e-3);
}

TEST_F(ProgressDisplays, LearnOfTheOuterWorkBeforeTheInner) {
  Install(kNeverAgain);
  { Work("first"); }
  recorder->calls.clear();
  Work outer("outer");
  Work inner("inner");
  EXPECT_THAT(recorder->calls, IsEmpty());
  inner.SetText("text");
  EXPECT_THAT(recorder->calls, ElementsAre("0:begin:outer", "1:begin:text", "1:position:text"));
}

TEST_F(ProgressDisplays, StayWithTheWorkThatBeganOnThem) {
  const auto second = std::make_shared<Recorder>();
  auto early = std::make_unique<Work>("early");
  EXPECT_EQ(NCProgress::SetDisplay(second), recorder);
  auto late = std::make_unique<Work>("late");
  EXPECT_EQ(NCProgress::SetDisplay(nullptr), second);
  Work unseen("unseen");
  early.reset();
  late.reset();
  EXPECT_THAT(recorder->calls, ElementsAre("0:begin:early", "0:end:early"));
  EXPECT_THAT(second->calls, ElementsAre("0:begin:late", "0:end:late"));
}

TEST_F(ProgressDisplays, ThatThrowDoNotDisturbTheWork) {
  for (const char* callback : {"begin", "position", "spin", "end"}) {
    Install(kEveryCall);
    recorder->throwFrom = callback;
    {
      Work work;
      EXPECT_TRUE(work.NextSpin());
      EXPECT_TRUE(work.SetValue(0.5F));
    }
    EXPECT_EQ(recorder->calls.back(), std::string("0:") + callback + ":") << "called after it had thrown";
  }
}

TEST_F(ProgressThreads, WorkOffTheDrivingThreadShowsNothingAndSeesTheCancel) {
  Work driving("driving");
  std::thread([&] {
    Work work("worker");
    work.SetText("hidden");
    EXPECT_TRUE(work.PushSubRange(0, 1));
    recorder->isCancelRequested = true;
    EXPECT_FALSE(work.SetValue(0.5F));
  }).join();
  EXPECT_THAT(recorder->calls, ElementsAre("0:begin:driving"));
}

TEST_F(ProgressCancel, OfOneObjectLeavesOthersAlone) {
  Work work;
  Work other;
  work.RequestCancel();
  EXPECT_TRUE(work.IsBreakPressed());
  EXPECT_FALSE(other.IsBreakPressed());
  work.ClearCancel();
  EXPECT_TRUE(work.SetValue(1));
}

TEST_F(ProgressCancel, FromASignalHandlerReachesEverythingUntilCleared) {
  Work before;
  const auto previous = std::signal(SIGINT, [](int) { NCProgress::RequestCancelAll(); });
  std::raise(SIGINT);
  std::signal(SIGINT, previous);
  EXPECT_FALSE(before.SetValue(1));
  EXPECT_TRUE(Work().IsBreakPressed());
  NCProgress::ClearCancelAll();
  EXPECT_TRUE(before.SetValue(1));
}

TEST_F(ProgressCancel, IsAnsweredByEveryPollWithRangesKeptInStep) {
  Work work("", 0, 4);
  recorder->isCancelRequested = true;
  EXPECT_FALSE(work.PushSubRange(0, 2));
  EXPECT_FALSE(work.SetValue(0.5F));
  EXPECT_FALSE(work.NextSpin());
  EXPECT_FALSE(work.PopSubRange());
  recorder->isCancelRequested = false;
  EXPECT_TRUE(work.IsBreakPressed());
  work.SetValue(3);
  EXPECT_DOUBLE_EQ(recorder->last.fraction, 0.75);
}

}  // namespace
