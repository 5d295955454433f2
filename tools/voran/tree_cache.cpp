#include "tools/voran/tree_cache.h"

#include <filesystem>
#include <system_error>

#include <fmt/format.h>

#include "tools/voran/failure.h"

namespace tool {

namespace fs = std::filesystem;

TreeCache::TreeCache(const std::string& folder) : folder_(folder), source_(folder) {
  std::error_code error;
  if (fs::exists(folder, error) && !fs::is_directory(folder, error)) {
    throw WrongUse(fmt::format("--cache: {} is a file; give the name of a folder", folder));
  }
  fs::create_directories(folder, error);
  if (error) throw WrongUse(fmt::format("--cache: the folder {} cannot be made: {}", folder, error.message()));
}

// Tried where nothing stays behind.
bool TreeCache::IsWritable() {
  const auto probe = source_.OpenOutput("probe");
  if (probe) probe->setstate(std::ios::badbit);
  return probe != nullptr;
}

std::unique_ptr<std::istream> TreeCache::OpenInput(const std::string& name) {
  if (isForgotten_) return nullptr;
  name_ = name;
  auto stream = source_.OpenInput(name);
  hadFile_ = stream != nullptr;
  if (!hadFile_ && !IsWritable()) {
    throw WrongUse(fmt::format("--cache: {} does not hold this tree, and nothing can be written to it", folder_));
  }
  return stream;
}

std::unique_ptr<std::ostream> TreeCache::OpenOutput(const std::string& name) {
  wroteFile_ = true;
  return source_.OpenOutput(name);
}

bool TreeCache::IsKept(const DendroGram::DendroGramNode& tree) {
  const auto stream = source_.OpenInput(name_);
  const DendroGram::DendroGramPointer kept(new DendroGram::DendroGramNode());
  return stream != nullptr && ReadStreamable(*stream, *kept) && *kept == tree;
}

std::vector<std::string> TreeCache::Notes(const DendroGram::DendroGramNode& tree) {
  if (HadTree()) return {fmt::format("the tree was taken from {}", folder_)};
  if (!IsKept(tree)) {
    return {fmt::format(
        "the tree could not be kept in {} under the name {}; is the disk full, or the file not to be written?", folder_,
        name_)};
  }
  if (hadFile_) return {fmt::format("the tree in {} was damaged, and has been made anew", folder_)};
  return {};
}

}  // namespace tool
