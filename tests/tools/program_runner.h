#pragma once

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace program {

namespace fs = std::filesystem;

inline std::string ContentOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

using TextCells = std::vector<std::vector<std::string>>;
using Cells = std::vector<std::vector<double>>;

/// The cells of a CSV file in which none is quoted, its header among them.
inline TextCells CellsOf(const fs::path& file) {
  TextCells cells;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    cells.emplace_back();
    std::istringstream parts(line + ',');
    for (std::string cell; std::getline(parts, cell, ',');) cells.back().push_back(cell);
  }
  return cells;
}

/// The numbers of such a file, behind its header and its first column; a NaN for an empty cell.
inline Cells Numbers(const fs::path& file) {
  Cells numbers;
  const TextCells cells = CellsOf(file);
  for (std::size_t i = 1; i < cells.size(); ++i) {
    numbers.emplace_back();
    for (std::size_t c = 1; c < cells[i].size(); ++c) {
      numbers.back().push_back(cells[i][c].empty() ? std::nan("") : std::stod(cells[i][c]));
    }
  }
  return numbers;
}

inline std::string DataFile(const std::string& name) {
  return std::string(VORAN_DATA) + "/" + name + ".csv";
}

/// The words of a command line in which none holds a blank; @wine is one of the tables that come with the program.
inline std::vector<std::string> Words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word[0] == '@' ? DataFile(word.substr(1)) : word);
  return words;
}

/// A table of random numbers with a header: x1, x2, ... and y.
inline std::string RandomTable(int rows, int columns) {
  std::string text;
  for (int c = 1; c < columns; ++c) text += "x" + std::to_string(c) + ',';
  text += "y\n";
  unsigned state = 1;
  for (int i = 0; i < rows * columns; ++i) {
    text += std::to_string((state = state * 1664525u + 1013904223u) >> 8) + (i % columns == columns - 1 ? '\n' : ',');
  }
  return text;
}

/// What a command line ends with: the exit code, and a part of the sentence on standard error.
struct Refusal {
  std::string line;
  int code;
  std::string says;
};

struct Outcome {
  int code = -1;
  std::string out;
  std::string err;
};

// A folder of its own for each test, in which the program runs.
class Program : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "voran-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path Path(const std::string& name) const { return folder_ / name; }
  void Put(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name), std::ios::binary) << text;
  }
  void Put(const std::string& name, const TextCells& cells) const {
    std::ofstream out(Path(name), std::ios::binary);
    for (const auto& row : cells) {
      for (std::size_t c = 0; c < row.size(); ++c) out << (c == 0 ? "" : ",") << row[c];
      out << '\n';
    }
  }

  pid_t Start(const std::vector<std::string>& arguments, const std::string& input = "/dev/null",
              const std::string& output = "stdout") const {
    const pid_t child = fork();
    if (child != 0) return child;
    if (chdir(folder_.c_str()) != 0) _exit(99);
    for (const int number : {SIGINT, SIGXFSZ}) signal(number, SIG_DFL);
    dup2(open(input.c_str(), O_RDWR), STDIN_FILENO);
    dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
    dup2(open("stderr", O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
    std::vector<char*> argv = {const_cast<char*>("voran")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    execv(VORAN_PROGRAM, argv.data());
    _exit(98);
  }

  Outcome Finish(pid_t child) const {
    int status = 0;
    waitpid(child, &status, 0);
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ContentOf(Path("stdout")),
                    ContentOf(Path("stderr"))};
    fs::remove(Path("stdout"));
    fs::remove(Path("stderr"));
    return outcome;
  }

  Outcome Run(const std::vector<std::string>& arguments) const { return Finish(Start(arguments)); }

  /// Runs quietly, and expects no trouble.
  void Done(std::vector<std::string> arguments) const {
    arguments.emplace_back("--quiet");
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
  }

  /// Expects one sentence on standard error that holds `says`, and nothing on standard output.
  void ExpectRefusal(std::vector<std::string> arguments, int code, const std::string& says) const {
    arguments.emplace_back("--quiet");
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, code) << says;
    EXPECT_EQ(outcome.err.rfind("voran: ", 0), 0u) << outcome.err;
    EXPECT_NE(outcome.err.find(says), std::string::npos) << outcome.err << "should say: " << says;
    EXPECT_EQ(outcome.err.find('\n') + 1, outcome.err.size()) << outcome.err;
    EXPECT_EQ(outcome.out, "") << says;
  }

  /// Of lines that begin with `begin` and end with `end`; none of them makes or removes a file.
  void ExpectRefusals(const std::string& begin, const std::vector<Refusal>& refusals,
                      const std::string& end = "") const {
    const std::size_t files = Files().size();
    for (const Refusal& refusal : refusals) {
      ExpectRefusal(Words(begin + ' ' + refusal.line + ' ' + end), refusal.code, refusal.says);
      EXPECT_EQ(Files().size(), files) << refusal.says;
    }
  }

  /// The summary that the run prints; discarded, with a failure, if it prints none.
  nlohmann::json RunJson(std::vector<std::string> arguments) const {
    arguments.insert(arguments.end(), {"--json", "--quiet"});
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return nlohmann::json::parse(outcome.out, nullptr, false);
  }

  void Do(const std::string& line) const { Done(Words(line)); }
  nlohmann::json Told(const std::string& line) const { return RunJson(Words(line)); }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
      names.push_back(fs::relative(entry.path(), folder_).string());
    }
    return names;
  }

 private:
  fs::path folder_;
};

inline const std::string kWine = DataFile("wine");

}  // namespace program
