#include "tools/voran/model_file.h"

#include <chrono>
#include <csignal>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/program_runner.h"
#include "tools/voran/failure.h"
#include "voran/models/pls.h"

namespace program {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using tool::SavedModel;

class ModelFile : public Program {
 protected:
  // A model of three columns, one of which was dropped, and its bytes.
  std::string SmallModel() const {
    Put("t.csv", std::string("id,a,b,c,y\np,1,2,1,3\nq,2,1,1,5\nr,3,5,1,4\ns,5,4,1,9\n"));
    Done({"pls", "t.csv", "--y", "y", "--components", "1", "--transform", "a=log", "--save", "m"});
    return ContentOf(Path("m"));
  }

  // The sentence with which a file of these bytes is refused as bad data; empty if it is read.
  std::string RefusalOf(const std::string& bytes) const {
    Put("damaged", bytes);
    try {
      tool::ReadModel(Path("damaged").string());
    } catch (const tool::Failure& failure) {
      EXPECT_EQ(failure.Code(), tool::ExitCode::kBadData);
      return failure.what();
    }
    return {};
  }
};

TEST_F(ModelFile, HoldsAllThatThePredictionTakes) {
  SmallModel();
  const SavedModel model = tool::ReadModel(Path("m").string());
  EXPECT_EQ(model.kind, "pls");
  EXPECT_EQ(model.x.names, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(model.y.names, std::vector<std::string>{"y"});
  EXPECT_EQ(model.x.dropped, (tool::DroppedColumns{{"c", "no variance"}}));
  EXPECT_EQ(model.x.transforms[1].GetTransform(), TransformE::kLog);
  EXPECT_EQ(model.x.transforms[2].GetTransform(), TransformE::kNone);
  EXPECT_EQ(model.x.scales[1].centre, 3.0);
  EXPECT_EQ(model.y.scales[0].centre, 5.25);
  const auto summary = nlohmann::json::parse(model.summary);
  EXPECT_EQ(summary["command"], "pls");
  EXPECT_TRUE(summary["components"][0]["q2"].is_number());
}

TEST_F(ModelFile, IsTheSameForTheSameTable) {
  const std::string first = SmallModel();
  EXPECT_EQ(SmallModel(), first);
}

TEST_F(ModelFile, TheGoldenFileOfAnEarlierProgramIsRead) {
  const SavedModel model = tool::ReadModel(std::string(VORAN_GOLDEN_DIR) + "/pls.v1");
  EXPECT_EQ(model.kind, "pls");
  EXPECT_EQ(model.x.names, (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(model.further.empty() && model.classes.empty());
  Put("t.csv", std::string("id,a,b\np,1,2\nq,2,1\n"));
  const Outcome outcome = Run({"predict", std::string(VORAN_GOLDEN_DIR) + "/pls.v1", "t.csv", "--json", "--quiet"});
  const auto predictions = nlohmann::json::parse(outcome.out)["predictions"];
  EXPECT_NEAR(predictions[0]["predicted"][0].get<double>(), 2.978, 1e-3);
  EXPECT_NEAR(predictions[1]["distance"].get<double>(), 0.9562, 1e-3);
}

// Written by the first programs that had these entries: every later one has to read them.
TEST_F(ModelFile, GoldenFilesAreReadAndWrittenAgain) {
  const struct {
    const char* kind;
    std::vector<std::string> responses;
    float weight;     // the second of the first component
    float loading;    // the first of it
    double residual;  // the pooled standard deviation
    std::size_t numFurther;
    float further;  // the first element of the last matrix
    std::size_t numClassColumns;
  } cases[] = {
      {"pca", {}, 0.497511923f, 0.65060097f, 0.373679273, 0, 0.0f, 0},
      {"opls", {"k=u", "k=v"}, -0.619336843f, 0.304224014f, 0.377519597, 6, -0.955999553f, 1},
      {"o2pls", {"y", "z"}, 0.475266963f, 0.661943674f, 0.954962836, 9, 1.27807903f, 0},
      {"yopls", {"y"}, 0.216057003f, 0.657283366f, 0.430195556, 2, 0.518182218f, 0},
  };
  for (const auto& c : cases) {
    const std::string path = std::string(VORAN_GOLDEN_DIR "/") + c.kind + ".v1";
    const SavedModel model = tool::ReadModel(path);
    EXPECT_EQ(model.kind, c.kind);
    EXPECT_EQ(model.x.names, (std::vector<std::string>{"a", "b", "c"})) << c.kind;
    EXPECT_EQ(model.y.names, c.responses) << c.kind;
    EXPECT_EQ(model.x.scales[0].centre, 3.0) << c.kind;
    EXPECT_EQ(model.W[1][2], c.weight) << c.kind;
    EXPECT_EQ(model.P[1][1], c.loading) << c.kind;
    EXPECT_NEAR(model.spread.residual, c.residual, 1e-9) << c.kind;
    ASSERT_EQ(model.further.size(), c.numFurther) << c.kind;
    EXPECT_EQ(c.numFurther == 0 ? 0.0f : model.further.back()[1][1], c.further) << c.kind;
    ASSERT_EQ(model.classes.size(), c.numClassColumns) << c.kind;
    for (const auto& column : model.classes) EXPECT_EQ(column.classes, (std::vector<std::string>{"u", "v"}));
    std::ostringstream out(std::ios::binary);
    tool::WriteModel(out, model);
    EXPECT_EQ(out.str(), ContentOf(path)) << c.kind;
  }
}

TEST_F(ModelFile, WhatTheKindWantsIsChecked) {
  const auto refusalOf = [&](const SavedModel& model) {
    std::ostringstream out(std::ios::binary);
    tool::WriteModel(out, model);
    return RefusalOf(out.str());
  };
  for (const char* const command : {"pls", "opls", "yopls"}) {
    Done(
        {command, DataFile("linnerud"), "--y", "y_waist", "--components", "1", "--no-cv", "--save", "m",
         std::string(command) == "yopls" ? "--y-ortho=1" : (std::string(command) == "opls" ? "--ortho=1" : "--quiet")});
    const SavedModel good = tool::ReadModel(Path("m").string());
    EXPECT_EQ(good.kind, command);
    EXPECT_EQ(refusalOf(good), "");
    SavedModel bad = good;
    bad.kind = "other";
    EXPECT_THAT(refusalOf(bad),
                HasSubstr("is a model of the kind \"other\", which this version of voran does not know"));
    bad = good;
    bad.kind = bad.kind == "pls" ? "opls" : "pls";
    EXPECT_THAT(refusalOf(bad), HasSubstr("is cut off or damaged"));
    bad = good;
    bad.further.emplace_back(1, 1, 0.0f);
    EXPECT_THAT(refusalOf(bad), HasSubstr("is cut off or damaged"));
    bad = good;
    bad.spread.scoreVariances.push_back(1.0);
    EXPECT_THAT(refusalOf(bad), HasSubstr("is cut off or damaged"));
    bad = good;
    bad.ySpread = good.spread;
    EXPECT_THAT(refusalOf(bad), HasSubstr("is cut off or damaged")) << "it does not predict X";
    bad = good;
    if (bad.further.empty()) continue;
    bad.further[1].RemoveColumns(1, 1);
    EXPECT_THAT(refusalOf(bad), HasSubstr("is cut off or damaged"));
  }
}

TEST_F(ModelFile, MatricesOfOrthogonalComponentsThatAreNotThereAreRefused) {
  Done({"opls", DataFile("linnerud"), "--y", "y_waist", "--components", "1", "--ortho", "0", "--no-cv", "--save", "m"});
  const SavedModel good = tool::ReadModel(Path("m").string());
  ASSERT_EQ(good.further.size(), 3U);
  for (std::size_t k = 0; k < good.further.size(); ++k) {
    SavedModel bad = good;
    bad.further[k] = NCDataMatrix<float>(2, 1, 0.5f);
    std::ostringstream out(std::ios::binary);
    tool::WriteModel(out, bad);
    EXPECT_THAT(RefusalOf(out.str()), HasSubstr("is cut off or damaged")) << k;
  }
}

TEST_F(ModelFile, CutsAndDamagedBytesAreRefused) {
  // The largest layout: stages, orthogonal components and classes.
  Put("t.csv", std::string("id,a,b,c,y\np,1,2,1,u\nq,2,1,2,v\nr,3,5,1,u\ns,5,4,4,v\n"));
  Done({"opls", "t.csv", "--y", "y", "--ortho", "1", "--no-cv", "--save", "m"});
  const std::string good = ContentOf(Path("m"));
  const auto isRead = [](const std::string& bytes) {
    std::istringstream in(bytes, std::ios::binary);
    SavedModel model;
    return ReadStreamable(in, model);
  };
  ASSERT_TRUE(isRead(good));
  constexpr std::size_t kStep = 7;  // meets every place of a field of 4 or 8 bytes, and every bit
  for (std::size_t length = 0; length < good.size(); length += kStep) {
    ASSERT_FALSE(isRead(good.substr(0, length))) << length;
  }
  for (std::size_t i = 0; i < good.size(); i += kStep) {
    std::string bad = good;
    bad[i] = static_cast<char>(bad[i] ^ (1 << i % 8));
    ASSERT_FALSE(isRead(bad)) << "byte " << i;
  }
}

TEST_F(ModelFile, AFileOfAnotherKindIsRefusedInOneSentence) {
  const std::string good = SmallModel();
  Put("cut", good.substr(0, good.size() / 2));
  Put("empty", std::string());
  std::ostringstream stream(std::ios::binary);
  NCPLS other;
  ASSERT_TRUE(WriteStreamable(stream, other));
  Put("other", stream.str());
  fs::create_directory(Path("folder"));
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"cut", "cut: is cut off or damaged; fit the model again"},
      {"empty", "empty: is no model, or it is damaged at its beginning"},
      {"other", "other: is no model, or it is damaged at its beginning"},
      {"t.csv", "t.csv: is no model, or it is damaged at its beginning"},
      {"folder", "folder: is no model, or it is damaged at its beginning"},
      {"none", "none: cannot be opened: No such file"},
  };
  for (const auto& [file, says] : cases) ExpectRefusal({"predict", file, "t.csv", "--out", "made"}, 3, says);
  EXPECT_FALSE(fs::exists(Path("made")));
}

TEST_F(ModelFile, NamesMayHoldAnything) {
  // A comma, quotation marks, a line end, bytes that are no UTF-8; a constant column of such a name is dropped.
  const std::string header = "id,\"a, b\",\"say \"\"x\"\"\",\"two\nlines\",caf\xe9,\xff,\"y, \xfe\"\n";
  Put("t.csv", header + "p,1,2,7,4,1,3\nq,2,1,3,5,1,5\nr,3,5,4,1,1,4\ns,5,4,1,2,1,9\n");
  Done({"pls", "t.csv", "--y", "y, \xfe", "--components", "1", "--no-cv", "--save", "m", "--out", "fit"});
  const SavedModel model = tool::ReadModel(Path("m").string());
  EXPECT_EQ(model.x.names, (std::vector<std::string>{"a, b", "say \"x\"", "two\nlines", "caf\xe9"}));
  EXPECT_EQ(model.y.names, std::vector<std::string>{"y, \xfe"});
  const Outcome outcome = Run({"predict", "m", "t.csv", "--out", "r", "--json", "--quiet"});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_FALSE(nlohmann::json::parse(outcome.out, nullptr, false).is_discarded());
  EXPECT_THAT(ContentOf(Path("r/predictions.csv")), StartsWith("id,\"y, \xfe\"\np,"));
  Put("lacking.csv", std::string("id,\"a, b\"\np,1\n"));
  ExpectRefusal({"predict", "m", "lacking.csv"}, 3, "3 columns that the model needs are not there");
}

TEST_F(ModelFile, SaveLeavesNothingThatIsNotWhole) {
  SmallModel();
  Put("kept", std::string("mine"));
  Put("constant.csv", std::string("id,a,y\np,1,3\nq,2,3\nr,4,3\n"));
  fs::create_directory(Path("folder"));
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const auto before = Files();
  struct Case {
    const char* table;
    const char* target;
    int code;
    const char* says;
  };
  const std::vector<Case> cases = {
      {"t.csv", "folder", 2, "--save: folder is a folder; give a file"},
      {"t.csv", "", 2, "--save: the name is empty"},
      {"t.csv", "none/m", 2, "--save: none/m cannot be written: No such file"},
      {"t.csv", "/proc/m", 2, "--save: /proc/m cannot be written"},
      {"t.csv", "pipe", 2, "--save: pipe is a device or a pipe"},
      {"t.csv", "/dev/null", 2, "--save: /dev/null is a device or a pipe"},
      {"t.csv", "./t.csv", 2, "--save: ./t.csv is the input itself"},
      {"constant.csv", "kept", 3, "response \"y\" cannot be modelled (no variance)"},
      {"constant.csv", "new", 3, "response \"y\" cannot be modelled (no variance)"},
      {"none.csv", "new", 3, "none.csv: cannot be opened"},
  };
  for (const Case& c : cases) {
    ExpectRefusal({"pls", c.table, "--y", "y", "--components", "1", "--no-cv", "--save", c.target}, c.code, c.says);
    EXPECT_EQ(Files().size(), before.size()) << c.says;
  }
  EXPECT_EQ(ContentOf(Path("kept")), "mine");
  ExpectRefusal({"pls", "t.csv", "--y", "y", "--components", "1", "--no-cv", "--out", "o", "--save", "./o/scores.csv"},
                2, "--save: ./o/scores.csv is a file that --out writes, too");
  EXPECT_EQ(Files().size(), before.size());
  Done({"pls", "t.csv", "--y", "y", "--components", "1", "--no-cv", "--save", "kept"});
  EXPECT_EQ(RefusalOf(ContentOf(Path("kept"))), "");
}

TEST_F(ModelFile, BreakingOffLeavesWhatWasThere) {
  // Random numbers and many small groups: the cross-validation takes very long.
  std::string text;
  unsigned state = 1;
  for (int c = 0; c < 40; ++c) text += fmt::format("{}x{}", c == 0 ? "" : ",", c);
  text += '\n';
  for (int i = 0; i < 1500; ++i) {
    for (int c = 0; c < 40; ++c) {
      text += fmt::format("{}{}", c == 0 ? "" : ",", (state = state * 1664525u + 1013904223u) >> 8);
    }
    text += '\n';
  }
  Put("t.csv", text);
  Put("m", std::string("old"));
  const std::vector<std::vector<std::string>> commands = {
      {"pls", "t.csv", "--y", "x0..x4", "--components", "30", "--cv-groups", "1500"},
      {"pca", "t.csv", "--components", "30", "--cv-groups", "40", "--max-iterations", "1000000000"}};
  for (std::vector<std::string> command : commands) {
    command.insert(command.end(), {"--save", "m", "--out", "made"});
    const pid_t child = Start(command);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    kill(child, SIGINT);
    const Outcome outcome = Finish(child);
    // A very fast machine may be done by then; the results are whole in that case.
    if (outcome.code == 0) GTEST_SKIP() << "the run was over before the signal came";
    EXPECT_EQ(outcome.code, 130);
    EXPECT_THAT(outcome.err, HasSubstr("voran: cancelled\n"));
    EXPECT_EQ(ContentOf(Path("m")), "old");
    EXPECT_THAT(Files(), UnorderedElementsAre("t.csv", "m"));
  }
}

}  // namespace
}  // namespace program
