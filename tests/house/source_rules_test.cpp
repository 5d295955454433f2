#include "tests/house/source_rules.h"

#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The rules themselves: each refuses the breach it is there for, and lets its neighbour pass.

namespace house {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(SourceRules, IncludesFollowTheLayers) {
  const std::pair<const char*, const char*> allowed[] = {
      {"voran/models/pca.h", "<voran/containers/data_matrix.h>"},
      {"voran/orthogonal/opls.h", "\"voran/models/pls.h\""},
      {"voran/platform/nc_error.h", "\"voran/export.h\""},
      {"tools/voran/main.cpp", "\"voran/models/pca.h\""},
      {"voran/cluster/mega_distances.cpp", "\"voran/statistics/distributions.h\""},
      {"voran/containers/kernels/dot.cpp", "<hwy/highway.h>"},
      {"voran/containers/data_vector.cpp", "\"voran/containers/kernels/dot.h\""},
      {"examples/pca.cpp", "<voran/voran.h>"},
  };
  for (const auto& [from, target] : allowed) {
    EXPECT_THAT(CheckIncludes({from, "#include " + std::string(target) + "\n"}), IsEmpty());
  }
  const std::pair<const char*, const char*> refused[] = {
      {"voran/containers/data_matrix.cpp", "\"voran/models/pca.h\""},
      {"voran/models/pca.h", "\"voran/orthogonal/opls.h\""},
      {"voran/signal/fft.cpp", "<voran/statistics/sta.h>"},
      {"voran/cluster/mega_distances.cpp", "\"voran/statistics/incomplete_beta.h\""},
      {"voran/cluster/dendrogram.cpp", "\"voran/statistics/distributions.h\""},
      {"voran/models/pca.cpp", "\"voran/voran.h\""},
      {"voran/models/pca.cpp", "\"tools/voran/table.h\""},
      {"voran/models/pca.cpp", "\"pca.h\""},
      {"voran/unknown/thing.cpp", "\"voran/containers/data_matrix.h\""},
      {"voran/containers/data_vector.cpp", "<hwy/highway.h>"},
      {"examples/pca.cpp", "<voran/models/pca.h>"},
  };
  for (const auto& [from, target] : refused) {
    EXPECT_EQ(CheckIncludes({from, "#  include " + std::string(target) + "\n"}).size(), 1u) << from << ": " << target;
  }
  EXPECT_THAT(CheckIncludes({"voran/platform/a.cpp", "// one\n\n#include \"voran/models/pca.h\"\n"}),
              ElementsAre("voran/platform/a.cpp:3: platform may not include models: voran/models/pca.h"));
}

TEST(SourceRules, AHeaderIsPublicForWhatItDeclaresOutsideDetail) {
  const std::string open = "#pragma once\n#include <map>\ninline namespace voran {\nnamespace detail {\nclass A;\n";
  const std::string close = "}  // namespace detail\ntemplate <typename T>\nclass B;\n";
  EXPECT_FALSE(IsPublicHeader({"voran/models/a.h", open + "inline int f() { return 1; }\n" + close + "}\n"}));
  EXPECT_TRUE(IsPublicHeader({"voran/models/a.h", open + close + "class VORAN_EXPORT C {};\n}\n"}));
  EXPECT_TRUE(IsPublicHeader({"voran/models/a.h", open + close + "int f();\n}\n"}));
  EXPECT_FALSE(IsPublicHeader({"voran/models/kernels/a.h", "int f();"}));
  EXPECT_FALSE(IsPublicHeader({"tools/voran/a.h", "int f();"}));
}

TEST(SourceRules, CommentsAndStringsAreNoCode) {
  const char* text =
      "// printf(\"x\");\n/* std::cout\n   abort(); */\nconst char* s = \"exit(1) // \\\" getenv(\";\nchar q = '\"';\n";
  EXPECT_THAT(CheckManners({"voran/models/pca.cpp", text}), IsEmpty());
  EXPECT_THAT(CheckManners({"voran/models/pca.cpp", std::string(text) + "printf(q);\n"}),
              ElementsAre(HasSubstr("pca.cpp:6: the library does not print")));
}

TEST(SourceRules, TheLibraryKeepsItsManners) {
  const char* bad[] = {"#include <iostream>", "std::cerr << 1;", "std::fprintf(stderr, s);", "puts(s);",
                       "std::abort();",       "exit(1);",        "std::getenv(s)",           "setlocale(LC_ALL, s);"};
  for (const char* line : bad) {
    EXPECT_EQ(CheckManners({"voran/models/pca.cpp", line}).size(), 1u) << line;
    EXPECT_THAT(CheckManners({"tools/voran/main.cpp", line}), IsEmpty()) << line;
  }
  EXPECT_THAT(CheckManners({"voran/models/pca.cpp", "std::snprintf(b, n, s); atexit_count = on_exit; p.Exit(1);"}),
              IsEmpty());
  EXPECT_THAT(CheckManners({"voran/containers/simd_target.cpp", "std::getenv(s)"}), IsEmpty());
  EXPECT_THAT(CheckManners({"voran/platform/temporary_files.cpp", "std::getenv(s)"}), IsEmpty());
}

TEST(SourceRules, SwitchesThatChangeNumbersAreRefused) {
  const char* bad[] = {"target_compile_options(voran PRIVATE -ffast-math)", "set(CMAKE_CXX_FLAGS -Ofast)",
                       "add_compile_options(-march=native)", "add_compile_options(-ffp-contract=fast)"};
  for (const char* line : bad) EXPECT_EQ(CheckFloatingPointSwitches({"voran/CMakeLists.txt", line}).size(), 1u) << line;
  EXPECT_THAT(CheckFloatingPointSwitches({"voran/a.cpp", "#pragma GCC optimize(\"O3\")"}), testing::SizeIs(1));
  EXPECT_THAT(CheckFloatingPointSwitches({"voran/CMakeLists.txt", "-ffp-contract=off -O2"}), IsEmpty());
}

}  // namespace
}  // namespace house
