#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tool {

/// A folder that gets all of a run's files, or none.
///
/// The files are written to a hidden folder inside it, and moved to their places by Commit, the last one written moving
/// last. Without Commit everything goes again, the folder itself included if it was made here; what was there before
/// stays untouched.
class OutputDirectory {
 public:
  /// Makes the folder where needed, and proves that it can be written. Throws `Failure` (wrong use) if it cannot. No
  /// file in it that is one of the `inputs` will be replaced.
  explicit OutputDirectory(const std::string& path, std::vector<std::string> inputs = {});
  ~OutputDirectory();
  OutputDirectory(const OutputDirectory&) = delete;
  OutputDirectory& operator=(const OutputDirectory&) = delete;

  /// Writes a file by calling `fill`. Throws `Failure` (computation failed) if not all of it could be written.
  void Write(const std::string& name, const std::function<void(std::ostream&)>& fill);

  /// Throws `Failure` (wrong use) if `file`, which `option` would write, is one of those that were written.
  void RefuseTwice(const std::filesystem::path& file, const std::string& option) const;

  /// Throws `Failure` (wrong use) if a file would take the place of a folder or of an input.
  void Commit();

 private:
  void MakeFolders();
  void RemoveMadeFolders() noexcept;

  std::filesystem::path path_;
  std::vector<std::string> inputs_;
  std::vector<std::filesystem::path> made_;  // folders that were not there before, the outermost first
  std::filesystem::path staging_;
  std::vector<std::string> names_;
};

}  // namespace tool
