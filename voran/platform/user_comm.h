#pragma once

#include <memory>

#include "voran/export.h"
#include "voran/platform/exception_message.h"

inline namespace voran {

/// Puts questions and notices to the user. The host derives its answerer from this class and installs it.
///
/// A single ExceptionMessage may be passed wherever a list is asked for. The library asks and notifies from the thread
/// that the caller's operation runs on. The virtual operations are, in order: destructor, NotifyUser, AskUser.
class VORAN_EXPORT UserComm {
 public:
  /// The answer by which the user declines.
  static constexpr int kDeclined = 3;

  /// The answerer in use, never null. It belongs to this class; the pointer is good until the next SetUserComm.
  ///
  /// Where none is installed it has nobody to ask: notices are dropped, and questions are declined, so that nothing is
  /// done that would have needed a user's consent.
  static UserComm* GetUserComm();

  /// Installs an answerer, null meaning the default one, and hands back the one installed before (null if none was).
  /// To be called while no operation of the library runs.
  static std::unique_ptr<UserComm> SetUserComm(std::unique_ptr<UserComm> answerer);

  UserComm() = default;
  UserComm(const UserComm&) = delete;
  UserComm& operator=(const UserComm&) = delete;
  virtual ~UserComm();

  /// Tells the user something that needs no answer. `number` identifies the notice, for a "do not show again".
  virtual void NotifyUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int number) = 0;

  /// Asks whether to go on. `declineCode` (kDeclined in every question of the library) is the value to return when the
  /// user declines; every other value means to go on.
  virtual int AskUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int declineCode) = 0;
};

}  // namespace voran
