#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tool {

/// A file that is there complete or not at all: it is written under another name beside its place, and moved there by
/// Commit. Without Commit what was there before stays untouched.
class OutputFile {
 public:
  /// Proves that the file can be written. Throws `Failure` (wrong use) if it cannot, or if it is one of the `inputs`;
  /// `option` is the one that names it.
  OutputFile(const std::string& option, const std::string& path, const std::vector<std::string>& inputs);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Writes the file by calling `fill`. Throws `Failure` (computation failed) if not all of it could be written.
  void Write(const std::function<void(std::ostream&)>& fill);

  void Commit();

 private:
  std::filesystem::path path_;
  std::filesystem::path staging_;
};

/// Throws `Failure` (wrong use) if `file`, which `option` would write, is one of the files that the run reads.
void RefuseToOverwrite(const std::filesystem::path& file, const std::vector<std::string>& inputs,
                       const std::string& option);

}  // namespace tool
