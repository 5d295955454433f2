#include "tools/voran/output_directory.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/output_file.h"

namespace tool {

namespace fs = std::filesystem;

OutputDirectory::OutputDirectory(const std::string& path, std::vector<std::string> inputs)
    : path_(path), inputs_(std::move(inputs)) {
  MakeFolders();
  std::string pattern = (path_ / ".voran-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    const int reason = errno;
    RemoveMadeFolders();
    throw WrongUse(
        fmt::format("--out: nothing can be written to {}: {}", path, std::generic_category().message(reason)));
  }
  staging_ = pattern;
}

OutputDirectory::~OutputDirectory() {
  std::error_code ignored;
  fs::remove_all(staging_, ignored);
  RemoveMadeFolders();
}

void OutputDirectory::MakeFolders() {
  std::error_code error;
  if (fs::exists(path_, error) && !fs::is_directory(path_, error)) {
    throw WrongUse(fmt::format("--out: {} is a file; give the name of a folder", path_.string()));
  }
  for (fs::path folder = path_; !folder.empty() && !fs::exists(folder, error); folder = folder.parent_path()) {
    made_.push_back(folder);
    if (folder == folder.parent_path()) break;
  }
  std::reverse(made_.begin(), made_.end());
  fs::create_directories(path_, error);
  if (!error) return;
  RemoveMadeFolders();
  throw WrongUse(fmt::format("--out: the folder {} cannot be made: {}", path_.string(), error.message()));
}

void OutputDirectory::RemoveMadeFolders() noexcept {
  std::error_code ignored;
  for (; !made_.empty(); made_.pop_back()) fs::remove(made_.back(), ignored);  // leaves one that is not empty
}

void OutputDirectory::Write(const std::string& name, const std::function<void(std::ostream&)>& fill) {
  const fs::path file = staging_ / name;
  std::ofstream out(file, std::ios::binary);
  fill(out);
  out.close();
  if (!out) {
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{} could not be written to {}; is the disk full?", name, path_.string()));
  }
  names_.push_back(name);
}

void OutputDirectory::RefuseTwice(const fs::path& file, const std::string& option) const {
  std::error_code error;
  const fs::path folder = file.has_parent_path() ? file.parent_path() : ".";
  if (!fs::equivalent(folder, path_, error)) return;
  if (std::find(names_.begin(), names_.end(), file.filename().string()) == names_.end()) return;
  throw WrongUse(fmt::format("{}: {} is a file that --out writes, too; give another place", option, file.string()));
}

void OutputDirectory::Commit() {
  std::error_code error;
  for (const std::string& name : names_) {
    RefuseToOverwrite(path_ / name, inputs_, "--out");
    if (!fs::is_directory(path_ / name, error)) continue;
    throw WrongUse(fmt::format("--out: {} is a folder where a file is to be written", (path_ / name).string()));
  }
  for (const std::string& name : names_) {
    fs::rename(staging_ / name, path_ / name, error);
    if (error) {
      throw Failure(ExitCode::kComputationFailed,
                    fmt::format("{} could not be put in place: {}", (path_ / name).string(), error.message()));
    }
  }
  made_.clear();
}

}  // namespace tool
