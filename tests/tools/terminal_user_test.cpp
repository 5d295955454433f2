#include "tools/voran/terminal_user.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/voran/cluster_disk.h"
#include "tools/voran/memory_size.h"

namespace {

using tool::Declined;
using tool::TerminalUser;

constexpr int kGoesOn = 10;
constexpr int kSaidNo = 11;
constexpr int kNobody = 12;

int Ask(bool isQuiet) {
  TerminalUser user("t.csv", isQuiet);
  const ExceptionMessage question = ExceptionMessage::translate("Go on?");
  try {
    const int answer = user.AskUser(question, question, UserComm::kDeclined);
    return answer == UserComm::kDeclined ? 99 : kGoesOn;
  } catch (const Declined& declined) {
    return declined.WasAsked() ? kSaidNo : kNobody;
  }
}

// Asks in a process whose standard streams are a terminal at which `typed` is typed.
int AskAtTerminal(const std::string& typed, bool isQuiet, std::string& shown) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) _exit(Ask(isQuiet));
  EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
  char buffer[256];
  for (ssize_t n = read(terminal, buffer, sizeof(buffer)); n > 0; n = read(terminal, buffer, sizeof(buffer))) {
    shown.append(buffer, static_cast<std::size_t>(n));
  }
  int status = 0;
  waitpid(child, &status, 0);
  close(terminal);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(TerminalUser, OnlyAYesAtATerminalGoesOn) {
  const std::pair<const char*, int> cases[] = {
      {"y\n", kGoesOn}, {"Yes\n", kGoesOn}, {"\n", kSaidNo}, {"\x04", kSaidNo}, {"ok y\n", kSaidNo}};
  for (const auto& [typed, outcome] : cases) {
    std::string shown;
    EXPECT_EQ(AskAtTerminal(typed, false, shown), outcome) << typed;
    EXPECT_NE(shown.find("t.csv: Go on? [y/N] "), std::string::npos) << shown;
  }
  std::string shown;
  EXPECT_EQ(AskAtTerminal("y\n", true, shown), kNobody) << "who wants quiet is not asked";
  EXPECT_EQ(shown.find("Go on"), std::string::npos);
  const int input = dup(STDIN_FILENO);
  EXPECT_NE(freopen("/dev/null", "r", stdin), nullptr);
  EXPECT_EQ(Ask(false), kNobody);
  dup2(input, STDIN_FILENO);
  close(input);
}

TEST(ClusterUser, IsAskedOnlyWhereTheDiskLacksRoom) {
  struct Case {
    std::size_t rows;
    std::uint64_t free;
    const char* says;
  };
  const std::vector<Case> cases = {
      {2, 24, nullptr},
      {2, 23, "on disk they need 24 bytes in the folder /t, which has 23 bytes free"},
      // From here on the library's own count wraps.
      {46342, 25770415464, nullptr},
      {46342, 25770415463, "the distances of 46342 rows do not fit"},
      {65535, 51537248280, nullptr},
      {65535, 3221225472, "on disk they need 48.0 GiB in the folder /t, which has 3.0 GiB free"},
  };
  for (const Case& c : cases) {
    const auto shortage = tool::DiskShortage(c.rows, "/t", c.free);
    ASSERT_EQ(shortage.has_value(), c.says != nullptr) << c.rows << ' ' << c.free;
    if (shortage) {
      EXPECT_NE(shortage->find(c.says), std::string::npos) << *shortage;
    }
  }
  const ExceptionMessage question = ExceptionMessage::translate("Go on?");
  constexpr std::size_t kMoreThanAnyDisk = 100000000;
  EXPECT_NE(tool::ClusterUser("t.csv", 2, true).AskUser(question, question, UserComm::kDeclined), UserComm::kDeclined);
  EXPECT_THROW(tool::ClusterUser("t.csv", kMoreThanAnyDisk, true).AskUser(question, question, UserComm::kDeclined),
               tool::Failure);
}

TEST(TerminalUser, NoticesGoToStandardErrorUnlessQuiet) {
  const ExceptionMessage notice = ExceptionMessage::translate("It takes long.");
  ::testing::internal::CaptureStderr();
  TerminalUser("t.csv", false).NotifyUser(notice, notice, 1);
  TerminalUser("t.csv", true).NotifyUser(notice, notice, 1);
  const std::string shown = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(shown, "t.csv: It takes long.\n");
}

TEST(MemorySize, UnitsArePowersOf1024) {
  const std::pair<const char*, std::uint64_t> cases[] = {
      {"800000", 800000},     {"12B", 12},          {"64k", 65536},        {"256M", 268435456},
      {"1.5GiB", 1610612736}, {"2 GB", 2147483648}, {"3T", 3298534883328}, {"0.5kib", 512}};
  for (const auto& [text, bytes] : cases) EXPECT_EQ(tool::ReadMemorySize("--memory", text), bytes) << text;
  for (const char* wrong :
       {"", "M", "-1", "+1", "0", "0.1", "1e3", "1.2.3M", "1X", "1MX", "1 M B", "nan", "inf", "99999999T"}) {
    EXPECT_THROW(tool::ReadMemorySize("--memory", wrong), tool::Failure) << wrong;
  }
  EXPECT_EQ(tool::MemorySizeText(12), "12 bytes");
  EXPECT_EQ(tool::MemorySizeText(1610612736), "1.5 GiB");
}

}  // namespace
