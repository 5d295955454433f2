#include <cmath>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/picture_check.h"
#include "tests/tools/program_runner.h"

namespace program {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Relative: the table and the distances are floats.
constexpr double kTolerance = 2e-6;

using Cluster = Program;

TEST_F(Cluster, TreesAndGroupsAgreeWithR) {
  // R 4.2.2, hclust(dist(scale(x)), method) and cutree. A height of "ward.D2" is the square root of twice the growth of
  // the sum of squares. On wine, Ward's order of merging is another than R's.
  struct Case {
    const char* line;
    double unit;  // R's heights by ours
    std::vector<double> highest;
    double sum;
    std::vector<std::size_t> sizes;
  };
  const double root2 = std::sqrt(2.0);
  const std::vector<Case> cases = {
      {"@usarrests --method single", 1.0, {2.0580889, 1.2965798, 1.2609417}, 40.974097, {1, 1, 2, 46}},
      {"@usarrests", root2, {13.5162423, 7.1881893, 6.4618664}, 88.635203, {7, 12, 12, 19}},
      {"@wine --exclude class --method single", 1.0, {3.9921882, 3.8966055, 3.8495448}, 341.848547, {1, 1, 3, 173}},
      {"@gasoline --exclude octane", root2, {143.9024464, 74.8368193, 73.8741226}, 1018.400237, {5, 8, 18, 29}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    const json summary = Told(fmt::format("cluster {} --groups 4", c.line));
    std::vector<std::size_t> sizes;
    for (const json& group : summary["groups"]) sizes.push_back(group["size"]);
    EXPECT_THAT(sizes, ::testing::UnorderedElementsAreArray(c.sizes));
    double sum = 0.0;
    std::vector<double> heights;
    for (const json& merge : summary["merges"]) sum += heights.emplace_back(merge["height"].get<double>() * c.unit);
    EXPECT_NEAR(sum / c.sum, 1.0, kTolerance);
    for (std::size_t k = 0; k < c.highest.size(); ++k) {
      EXPECT_NEAR(heights[heights.size() - 1 - k] / c.highest[k], 1.0, kTolerance) << k;
    }
  }
  // The heights of the other type are the squares.
  const json squares = Told("cluster @usarrests --ward-type ss");
  EXPECT_NEAR(squares["merges"].back()["height"].get<double>(), 13.5162423 * 13.5162423 / 2.0, 1e-4);
}

// Groups as sets of ids, from a table of merges alone.
std::set<std::set<std::size_t>> GroupsOfMerges(const json& merges, std::size_t rows, std::size_t made) {
  std::map<std::size_t, std::set<std::size_t>> clusters;
  for (std::size_t i = 1; i <= rows; ++i) clusters[i] = {i};
  for (std::size_t p = 0; p < made; ++p) {
    auto joined = clusters.extract(merges[p]["first"].get<std::size_t>()).mapped();
    joined.merge(clusters.extract(merges[p]["second"].get<std::size_t>()).mapped());
    clusters[merges[p]["new"]] = joined;
  }
  std::set<std::set<std::size_t>> groups;
  for (auto& [id, members] : clusters) groups.insert(members);
  return groups;
}

TEST_F(Cluster, GroupsAreThoseOfTheMergesMade) {
  const std::string line = "cluster @wine --class class --out made ";
  const json merges = Told(line)["merges"];
  const std::size_t rows = 178;
  ASSERT_EQ(merges.size(), rows - 1);
  const auto groupsOf = [&](const std::string& option) {
    const json summary = Told(line + option);
    const TextCells cells = CellsOf(Path("made/groups.csv"));
    std::map<std::string, std::set<std::size_t>> groups;
    for (std::size_t i = 1; i < cells.size(); ++i) groups[cells[i][1]].insert(i);
    std::set<std::set<std::size_t>> sets;
    for (auto& [name, members] : groups) {
      EXPECT_EQ(members.size(), summary["groups"][std::stoul(name) - 1]["size"]);
      sets.insert(members);
    }
    return sets;
  };
  for (const std::size_t k : {1UL, 17UL, 178UL}) {
    EXPECT_EQ(groupsOf(fmt::format("--groups {}", k)), GroupsOfMerges(merges, rows, rows - k)) << k;
  }
  // A height as it stands in the file is one that was reached, though its digits are often less than the float.
  const TextCells cells = CellsOf(Path("made/merges.csv"));
  std::size_t p = 170;
  while (std::stod(cells[p][0]) >= static_cast<double>(std::stof(cells[p][0]))) --p;
  EXPECT_EQ(groupsOf("--cut " + cells[p][0]), GroupsOfMerges(merges, rows, p));
  EXPECT_EQ(groupsOf("--cut 1000"), GroupsOfMerges(merges, rows, 177));
  EXPECT_EQ(groupsOf("--cut 0"), GroupsOfMerges(merges, rows, 0));

  // Numbered as the tree is drawn.
  const json summary = Told(line + "--groups 3");
  std::size_t place = 0;
  for (const json& group : summary["groups"]) {
    const std::set<std::string> members = group["rows"];
    for (std::size_t i = 0; i < members.size(); ++i) EXPECT_EQ(members.count(summary["order"][place++]), 1u);
  }
  EXPECT_EQ(place, rows);
}

TEST_F(Cluster, TheSummaryTellsHeightsGroupsAndClasses) {
  const std::string iris = "cluster @iris --class class --method single --groups 2";
  const std::string out = Run(Words(iris)).out;
  EXPECT_THAT(out, HasSubstr("150 rows, 4 columns, single linkage, scaling uv, no gaps\n"));
  // Setosa stands apart from the other two.
  EXPECT_THAT(out, HasSubstr("  group, by class  rows  setosa  versicolor  virginica\n"
                             "  1                  50      50           0          0\n"
                             "  2                 100       0          50         50\n"));
  EXPECT_EQ(Told(iris)["classes"][0]["counts"], json({{50, 0, 0}, {0, 50, 50}}));

  Put("t.csv", "id,a,b\nx,1,2\ny,1,2\nz,1,2\n");
  EXPECT_THAT(Run(Words("cluster t.csv --scaling none --groups 2")).out,
              HasSubstr("  all rows are equal: every height is 0\n\n  groups  from  up to  range\n"
                        "  2          -      -      -\n  3          -      -      -\n\n"
                        "  group 1, 1 row: x\n  group 2, 2 rows: y, z\n"));
  EXPECT_EQ(Told("cluster t.csv --scaling none --cut 0")["groups"].size(), 1u);
  Put("one.csv", "id,a,b\nx,1,2\n");
  EXPECT_THAT(Run(Words("cluster one.csv --scaling none --out one")).out,
              HasSubstr("  one row is a tree of one leaf: there is nothing to join\n"));
  EXPECT_EQ(ContentOf(Path("one/merges.csv")), "height,first,second,new,first_row,second_row\n");
  EXPECT_EQ(ContentOf(Path("one/order.csv")), "id\nx\n");
  Put("four.csv", "id,k,a\n\"x,1\",p,1\ny,q,2\nz,,7\nv,q,9\n");
  EXPECT_THAT(Run(Words("cluster four.csv --class k --scaling none --method single --groups 2 --out four")).out,
              HasSubstr("  1 row of no class\n"));
  EXPECT_EQ(ContentOf(Path("four/merges.csv")),
            "height,first,second,new,first_row,second_row\n1,1,2,5,\"x,1\",y\n2,3,4,6,z,v\n5,5,6,7,,\n");
  EXPECT_EQ(ContentOf(Path("four/groups.csv")), "id,group,k\n\"x,1\",1,p\ny,1,q\nz,2,\nv,2,q\n");
  EXPECT_FALSE(fs::exists(Path("one/groups.csv")));
}

// Scaling by a power of two keeps the squares in range: sqrt(((3e20)^2 + (4e20)^2) / 2).
TEST_F(Cluster, LargeHeightsKeepTheirSize) {
  Put("large.csv", "id,a,b\nx,0,0\ny,3e20,4e20\n");
  for (const auto& [options, height] :
       {std::pair{"", 3.53553391e20}, std::pair{"--ward-type ss --cut 1e38", 1.25e41}}) {
    const json summary = Told(fmt::format("cluster large.csv --scaling none {}", options));
    EXPECT_NEAR(summary["merges"][0]["height"].get<double>() / height, 1.0, kTolerance) << options;
  }
}

TEST_F(Cluster, HeightsOfTheSummaryMakeItsGroups) {
  for (const char* const command :
       {"cluster @wine --class class --method single", "cluster @usarrests --ward-type ss --scaling none"}) {
    std::istringstream lines(Run(Words(command)).out);
    std::string line;
    while (std::getline(lines, line) && line.find("groups  ") == std::string::npos) continue;
    std::size_t shown = 0;
    for (std::string groups, from, upTo, range; lines >> groups >> from >> upTo >> range; ++shown) {
      if (from == "-") continue;
      for (const std::string& height : {from, upTo}) {
        const json cut = Told(fmt::format("{} --cut {}", command, height));
        EXPECT_EQ(std::to_string(cut["groups"].size()), groups) << height;
      }
    }
    EXPECT_EQ(shown, 9u);
  }
}

TEST_F(Cluster, DistancesOnDiskGiveTheSameTree) {
  const std::string line = "cluster @wine --class class --method single ";
  EXPECT_EQ(Told(line + "--memory 10K"), Told(line));
  EXPECT_THAT(Run(Words(line + "--memory 10K")).err,
              HasSubstr("will be used to temporarily store the calculated distances"));
  const std::pair<const char*, const char*> folders[] = {
      {"/absent/folder", "could not be opened (No such file or directory); set TMPDIR to another folder, or allow"},
      {"/proc", "on disk they need 369.2 KiB in the folder /proc, which has 0 bytes free; free some, set TMPDIR"}};
  for (const auto& [folder, says] : folders) {
    setenv("TMPDIR", folder, 1);  // NOLINT(concurrency-mt-unsafe): the test has one thread
    ExpectRefusal(Words(line + "--memory 20K"), 1, says);
    unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
  }
}

TEST_F(Cluster, ThePictureIsWellFormedAndNamesEveryRowOnce) {
  std::string table = "id,a\n\"<&\"\"'>\",7\n\xff\x01,9\n";
  for (int i = 0; i < 60; ++i) table += fmt::format("row number {} with a long name {},{}\n", i, i, i * i % 31);
  Put("t.csv", table);
  const auto draw = [this](const std::string& arguments) {
    Do("cluster " + arguments + " --svg tree.svg --out made");
    const std::string svg = ContentOf(Path("tree.svg"));
    ExpectWellFormed(svg);
    for (const auto& row : CellsOf(Path("made/order.csv"))) {
      if (row[0].find_first_of("<\xff") != std::string::npos || row[0] == "id") continue;
      EXPECT_EQ(CountOf(svg, ">" + row[0] + "<"), 1u) << row[0];
    }
    return svg;
  };
  const std::string wine = draw("@wine --class class --groups 3");
  // Squares of three classes, which are 59, 71 and 48 rows, and those of the legend.
  const std::pair<const char*, std::size_t> squares[] = {{"#440154", 60}, {"#22a884", 72}, {"#fde725", 49}};
  for (const auto& [colour, count] : squares) {
    const std::regex square(fmt::format("<rect [^>]*fill=\"{}\"", colour));
    EXPECT_EQ(std::distance(std::sregex_iterator(wine.begin(), wine.end(), square), std::sregex_iterator()),
              static_cast<std::ptrdiff_t>(count));
  }
  EXPECT_THAT(wine, AllOf(HasSubstr(">cultivar2</text>"), HasSubstr("stroke-dasharray")));
  EXPECT_THAT(draw("t.csv --method single --cut 0.01"),
              AllOf(HasSubstr("stroke-dasharray"), HasSubstr(">&lt;&amp;&quot;'&gt;</text>"),
                    HasSubstr(">\xef\xbf\xbd </text>")));
  for (const char* const without : {"t.csv --cut 100", "t.csv"}) {
    EXPECT_THAT(draw(without), Not(HasSubstr("stroke-dasharray"))) << "a line to cut by";
  }
}

TEST_F(Cluster, ATreeInTheCacheIsTakenAndADamagedOneReplaced) {
  const std::string plain = "cluster @wine --class class";
  const std::string fresh = Run(Words(plain)).out;
  const std::vector<std::string> arguments = Words(plain + " --cache kept/trees");
  const auto run = [&](const std::string& says) {
    Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, fresh);
    EXPECT_THAT(outcome.err, HasSubstr(says));
    return outcome;
  };
  EXPECT_THAT(run("").err, Not(HasSubstr("the tree")));
  const fs::path file = fs::directory_iterator(Path("kept/trees"))->path();
  EXPECT_THAT(file.filename().string(), ::testing::MatchesRegex("Dendro_178_13_[0-9a-f]{32}"));
  const std::string good = ContentOf(file);
  run("the tree was taken from kept/trees");
  EXPECT_TRUE(RunJson(arguments)["from_cache"]);

  // Another table's tree, which is no damaged stream, is no tree of this one.
  Do("cluster @usarrests --cache other");
  const std::string foreign = ContentOf(fs::directory_iterator(Path("other"))->path());
  for (const std::string& bad : {good.substr(0, good.size() - 1), std::string(), foreign}) {
    std::ofstream(file, std::ios::binary) << bad;
    run("was damaged, and has been made anew");
    EXPECT_EQ(ContentOf(file), good);
    run("was taken from");
  }
  // A tree with other heights, put in the place of this one, is believed: it is read, and nothing is computed.
  Do(plain + " --scaling pareto --cache pareto");
  fs::copy_file(fs::directory_iterator(Path("pareto"))->path(), file, fs::copy_options::overwrite_existing);
  EXPECT_NE(Run(arguments).out, fresh);
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("kept/trees")), fs::directory_iterator()), 1);
  // What cannot be kept is told.
  fs::remove(file);
  fs::create_directory(file);
  run("the tree could not be kept in kept/trees under the name Dendro_178_13_");
}

