#include "voran/platform/folder_stream_source.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class FolderSource : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "voran-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  FolderStreamSource Source() const { return FolderStreamSource(folder_); }
  void Write(const std::string& name, const std::string& text) const { *Source().OpenOutput(name) << text; }
  /// "(none)" if there is no such stream.
  std::string Read(const std::string& name) const {
    const auto stream = Source().OpenInput(name);
    return stream ? std::string(std::istreambuf_iterator<char>(*stream), {}) : "(none)";
  }
  std::size_t Files() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
  }

  fs::path folder_;
};

TEST_F(FolderSource, AStreamTakesItsPlaceWhenItIsComplete) {
  const std::string first("a\0\r\n\x1a", 5);
  Write("Tree_1", first);
  EXPECT_EQ(Read("Tree_1"), first);
  {
    const auto other = Source().OpenOutput("Tree_1");
    const auto another = Source().OpenOutput("Tree_1");
    *other << "longer than before" << std::flush;
    *another << "x";
    EXPECT_EQ(Read("Tree_1"), first);
    other->seekp(0);
    *other << "L";
  }
  EXPECT_EQ(Read("Tree_1"), "Longer than before") << "the last one that was destroyed";
  EXPECT_EQ(Files(), 1u);
}

TEST_F(FolderSource, AWriteThatFailsLeavesWhatWasThere) {
  Write("t", "old");
  {
    const auto given = Source().OpenOutput("t");
    *given << "new";
    given->setstate(std::ios::badbit);
  }
  try {
    const auto interrupted = Source().OpenOutput("t");
    *interrupted << "new";
    throw std::runtime_error("broken off");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(Read("t"), "old");
  }
  Source().OpenOutput("u")->setstate(std::ios::failbit);
  EXPECT_EQ(Read("t"), "old");
  EXPECT_EQ(Read("u"), "(none)");
  EXPECT_EQ(Files(), 1u);
}

TEST_F(FolderSource, WhatCannotBeOpenedIsNull) {
  fs::create_directory(folder_ / "folder");
  std::ofstream(folder_ / ".hidden") << "x";
  for (const char* name : {"", "absent", "folder", ".hidden", "../", "folder/a", "a b", "\xc3\xa4", "a.b"}) {
    EXPECT_EQ(Read(name), "(none)") << name;
  }
  for (const char* name : {"", "folder", ".hidden", "../a", "folder/a", "a-b"}) {
    EXPECT_EQ(Source().OpenOutput(name), nullptr) << name;
  }
  EXPECT_EQ(FolderStreamSource(folder_ / "absent").OpenOutput("a"), nullptr);
  EXPECT_EQ(FolderStreamSource(folder_ / "absent").OpenInput("a"), nullptr);
  EXPECT_EQ(Files(), 2u);
}

}  // namespace
