#pragma once

#include <cstdint>
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

/// How many bytes the caller may still write to the disk that `directory` is on; nothing if the system does not say.
VORAN_EXPORT std::optional<std::uint64_t> GetFreeDiskSpace(const std::string& directory);

}  // namespace detail
}  // namespace voran
