#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "voran/export.h"

inline namespace voran {

/// A name that no file bears and nobody can guess: `prefix`, 32 random digits, `suffix`. No file is made.
///
/// `directory` null is where the system keeps temporary files (TMPDIR where that is set, /tmp otherwise). It need not
/// exist: the one who opens the file is told. The other two may be null as well.
VORAN_EXPORT std::string VrGetTempFileName(const char* directory, const char* prefix, const char* suffix);

namespace detail {

/// Closes the file.
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

/// Makes a file of that name, which must not exist, for writing and reading whole blocks: nothing is buffered here.
/// Null if it cannot be made.
///
/// Where the system has files without a name, or lets an open one lose it, it bears none: it then vanishes when it is
/// closed, and with the process, even a killed one. Elsewhere the caller has to remove it.
FilePointer OpenTemporaryFile(const std::string& pathName);

/// Gives that part of the file back to the disk, and to the memory that the system keeps it in, where it knows how to:
/// the part reads as zeros then.
void ReleaseFilePart(std::FILE* file, std::uint64_t begin, std::uint64_t bytes);

/// How many bytes the caller may still write to the disk that `directory` is on; nothing if the system does not say.
VORAN_EXPORT std::optional<std::uint64_t> GetFreeDiskSpace(const std::string& directory);

}  // namespace detail
}  // namespace voran
