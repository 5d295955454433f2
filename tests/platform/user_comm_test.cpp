#include "voran/platform/user_comm.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

class Willing : public UserComm {
 public:
  void NotifyUser(const ExceptionMessageList& text, const ExceptionMessageList&, int number) override {
    heard += text.GetText() + std::to_string(number);
  }
  int AskUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int) override {
    heard += caption.GetText() + "/" + text.GetText();
    return 1;
  }

  std::string heard;
};

TEST(Questions, AreDeclinedWhileNobodyCanAnswer) {
  const ExceptionMessage text = ExceptionMessage::translate("Fill the disk?");
  UserComm* const nobody = UserComm::GetUserComm();
  EXPECT_EQ(nobody->AskUser(text, text, UserComm::kDeclined), 3);

  auto answerer = std::make_unique<Willing>();
  Willing* const willing = answerer.get();
  EXPECT_EQ(UserComm::SetUserComm(std::move(answerer)), nullptr);
  EXPECT_NE(UserComm::GetUserComm()->AskUser(text, ExceptionMessage::translate("Disk"), UserComm::kDeclined), 3);
  UserComm::GetUserComm()->NotifyUser(text, ExceptionMessageList(), 42);
  EXPECT_EQ(willing->heard, "Disk/Fill the disk?Fill the disk?42");

  EXPECT_EQ(UserComm::SetUserComm(nullptr).get(), willing);
  EXPECT_EQ(UserComm::GetUserComm(), nobody);
}

}  // namespace
