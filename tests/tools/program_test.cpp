#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "tests/tools/program_runner.h"

namespace program {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

TEST_F(Program, BadInputGetsOneSentenceTheRightCodeAndNoFile) {
  Put("row.csv", "id,a,b\nr,1,2\n");
  Put("constant.csv", "a,b\n1,NA\n1,NA\n");
  Put("zero.csv", "a,b\n0,0\n0,0\n");
  Put("good.csv", "a,b\n1,2\n3,1\n4,7\n");
  std::vector<Refusal> refusals = {
      {"pca none.csv", 3, "none.csv: cannot be opened"},
      {"pca .", 3, "is a directory"},
      {"pca -", 3, "standard input: is empty"},
      {"pca row.csv", 3, "one row has no variance"},
      {"pca constant.csv", 3, "no column is left to model: a (no variance)"},
      {"pca zero.csv --scaling none", 3, "every value is zero"},
      {"pca @wine --x alcohol,class", 3, "\"cultivar1\" is not a number, which --x wants; NA marks a gap"},
      {"fisher @wine", 3, "\"cultivar1\" is not a number; add --exclude class"},
      {"pca @wine", 3, "line 2, column 2 (\"class\"): \"cultivar1\" is not a number; add --class class"},
      {"pca good.csv --exclude z", 2, "--exclude: the table has no column \"z\""},
      {"pca good.csv --components 0", 2, "--components"},
      {"pca good.csv --out /proc/none", 2, "--out: the folder /proc/none cannot be made"},
      {"pca good.csv --out /proc", 2, "--out: nothing can be written to /proc"},
      {"pca good.csv --out good.csv", 2, "is a file"},
      {"pca", 2, "TABLE is required"},
      {"frobnicate", 2, "there is no command frobnicate; see"},
      {"pac", 2, "there is no command pac (did you mean pca?); see"},
      {"pca good.csv --componets 2", 2, "not expected: --componets 2 (did you mean --components?); see"},
  };
  for (Refusal& refusal : refusals) {
    if (refusal.code == 3) refusal.line += " --out made/here";
  }
  ExpectRefusals("", refusals);
  const Outcome nothing = Run({});
  EXPECT_EQ(nothing.code, 2);
  EXPECT_THAT(nothing.err, HasSubstr("subcommand is required"));
}

TEST_F(Program, ResultsGoToStdoutAndToTheFolder) {
  Put("t.csv", "name,a,b,c,d\n\"x, 1\",1,2,5,4\ny,2,,5,1\nz,4,1,5,NA\n,,,5,\n");
  Put("kept.txt", "mine");
  const std::vector<std::string> command = Words("pca t.csv --id name --components 1 --out made/here --json");
  const Outcome outcome = Run(command);
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(Files(), UnorderedElementsAre("t.csv", "kept.txt", "made", "made/here", "made/here/summary.json",
                                            "made/here/scores.csv", "made/here/loadings.csv"));
  EXPECT_EQ(ContentOf(Path("made/here/summary.json")), outcome.out);
  const auto json = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(json["schema_version"], 1);
  EXPECT_EQ(json["missing"], nlohmann::json::parse(R"({"cells":5,"rows":3,"columns":3,"empty_rows":[""]})"));
  EXPECT_EQ(json["dropped_columns"], nlohmann::json::parse(R"([{"name":"c","reason":"no variance"}])"));
  EXPECT_EQ(json["components"].size(), 1u);
  const std::string scores = ContentOf(Path("made/here/scores.csv"));
  EXPECT_THAT(scores, StartsWith("name,t1\n\"x, 1\","));
  EXPECT_THAT(scores, ::testing::EndsWith("\n,\n"));
  EXPECT_THAT(ContentOf(Path("made/here/loadings.csv")), ::testing::ContainsRegex("^variable,p1\na,.*\nb,.*\nd,.*\n$"));
  EXPECT_EQ(Run(command).out, outcome.out) << "where there are results already";
}

TEST_F(Program, ThreadsDoNotChangeAByte) {
  for (const std::string threads : {"1", "3"}) {
    Do("pca @metabolites --class class_hours --threads " + threads + " --out " + threads);
  }
  for (const char* file : {"scores.csv", "loadings.csv", "summary.json"}) {
    EXPECT_EQ(ContentOf(Path("3") / file), ContentOf(Path("1") / file)) << file;
  }
}

TEST_F(Program, TellsOfTheIterationLimitAndOfMissingComponents) {
  const Outcome limited = Run(Words("pca @wine --class class --max-iterations 2 --components 14"));
  EXPECT_EQ(limited.code, 0);
  EXPECT_THAT(limited.out, HasSubstr("stopped at the iteration limit"));
  EXPECT_THAT(limited.out, HasSubstr("no more than 13 components: 178 rows and 13 columns have"));
  EXPECT_THAT(limited.err, HasSubstr("rows named by column \"id\""));
  EXPECT_EQ(Run(Words("pca @wine --class class --quiet")).err, "");
}

TEST_F(Program, ASignalWhileReadingLeavesNothing) {
  Put("dummy", "");
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  for (const int number : {SIGINT, SIGTERM}) {
    // The pipe is held open for writing, so the program waits for more than the two lines.
    const pid_t child = Start({"pca", "-", "--out", "results"}, "pipe");
    const int pipe = open(Path("pipe").c_str(), O_RDWR);
    ASSERT_EQ(write(pipe, "a,b\n1,2\n", 8), 8);
    for (int i = 0; i < 1000 && !fs::exists(Path("results")); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(fs::exists(Path("results")));
    kill(child, number);
    const Outcome outcome = Finish(child);
    close(pipe);
    EXPECT_EQ(outcome.code, 130);
    EXPECT_EQ(outcome.err, "voran: cancelled\n");
    EXPECT_THAT(Files(), UnorderedElementsAre("dummy", "pipe"));
  }
}

TEST_F(Program, ASignalWhileFittingLeavesWhatWasThere) {
  // Equal variances and random numbers: the iteration takes very long.
  Put("t.csv", RandomTable(60000, 6));
  fs::create_directory(Path("results"));
  Put("results/scores.csv", "old");
  const pid_t child = Start(Words("pca t.csv --max-iterations 1000000000 --components 6 --out results"));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  kill(child, SIGINT);
  const Outcome outcome = Finish(child);
  // A very fast machine may be done by then; the results are whole in that case.
  if (outcome.code == 0) GTEST_SKIP() << "the fit was over before the signal came";
  EXPECT_EQ(outcome.code, 130);
  EXPECT_EQ(ContentOf(Path("results/scores.csv")), "old");
  EXPECT_THAT(Files(), UnorderedElementsAre("t.csv", "results", "results/scores.csv"));
}

TEST_F(Program, AFullDiskIsNoticed) {
  const Outcome outcome = Finish(Start(Words("pca @wine --class class --quiet"), "/dev/null", "/dev/full"));
  EXPECT_EQ(outcome.code, 1);
  EXPECT_THAT(outcome.err, HasSubstr("could not be written to standard output"));
}

TEST_F(Program, HelpAndVersionSucceed) {
  EXPECT_THAT(Run({"--version"}).out, StartsWith("voran "));
  const Outcome help = Run({"pca", "--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_THAT(help.out, HasSubstr("--components"));
}

}  // namespace
}  // namespace program
