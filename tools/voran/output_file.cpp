#include "tools/voran/output_file.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/voran/failure.h"

namespace tool {

namespace fs = std::filesystem;

namespace {

// What mkstemp() makes is for its owner alone; the file gets the permissions of any new file.
void SetUsualPermissions(int file) {
  const mode_t mask = umask(0);
  umask(mask);
  static_cast<void>(fchmod(file, 0666 & ~mask));
}

}  // namespace

void RefuseToOverwrite(const fs::path& file, const std::vector<std::string>& inputs, const std::string& option) {
  for (const std::string& input : inputs) {
    std::error_code error;
    if (!fs::equivalent(file, input, error)) continue;
    throw WrongUse(fmt::format("{}: {} is the input itself; give another place", option, file.string()));
  }
}

OutputFile::OutputFile(const std::string& option, const std::string& path, const std::vector<std::string>& inputs)
    : path_(path) {
  std::error_code error;
  if (fs::is_directory(path_, error)) throw WrongUse(fmt::format("{}: {} is a folder; give a file", option, path));
  if (fs::exists(path_, error) && !fs::is_regular_file(path_, error)) {
    throw WrongUse(fmt::format("{}: {} is a device or a pipe, which cannot be replaced; give a file", option, path));
  }
  RefuseToOverwrite(path_, inputs, option);
  std::string pattern = (path_.parent_path() / ".voran-XXXXXX").string();
  const int file = mkstemp(pattern.data());
  if (file < 0) {
    throw WrongUse(fmt::format("{}: {} cannot be written: {}", option, path, std::generic_category().message(errno)));
  }
  SetUsualPermissions(file);
  close(file);
  staging_ = pattern;
}

OutputFile::~OutputFile() {
  std::error_code ignored;
  if (!staging_.empty()) fs::remove(staging_, ignored);
}

void OutputFile::Write(const std::function<void(std::ostream&)>& fill) {
  std::ofstream out(staging_, std::ios::binary | std::ios::trunc);
  fill(out);
  out.close();
  if (out) return;
  throw Failure(ExitCode::kComputationFailed,
                fmt::format("{} could not be written; is the disk full?", path_.string()));
}

void OutputFile::Commit() {
  std::error_code error;
  fs::rename(staging_, path_, error);
  if (error) {
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{} could not be put in place: {}", path_.string(), error.message()));
  }
  staging_.clear();
}

}  // namespace tool
