#pragma once

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace program {

namespace fs = std::filesystem;

inline std::string ContentOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

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

  pid_t Start(const std::vector<std::string>& arguments, const std::string& input = "/dev/null",
              const std::string& output = "stdout") const {
    const pid_t child = fork();
    if (child != 0) return child;
    if (chdir(folder_.c_str()) != 0) _exit(99);
    signal(SIGINT, SIG_DFL);
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

inline const std::string kWine = std::string(VORAN_DATA) + "/wine.csv";

}  // namespace program
