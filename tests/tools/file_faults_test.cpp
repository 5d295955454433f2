#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include "tests/platform/limited.h"
#include "tests/tools/program_runner.h"

namespace program {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

/// One way to write, to a disk on which everything that it would replace is there already.
struct Writer {
  std::vector<std::string> arguments;
  std::string named;  ///< what the message has to name
};

const std::vector<Writer> kWriters = {
    {{"pls", "t.csv", "--y", "y", "--components", "20", "--no-cv", "--save", "disk/m"}, "disk/m"},
    {{"pca", "t.csv", "--components", "20", "--out", "disk/r"}, "disk/r"},
    {{"pca", "t.csv", "--components", "20", "--out", "disk/new/r"}, "disk/new"},
    {{"cluster", "t.csv", "--svg", "disk/tree.svg"}, "disk/tree.svg"},
    {{"cluster", "t.csv", "--method", "single", "--memory", "1K"}, "disk"},
};

/// A folder "disk" with files in it, in which temporary files are kept, too.
class FileFaults : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    std::string text;
    for (int c = 1; c <= 60; ++c) text += fmt::format("x{},", c);
    text += "y\n";
    unsigned state = 1;
    for (int i = 0; i < 120 * 61; ++i) {
      text += fmt::format("{}{}", (state = state * 1664525u + 1013904223u) >> 8, i % 61 == 60 ? '\n' : ',');
    }
    Put("t.csv", text);
    fs::create_directory(Path("disk"));
    before_ = Environment("TMPDIR");
    SetEnvironment("TMPDIR", Path("disk").string());
  }
  void TearDown() override {
    SetEnvironment("TMPDIR", before_);
    if (isMounted_) umount2(Path("disk").c_str(), MNT_DETACH);
    Program::TearDown();
  }

  /// False where the rights do not allow it.
  bool Mount() {
    isMounted_ = mount("tmpfs", Path("disk").c_str(), "tmpfs", 0, "size=64k") == 0;
    return isMounted_;
  }

  void Fill() const {
    fs::create_directory(Path("disk/r"));
    for (const char* const name : {"m", "tree.svg", "r/scores.csv", "r/summary.json"}) {
      Put(std::string("disk/") + name, std::string("old ") + name);
    }
  }

  std::map<std::string, std::string> Disk() const {
    std::map<std::string, std::string> contents;
    for (const auto& entry : fs::recursive_directory_iterator(Path("disk"))) {
      contents[entry.path().string()] = entry.is_regular_file() ? ContentOf(entry.path()) : "folder";
    }
    return contents;
  }

  void ExpectThatNothingIsChanged() const {
    const auto before = Disk();
    for (const Writer& writer : kWriters) {
      SCOPED_TRACE(fmt::format("{}", fmt::join(writer.arguments, " ")));
      const Outcome outcome = Run(writer.arguments);
      EXPECT_THAT(outcome.code, AnyOf(1, 2));
      EXPECT_THAT(outcome.err, HasSubstr("voran: "));
      EXPECT_THAT(outcome.err.substr(outcome.err.find("voran: ")), HasSubstr(writer.named));
      EXPECT_EQ(outcome.out, "");
      EXPECT_TRUE(Disk() == before);
    }
  }

 private:
  // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
  static std::string Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
  }
  static void SetEnvironment(const char* name, const std::string& value) {
    value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
  }
  // NOLINTEND(concurrency-mt-unsafe)

  std::string before_;
  bool isMounted_ = false;
};

TEST_F(FileFaults, AFullDiskChangesNothingAndIsTold) {
  if (!Mount()) GTEST_SKIP() << "a disk cannot be mounted here";
  Fill();
  std::ofstream filler(Path("disk/filler"), std::ios::binary);
  while (filler << std::string(4096, 'x') << std::flush) {
  }
  filler.close();
  fs::resize_file(Path("disk/filler"), 44 * 1024);  // some room: it is full amid a file
  ExpectThatNothingIsChanged();
}

TEST_F(FileFaults, AReadOnlyDiskChangesNothingAndIsTold) {
  if (!Mount()) GTEST_SKIP() << "a disk cannot be mounted here";
  Fill();
  ASSERT_EQ(mount("tmpfs", Path("disk").c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
  ExpectThatNothingIsChanged();
}

/// What the other two show, where nobody may mount anything: a write that fails amid a file.
TEST_F(FileFaults, ALimitOfSizeChangesNothingAndIsTold) {
  Fill();
  const Limited files(RLIMIT_FSIZE, 2000);
  ExpectThatNothingIsChanged();
}

/// Kills the command at so many moments, and expects of each that `check` holds and that the next run succeeds.
template <class Check>
int Kill(const std::function<pid_t()>& start, const std::function<Outcome(pid_t)>& finish, int moments,
         const Check& check) {
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  EXPECT_EQ(finish(start()).code, 0);
  const auto whole = Clock::now() - begin;
  int killed = 0;
  for (int moment = 1; moment <= moments; ++moment) {
    const pid_t child = start();
    std::this_thread::sleep_for(whole * moment / (moments + 1));
    kill(child, SIGKILL);
    if (finish(child).code == -SIGKILL) ++killed;
    check();
    EXPECT_EQ(finish(start()).code, 0) << "moment " << moment;
  }
  ::testing::Test::RecordProperty("kills", std::to_string(killed));
  return killed;
}

/// Elsewhere there is a moment in which a temporary file has a name.
bool HasNamelessFiles(const fs::path& folder) {
  const int file = open(folder.c_str(), O_TMPFILE | O_RDWR, 0600);
  if (file >= 0) close(file);
  return file >= 0;
}

TEST_F(FileFaults, AKilledClusteringOnDiskLeavesNothingInTheWay) {
  const std::vector<std::string> command = {"cluster", "t.csv", "--method", "single", "--memory",
                                            "1K",      "--out", "r",        "--quiet"};
  Done(command);
  const std::string merges = ContentOf(Path("r/merges.csv"));
  const int killed = Kill([&] { return Start(command); }, [&](pid_t child) { return Finish(child); }, 12,
                          [&] {
                            EXPECT_TRUE(!HasNamelessFiles(Path("disk")) || fs::is_empty(Path("disk")))
                                << "temporary files are left";
                            EXPECT_EQ(ContentOf(Path("r/merges.csv")), merges);
                          });
  EXPECT_GT(killed, 0);
}

TEST_F(FileFaults, AKilledSaveLeavesTheOldModelOrTheNew) {
  const std::vector<std::string> command = {"pls", "t.csv", "--y", "y", "--components", "20", "--no-cv", "--quiet"};
  const auto saving = [&command](const char* name) {
    std::vector<std::string> whole = command;
    whole.insert(whole.end(), {"--save", name});
    return whole;
  };
  Done(saving("new"));
  const std::string made = ContentOf(Path("new"));
  const int killed = Kill([&] { return Start(saving("disk/m")); }, [&](pid_t child) { return Finish(child); }, 12,
                          [&] {
                            EXPECT_THAT(ContentOf(Path("disk/m")), AnyOf("old", made));
                            Put("disk/m", std::string("old"));
                          });
  EXPECT_EQ(ContentOf(Path("disk/m")), made);
  EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace program
