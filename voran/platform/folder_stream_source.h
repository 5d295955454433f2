#pragma once

#include <filesystem>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "voran/export.h"
#include "voran/platform/stream_source.h"

inline namespace voran {

/// Keeps streams as files in a folder: the name of a stream is that of its file.
///
/// An output stream is written to a hidden file beside its place, and takes its place when it is destroyed: until then,
/// and where a write has failed, an exception is under way or the process ends, what had the name stays. To give up an
/// output stream, set its badbit. What a killed process leaves is a hidden file ".NAME-..." that no stream has for a
/// name.
///
/// The folder is neither made nor removed. Several objects and processes may use one folder at the same time.
class VORAN_EXPORT FolderStreamSource : public VrStreamSource {
 public:
  explicit FolderStreamSource(std::filesystem::path folder);

  /// Null, too, for what is no file.
  std::unique_ptr<std::istream> OpenInput(const std::string& name) override;
  /// Null if nothing can be written to the folder, or it holds something of that name that is no file.
  std::unique_ptr<std::ostream> OpenOutput(const std::string& name) override;

 private:
  std::filesystem::path folder_;
};

}  // namespace voran
