#pragma once

#include <istream>
#include <ostream>

#include "voran/export.h"

inline namespace voran {

/// The header that tells what follows in a stream and in which version; for data that belong to no streamable object.
class VORAN_EXPORT VStreamLight {
 public:
  VStreamLight() = delete;

  /// Writes the header. `magic` has at most 255 bytes. False, with failbit set and nothing written, on a stream that
  /// cannot seek, since the directory that follows could not be written either.
  static bool WriteMagicStringAndVersionNumber(std::ostream& stream, unsigned short version, const char* magic);

  /// Reads a header; true if it is undamaged and bears `magic`. `version` then receives the version, whatever it is,
  /// and is left alone otherwise. Where the header is another's, the stream stands behind it.
  static bool CheckMagicStringAndVersionNumber(std::istream& stream, unsigned short& version, const char* magic);
};

}  // namespace voran
