#include "tools/voran/terminal_user.h"

#include <cstdio>

#include <fmt/format.h>
#include <unistd.h>

#include "tools/voran/terminal.h"

namespace tool {
namespace {

bool IsYes(char answer) {
  return answer == 'y' || answer == 'Y';
}

// The first letter of the line that the user types; a line feed if he types nothing, and at the end of the input.
char ReadAnswer() {
  const int first = std::getchar();
  for (int c = first; c != '\n' && c != EOF;) c = std::getchar();
  return first == EOF ? '\n' : static_cast<char>(first);
}

}  // namespace

Declined::Declined(bool wasAsked)
    : Failure(wasAsked ? ExitCode::kCancelled : ExitCode::kComputationFailed,
              wasAsked ? "cancelled" : "a question arose that needs a terminal to be answered"),
      wasAsked_(wasAsked) {}

void TerminalUser::NotifyUser(const ExceptionMessageList& text, const ExceptionMessageList& /*caption*/,
                              int /*number*/) {
  if (!isQuiet_) WriteToStderr(fmt::format("{}: {}\n", source_, text.GetText()));
}

int TerminalUser::AskUser(const ExceptionMessageList& text, const ExceptionMessageList& /*caption*/, int declineCode) {
  Ask(text.GetText());
  return declineCode + 1;
}

bool TerminalUser::CanAsk() const {
  return !isQuiet_ && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

void TerminalUser::Ask(const std::string& question) const {
  if (!CanAsk()) throw Declined(false);
  WriteToStderr(fmt::format("{}: {} [y/N] ", source_, question));
  if (!IsYes(ReadAnswer())) throw Declined(true);
}

}  // namespace tool
