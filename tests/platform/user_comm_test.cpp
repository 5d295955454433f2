#include "voran/platform/user_comm.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

namespace {

class Willing : public UserComm {
 public:
  void NotifyUser(const ExceptionMessageList&, const ExceptionMessageList&, int) override {}
  int AskUser(const ExceptionMessageList&, const ExceptionMessageList&, int) override { return 1; }
};

TEST(Questions, AreDeclinedWhileNobodyCanAnswer) {
  const ExceptionMessage text = ExceptionMessage::translate("Fill the disk?");
  UserComm* const nobody = UserComm::GetUserComm();
  EXPECT_EQ(nobody->AskUser(text, text, UserComm::kDeclined), 3);

  auto other = std::make_unique<Willing>();
  UserComm* const installed = other.get();
  EXPECT_EQ(UserComm::SetUserComm(std::move(other)), nullptr);
  EXPECT_EQ(UserComm::GetUserComm(), installed);
  EXPECT_EQ(UserComm::SetUserComm(nullptr).get(), installed);
  EXPECT_EQ(UserComm::GetUserComm(), nobody);
}

}  // namespace
