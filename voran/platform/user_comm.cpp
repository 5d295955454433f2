#include "voran/platform/user_comm.h"

#include <utility>

inline namespace voran {
namespace {

class NobodyToAsk final : public UserComm {
 public:
  void NotifyUser(const ExceptionMessageList&, const ExceptionMessageList&, int) override {}
  int AskUser(const ExceptionMessageList&, const ExceptionMessageList&, int declineCode) override {
    return declineCode;
  }
};

std::unique_ptr<UserComm>& Installed() {
  static std::unique_ptr<UserComm> installed;
  return installed;
}

}  // namespace

UserComm::~UserComm() = default;

UserComm* UserComm::GetUserComm() {
  static NobodyToAsk nobody;
  UserComm* const installed = Installed().get();
  return installed ? installed : &nobody;
}

std::unique_ptr<UserComm> UserComm::SetUserComm(std::unique_ptr<UserComm> answerer) {
  return std::exchange(Installed(), std::move(answerer));
}

}  // namespace voran
