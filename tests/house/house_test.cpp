#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/house/source_rules.h"
#include "voran/version.h"

// The repository itself, held against the rules that no compiler checks.

namespace house {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

const fs::path kRoot = VORAN_SOURCE_DIR;

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

// Every source and build file in the folders of the repository; the rules' own examples of breaches are left out.
std::vector<SourceFile> Repository() {
  std::vector<SourceFile> files = {{"CMakeLists.txt", Read(kRoot / "CMakeLists.txt")},
                                   {"CMakePresets.json", Read(kRoot / "CMakePresets.json")}};
  for (const char* folder : {"cmake", "voran", "tools", "tests", "benchmarks", "fuzz", "examples"}) {
    if (!fs::exists(kRoot / folder)) continue;
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
      const std::string extension = entry.path().extension().string();
      const std::string path = fs::relative(entry.path(), kRoot).generic_string();
      if (path.rfind("tests/house/source_rules", 0) == 0) continue;
      if (extension == ".h" || extension == ".cpp" || extension == ".txt" || extension == ".cmake") {
        files.push_back({path, Read(entry.path())});
      }
    }
  }
  return files;
}

Breaches CheckAll(Breaches (*rule)(const SourceFile&)) {
  Breaches all;
  for (const SourceFile& file : Repository()) {
    for (std::string& breach : rule(file)) all.push_back(std::move(breach));
  }
  return all;
}

TEST(House, IncludesFollowTheLayers) {
  EXPECT_THAT(CheckAll(CheckIncludes), IsEmpty());
}

TEST(House, TheLibraryKeepsItsManners) {
  EXPECT_THAT(CheckAll(CheckManners), IsEmpty());
}

TEST(House, NoSwitchChangesTheNumbers) {
  EXPECT_THAT(CheckAll(CheckFloatingPointSwitches), IsEmpty());
}

TEST(House, VoranHIncludesEveryPublicHeader) {
  std::vector<std::string> expected = {"voran/export.h", "voran/version.h"};
  for (const SourceFile& file : Repository()) {
    if (IsPublicHeader(file) && file.path != "voran/voran.h") expected.push_back(file.path);
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(IncludedPaths(Read(kRoot / "voran/voran.h")), expected);
}

// What voran.h reaches is what is installed; nothing in it may need the SIMD library or the inside of the kernels.
TEST(House, PublicHeadersReachNoKernel) {
  std::set<std::string> reached;
  std::vector<std::string> open = {"voran/voran.h"};
  while (!open.empty()) {
    const std::string path = open.back();
    open.pop_back();
    EXPECT_THAT(path, testing::Not(testing::AnyOf(testing::HasSubstr("/kernels/"), testing::StartsWith("hwy/"))));
    const bool isOurs = path.rfind("voran/", 0) == 0 && fs::exists(kRoot / path);  // not the generated ones
    if (!reached.insert(path).second || !isOurs) continue;
    for (std::string& next : IncludedPaths(Read(kRoot / path))) open.push_back(std::move(next));
  }
  EXPECT_GT(reached.size(), 10u);
}

TEST(House, ReadmeShowsTheExampleAndWhatItPrints) {
  const std::string example = Read(kRoot / "examples/pca.cpp");
  const std::string readme = Read(kRoot / "README.md");
  EXPECT_THAT(readme, testing::HasSubstr("```cpp\n" + example.substr(example.find("int main()")) + "```"));
  EXPECT_THAT(readme, testing::HasSubstr("```\n" + Read(kRoot / "examples/pca.expected.txt") + "```"));
}

TEST(House, LibraryTellsTheVersionOfItsHeaders) {
  EXPECT_STREQ(GetVersion(), VORAN_VERSION);
  const std::string numbers = std::to_string(VORAN_VERSION_MAJOR) + "." + std::to_string(VORAN_VERSION_MINOR) + "." +
                              std::to_string(VORAN_VERSION_PATCH);
  EXPECT_EQ(numbers, VORAN_VERSION);
}

}  // namespace
}  // namespace house
