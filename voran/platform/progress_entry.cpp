#include "voran/platform/progress_entry.h"

#include <algorithm>
#include <utility>

inline namespace voran {

ProgressDisplay::~ProgressDisplay() = default;

namespace detail {
namespace {

// A text announces what may then be busy for long without a call, so it need not wait for its turn.
constexpr int kTextAdvance = 4;

}  // namespace

DisplaySession::DisplaySession(std::shared_ptr<ProgressDisplay> display)
    : display_(std::move(display)),
      interval_(std::clamp<Clock::duration>(display_->UpdateInterval(), Clock::duration(0), std::chrono::hours(24))) {}

bool DisplaySession::Admits(int advance) {
  const Clock::time_point now = Clock::now();
  if (now + advance * interval_ < nextCall_) return false;
  nextCall_ = std::max(now, nextCall_) + interval_;
  return true;
}

void DisplaySession::Call(Callback callback, const ProgressView& view) noexcept {
  if (isCalling_ || isBroken_) return;
  isCalling_ = true;
  try {
    ((*display_).*callback)(view);
  } catch (...) {
    isBroken_ = true;
  }
  isCalling_ = false;
}

ProgressEntry::ProgressEntry(std::shared_ptr<DisplaySession> session, ProgressView view)
    : session_(std::move(session)), outer_(session_->innermost_), view_(std::move(view)) {
  view_.depth = outer_ ? outer_->view_.depth + 1 : 0;
  session_->innermost_ = this;
  if (session_->Admits(0)) BeginOnce();
}

ProgressEntry::~ProgressEntry() {
  Unlink();
  if (!hasBegun_) return;
  session_->Call(&ProgressDisplay::End, view_);
  if (session_->innermost_) session_->innermost_->Show(&ProgressDisplay::ShowPosition);
}

void ProgressEntry::SetText(const char* text) {
  view_.text = text;
  if (session_->Admits(kTextAdvance)) Show(&ProgressDisplay::ShowPosition);
}

void ProgressEntry::MoveTo(double fraction, bool isLengthKnown) {
  view_.fraction = fraction;
  view_.isLengthKnown = isLengthKnown;
  if (session_->Admits(0)) Show(&ProgressDisplay::ShowPosition);
}

void ProgressEntry::Spin() {
  if (!session_->Admits(0)) return;
  isSpinning_ = true;
  Show(&ProgressDisplay::ShowSpin);
}

void ProgressEntry::SpinDone() {
  if (std::exchange(isSpinning_, false)) Show(&ProgressDisplay::ShowPosition);
}

void ProgressEntry::BeginOnce() noexcept {
  if (std::exchange(hasBegun_, true)) return;
  if (outer_) outer_->BeginOnce();
  session_->Call(&ProgressDisplay::Begin, view_);
}

void ProgressEntry::Show(DisplaySession::Callback callback) noexcept {
  BeginOnce();
  session_->Call(callback, view_);
}

// Objects need not end in the reverse order of their making, though they mostly do.
void ProgressEntry::Unlink() {
  ProgressEntry** link = &session_->innermost_;
  while (*link != this) link = &(*link)->outer_;
  *link = outer_;
}

}  // namespace detail
}  // namespace voran