TEST_F(Cluster, RefusalsSayWhatToDo) {
  Put("t.csv", "id,a,b\nx,1,2\ny,3,4\n");
  Put("rows.csv", "id,a,b,c\nr,1,,\ns,2,3,1\nt,,,\nu,3,2,4\n");
  Put("pairs.csv", "id,a,b,c,d\nr,1,2,,\ns,,,2,3\nt,1,1,2,5\nu,3,1,4,1\n");
  std::string tall = "a\n";
  for (int i = 0; i <= 65535; ++i) tall += "1\n2\n";
  Put("tall.csv", tall);
  Put("ward.csv", tall.substr(0, 2 + 2 * 46342));
  Put("equal.csv", "id,a,b\nx,1,2\ny,1,2\n");
  const std::vector<Refusal> refusals = {
      {"t.csv --cut 1 --groups 2", 2, "--cut excludes --groups"},
      {"t.csv --cut -1", 2, "--cut: a height is 0 or above"},
      {"t.csv --cut nan", 2, "--cut: a height is 0 or above"},
      {"t.csv --groups 3", 2, "--groups: 2 rows of t.csv cannot make 3 groups"},
      {"t.csv --groups 0", 2, "--groups: \"0\" is no whole number from 1 to 65535; see voran cluster --help"},
      {"t.csv --cut 1,5", 2, "--cut: \"1,5\" is no number with a decimal point, such as 1.5;"},
      {"equal.csv", 3, "a (no variance) and the others hold nothing either; --scaling none keeps what has no variance"},
      {"t.csv --method single --ward-type ss", 2, "--ward-type goes with --method ward alone"},
      {"t.csv --memory much", 2, "--memory: \"much\" is no amount of memory such as 256M or 1.5GiB"},
      {"t.csv --memory 8", 1, "the distances of 2 rows take 12 bytes, and there may be 8 bytes; --memory allows"},
      {"t.csv --svg absent/tree.svg", 2, "--svg: absent/tree.svg cannot be written"},
      {"t.csv --svg t.csv", 2, "--svg: t.csv is the input itself"},
      {"t.csv --cache t.csv", 2, "--cache: t.csv is a file; give the name of a folder"},
      {"t.csv --svg -", 2, "--svg: a picture does not go to standard output"},
      {"t.csv --cache /proc", 2, "--cache: /proc does not hold this tree, and nothing can be written to it"},
      {"rows.csv", 3, "with more than 50% missing values (2 rows: r, t); leave out these rows"},
      {"pairs.csv --scaling none", 3, "(\"r\" and \"s\" have 0 of 4 columns in common, and 2 are needed); leave"},
      {"tall.csv --header yes", 1, "131072 rows are more than can be clustered, which are 65535"},
      {"ward.csv --header yes", 1, "46342 rows are more than Ward's method can cluster, which are 46341;"},
      {"t.csv --scaling uv --exclude a,b", 3, ""},
  };
  ExpectRefusals("cluster", refusals);
  for (const char* option : {"--groups", "--method", "--svg"}) {
    EXPECT_THAT(Run({"cluster", "t.csv", option}).err, ::testing::StartsWith(fmt::format("voran: {} needs a", option)));
  }
}

}  // namespace
}  // namespace program
