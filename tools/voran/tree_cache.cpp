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
  const auto probe = source_.OpenOutput("probe");
  if (!probe) throw WrongUse(fmt::format("--cache: nothing can be written to the folder {}", folder));
  probe->setstate(std::ios::badbit);  // nothing is to be kept under that name
}

std::unique_ptr<std::istream> TreeCache::OpenInput(const std::string& name) {
  if (isForgotten_) return nullptr;
  auto stream = source_.OpenInput(name);
  hadFile_ = stream != nullptr;
  return stream;
}

std::unique_ptr<std::ostream> TreeCache::OpenOutput(const std::string& name) {
  wroteFile_ = true;
  return source_.OpenOutput(name);
}

std::vector<std::string> TreeCache::Notes() const {
  if (HadTree()) return {fmt::format("the tree was taken from {}", folder_)};
  if (hadFile_) return {fmt::format("the tree in {} was damaged, and has been made anew", folder_)};
  return {};
}

}  // namespace tool
