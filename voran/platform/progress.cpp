#include "voran/platform/progress.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "voran/platform/progress_entry.h"

inline namespace voran {
namespace {

std::atomic<bool> isEverythingCancelled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

// The flag spares objects made while no display is installed the lock.
struct Installation {
  std::atomic<bool> isInstalled{false};
  std::mutex mutex;
  std::shared_ptr<detail::DisplaySession> session;
};

Installation& CurrentInstallation() {
  static Installation installation;
  return installation;
}

std::shared_ptr<detail::DisplaySession> CurrentSession() {
  Installation& current = CurrentInstallation();
  if (!current.isInstalled.load(std::memory_order_acquire)) return nullptr;
  const std::lock_guard lock(current.mutex);
  return current.session;
}

}  // namespace

bool NCProgress::Range::HasLength() const {
  const double length = static_cast<double>(max) - static_cast<double>(min);
  const bool isUnknown = min == -1.0F && max == 0.0F;
  return std::isfinite(length) && length != 0.0 && !isUnknown;
}

double NCProgress::Range::FractionOf(float value) const {
  if (!HasLength() || std::isnan(value)) return start;
  const double offset = static_cast<double>(value) - static_cast<double>(min);
  const double length = static_cast<double>(max) - static_cast<double>(min);
  return start + span * std::clamp(offset / length, 0.0, 1.0);
}

NCProgress::NCProgress(const char* text, float min, float max, bool flag1, bool flag2, bool flag3, const char* title)
    : range_{min, max, 0.0, 1.0} {
  std::shared_ptr<detail::DisplaySession> session = CurrentSession();
  if (!session) return;
  display_ = session->Display();
  if (!session->IsDrivenFromThisThread()) return;
  ProgressView view;
  view.title = title ? title : "";
  view.text = text ? text : "";
  view.isLengthKnown = range_.HasLength();
  view.flags = {flag1, flag2, flag3};
  entry_ = std::make_unique<detail::ProgressEntry>(std::move(session), std::move(view));
}

NCProgress::~NCProgress() = default;

void NCProgress::SetRange(float min, float max) {
  range_.min = min;
  range_.max = max;
  MoveTo(range_.start);
}

bool NCProgress::SetValue(float value) {
  if (entry_ && !std::isnan(value)) MoveTo(range_.FractionOf(value));
  return !IsBreakPressed();
}

void NCProgress::SetText(const char* text) {
  if (entry_) entry_->SetText(text ? text : "");
}

bool NCProgress::PushSubRange(float from, float to) {
  const double start = range_.FractionOf(from);
  const double span = range_.FractionOf(to) - start;
  enclosing_.push_back(range_);
  range_ = {0.0F, 1.0F, start, span};
  MoveTo(start);
  return !IsBreakPressed();
}

bool NCProgress::PopSubRange() {
  if (enclosing_.empty()) return false;
  const double end = range_.start + range_.span;
  range_ = enclosing_.back();
  enclosing_.pop_back();
  MoveTo(end);
  return !IsBreakPressed();
}

bool NCProgress::NextSpin() {
  if (entry_) entry_->Spin();
  return !IsBreakPressed();
}

void NCProgress::SpinDone() {
  if (entry_) entry_->SpinDone();
}

bool NCProgress::IsBreakPressed() {
  if (isCancelled_.load(std::memory_order_relaxed)) return true;
  if (isEverythingCancelled.load(std::memory_order_relaxed)) return true;
  if (!display_ || !display_->IsCancelRequested()) return false;
  RequestCancel();
  return true;
}

void NCProgress::RequestCancelAll() noexcept {
  isEverythingCancelled.store(true, std::memory_order_relaxed);
}

void NCProgress::ClearCancelAll() noexcept {
  isEverythingCancelled.store(false, std::memory_order_relaxed);
}

std::shared_ptr<ProgressDisplay> NCProgress::SetDisplay(std::shared_ptr<ProgressDisplay> display) {
  std::shared_ptr<detail::DisplaySession> session;
  if (display) session = std::make_shared<detail::DisplaySession>(std::move(display));
  Installation& current = CurrentInstallation();
  const std::lock_guard lock(current.mutex);
  current.isInstalled.store(session != nullptr, std::memory_order_release);
  current.session.swap(session);
  return session ? session->Display() : nullptr;
}

// What is known of the whole is known of the outermost range.
void NCProgress::MoveTo(double fraction) {
  if (!entry_) return;
  const Range& outermost = enclosing_.empty() ? range_ : enclosing_.front();
  entry_->MoveTo(fraction, outermost.HasLength());
}

}  // namespace voran
