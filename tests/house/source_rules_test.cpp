#include "tests/house/source_rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// The rules themselves: each refuses the breach it is there for, and lets its neighbour pass.

namespace house {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(SourceRules, IncludesFollowTheLayers) {
  struct Case {
    const char* from;
    const char* line;
    bool allowed;
  };
  const Case cases[] = {
      {"voran/models/pca.cpp", "#include \"voran/containers/data_matrix.h\"", true},
      {"voran/models/pca.h", "#include <voran/containers/data_matrix.h>", true},
      {"voran/orthogonal/opls.h", "#include \"voran/models/pls.h\"", true},
      {"voran/platform/nc_error.h", "#include \"voran/export.h\"", true},
      {"tools/voran/main.cpp", "#include \"voran/models/pca.h\"", true},
      {"voran/platform/nc_error.h", "#include \"voran/containers/data_matrix.h\"", false},
      {"voran/containers/data_matrix.cpp", "#  include \"voran/models/pca.h\"", false},
      {"voran/models/pca.h", "#include \"voran/orthogonal/opls.h\"", false},
      {"voran/signal/fft.cpp", "#include <voran/statistics/sta.h>", false},
      {"voran/cluster/mega_distances.cpp", "#include \"voran/statistics/distributions.h\"", true},
      {"voran/cluster/mega_distances.cpp", "#include \"voran/statistics/incomplete_beta.h\"", false},
      {"voran/cluster/dendrogram.cpp", "#include \"voran/statistics/distributions.h\"", false},
      {"voran/models/pca.cpp", "#include \"voran/voran.h\"", false},
      {"voran/models/pca.cpp", "#include \"tools/voran/table.h\"", false},
      {"voran/models/pca.cpp", "#include \"pca.h\"", false},
      {"voran/unknown/thing.cpp", "#include \"voran/containers/data_matrix.h\"", false},
      {"voran/containers/kernels/dot.cpp", "#include <hwy/highway.h>", true},
      {"voran/containers/data_vector.cpp", "#include <hwy/highway.h>", false},
      {"voran/containers/data_vector.cpp", "#include \"voran/containers/kernels/dot.h\"", true},
      {"examples/pca.cpp", "#include <voran/voran.h>", true},
      {"examples/pca.cpp", "#include <voran/models/pca.h>", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CheckIncludes({c.from, std::string(c.line) + "\n"}).empty(), c.allowed) << c.from << ": " << c.line;
  }
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

TEST(SourceRules, BreachesAreNamedByFileAndLine) {
  EXPECT_THAT(CheckIncludes({"voran/platform/a.cpp", "// one\n\n#include \"voran/models/pca.h\"\n"}),
              ElementsAre("voran/platform/a.cpp:3: platform may not include models: voran/models/pca.h"));
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
  const char* good[] = {"std::snprintf(b, n, s);", "atexit_count = on_exit;", "progress.Exit(1);",
                        "#include <istream>"};
  for (const char* line : good) EXPECT_THAT(CheckManners({"voran/models/pca.cpp", line}), IsEmpty()) << line;
  EXPECT_THAT(CheckManners({"voran/containers/simd_target.cpp", "std::getenv(s)"}), IsEmpty());
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
