#include "voran/platform/temporary_files.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using voran::detail::FilePointer;

TEST(TemporaryFileName, IsFreshAndInTheDirectory) {
  const fs::path first = VrGetTempFileName(nullptr, nullptr, nullptr);
  EXPECT_EQ(first.parent_path(), fs::temp_directory_path());
  EXPECT_NE(first, VrGetTempFileName(nullptr, nullptr, nullptr));
  const std::string named = VrGetTempFileName("/some/where", "vor-", "clu");
  EXPECT_EQ(named.size(), std::string("/some/where/vor-clu").size() + 32);
  EXPECT_EQ(named.substr(0, 16), "/some/where/vor-");
  EXPECT_EQ(named.substr(named.size() - 3), "clu");
}

TEST(TemporaryFile, HoldsWhatIsWrittenAndTakesNothingThatExists) {
  const std::string name = VrGetTempFileName(nullptr, "voran-test-", "");
  const FilePointer file = voran::detail::OpenTemporaryFile(name);
  ASSERT_TRUE(file);
  EXPECT_FALSE(fs::exists(name));
  const std::string text(100000, 'x');
  EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file.get()), text.size());
  voran::detail::ReleaseFilePart(file.get(), 0, 50000);
  std::rewind(file.get());
  std::string read(text.size(), ' ');
  EXPECT_EQ(std::fread(read.data(), 1, read.size(), file.get()), read.size());
  EXPECT_EQ(read.substr(50000), text.substr(50000));

  const FilePointer existing(std::fopen(name.c_str(), "wb"));
  EXPECT_FALSE(voran::detail::OpenTemporaryFile(name));
  EXPECT_TRUE(fs::remove(name));
}

TEST(FreeDiskSpace, IsKnownOfWhatExists) {
  const auto space = voran::detail::GetFreeDiskSpace(fs::temp_directory_path().string());
  ASSERT_TRUE(space);
  EXPECT_LE(*space, fs::space(fs::temp_directory_path()).capacity);
  EXPECT_FALSE(voran::detail::GetFreeDiskSpace("/not/there"));
}

}  // namespace
