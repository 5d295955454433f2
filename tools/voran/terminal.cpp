#include "tools/voran/terminal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <fmt/format.h>
#include <unistd.h>

#include "tools/voran/failure.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void Interrupt(int) {
  interrupted.store(true, std::memory_order_relaxed);
  NCProgress::RequestCancelAll();
}

bool CanRewriteLine() {
  const char* kind = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
  return kind != nullptr && std::string_view(kind) != "dumb" && isatty(STDERR_FILENO) != 0;
}

class TerminalDisplay : public ProgressDisplay {
 public:
  void Begin(const ProgressView& view) override { Show(view, true); }
  void ShowPosition(const ProgressView& view) override { Show(view, true); }
  void ShowSpin(const ProgressView& view) override { Show(view, false); }
  void End(const ProgressView& view) override {
    if (view.depth == 0) Put("\r\x1b[K");
  }

 private:
  // The outermost work alone: what goes on inside it would take turns with it in the same line.
  static void Show(const ProgressView& view, bool hasPosition) {
    constexpr int kBarWidth = 30;
    if (view.depth > 0) return;
    if (!hasPosition || !view.isLengthKnown) return Put(fmt::format("\r{} ...\x1b[K", view.text));
    const int done = static_cast<int>(view.fraction * kBarWidth);
    Put(fmt::format("\r{} [{:#<{}}{:.<{}}] {:3.0f} %\x1b[K", view.text, "", done, "", kBarWidth - done,
                    100.0 * view.fraction));
  }

  static void Put(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
  }
};

}  // namespace

void CatchSignals() {
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Interrupt;
    sigaction(number, &action, nullptr);
  }
}

const std::atomic<bool>& Interrupted() {
  return interrupted;
}

void StopIfInterrupted() {
  if (interrupted.load(std::memory_order_relaxed)) throw Cancelled();
}

std::shared_ptr<ProgressDisplay> MakeTerminalDisplay() {
  return CanRewriteLine() ? std::make_shared<TerminalDisplay>() : nullptr;
}

void WriteToStderr(const std::string& text) {
  fmt::print(stderr, "{}{}", CanRewriteLine() ? "\r\x1b[K" : "", text);
  std::fflush(stderr);
}

void WriteToStdout(const std::string& text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw Failure(ExitCode::kComputationFailed, "the summary could not be written to standard output");
}

}  // namespace tool
