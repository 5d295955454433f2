#pragma once

#include <string>

#include "tools/voran/failure.h"
#include "voran/platform/user_comm.h"

namespace tool {

/// Ends the run where a question of the library was answered by no, or there was nobody to answer it.
class Declined : public Failure {
 public:
  explicit Declined(bool wasAsked);
  bool WasAsked() const { return wasAsked_; }

 private:
  bool wasAsked_;
};

/// The user at the terminal. Notices go to standard error. Questions are asked there if standard input is a terminal
/// too, and need a yes; otherwise they are declined. Declining throws `Declined`, through the library.
class TerminalUser : public UserComm {
 public:
  /// `source` stands in front of notices. Who wants quiet gets neither notices nor questions.
  TerminalUser(std::string source, bool isQuiet) : source_(std::move(source)), isQuiet_(isQuiet) {}

  void NotifyUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int number) override;
  int AskUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int declineCode) override;

 protected:
  /// Whether there is somebody to answer.
  bool CanAsk() const;
  /// Throws `Declined` unless the answer is yes.
  void Ask(const std::string& question) const;

 private:
  std::string source_;
  bool isQuiet_;
};

}  // namespace tool
