#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
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

/// Ways to write, to a disk on which everything that they would replace is there already, and what the message names.
const std::pair<const char*, const char*> kWriters[] = {
    {"pls t.csv --y y --components 20 --no-cv --save disk/m", "disk/m"},
    {"pca t.csv --components 20 --out disk/r", "disk/r"},
    {"pca t.csv --components 20 --out disk/new/r", "disk/new"},
    {"cluster t.csv --svg disk/tree.svg", "disk/tree.svg"},
    {"cluster t.csv --method single --memory 1K", "disk"},
};

/// A folder "disk" with files in it, in which temporary files are kept, too.
class FileFaults : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    Put("t.csv", RandomTable(120, 61));
    fs::create_directory(Path("disk"));
    setenv("TMPDIR", Path("disk").c_str(), 1);  // NOLINT(concurrency-mt-unsafe): there is one thread
  }
  void TearDown() override {
    unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
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
    for (const std::string name : {"m", "tree.svg", "r/scores.csv", "r/summary.json"}) {
      Put("disk/" + name, "old " + name);
    }
  }

  void ExpectThatNothingIsChanged() const {
    const auto disk = [this] {
      std::map<std::string, std::string> contents;
      for (const auto& entry : fs::recursive_directory_iterator(Path("disk"))) {
        contents[entry.path().string()] = entry.is_regular_file() ? ContentOf(entry.path()) : "folder";
      }
      return contents;
    };
    const auto before = disk();
    for (const auto& [line, named] : kWriters) {
      SCOPED_TRACE(line);
      const Outcome outcome = Run(Words(line));
      EXPECT_THAT(outcome.code, AnyOf(1, 2));
      ASSERT_THAT(outcome.err, HasSubstr("voran: "));
      EXPECT_THAT(outcome.err.substr(outcome.err.find("voran: ")), HasSubstr(named));
      EXPECT_EQ(outcome.out, "");
      EXPECT_TRUE(disk() == before);
    }
  }

  /// Kills the command at twelve moments, and expects of each that `check` holds and that the next run succeeds.
  template <class Check>
  void Kill(const std::vector<std::string>& command, const Check& check) const {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    Done(command);
    const auto whole = Clock::now() - begin;
    int killed = 0;
    for (int moment = 1; moment <= 12; ++moment) {
      const pid_t child = Start(command);
      std::this_thread::sleep_for(whole * moment / 13);
      kill(child, SIGKILL);
      if (Finish(child).code == -SIGKILL) ++killed;
      check();
      Done(command);
    }
    EXPECT_GT(killed, 0);
  }

 private:
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

TEST_F(FileFaults, AKilledClusteringOnDiskLeavesNothingInTheWay) {
  // Elsewhere there is a moment in which a temporary file has a name.
  const int nameless = open(Path("disk").c_str(), O_TMPFILE | O_RDWR, 0600);
  if (nameless >= 0) close(nameless);
  const std::vector<std::string> command = Words("cluster t.csv --method single --memory 1K --out r");
  Done(command);
  const std::string merges = ContentOf(Path("r/merges.csv"));
  Kill(command, [&] {
    EXPECT_TRUE(nameless < 0 || fs::is_empty(Path("disk"))) << "temporary files are left";
    EXPECT_EQ(ContentOf(Path("r/merges.csv")), merges);
  });
}

TEST_F(FileFaults, AKilledSaveLeavesTheOldModelOrTheNew) {
  const std::string command = "pls t.csv --y y --components 20 --no-cv --save ";
  Do(command + "new");
  const std::string made = ContentOf(Path("new"));
  Kill(Words(command + "disk/m"), [&] {
    EXPECT_THAT(ContentOf(Path("disk/m")), AnyOf("old", made));
    Put("disk/m", std::string("old"));
  });
  EXPECT_EQ(ContentOf(Path("disk/m")), made);
}

}  // namespace
}  // namespace program
