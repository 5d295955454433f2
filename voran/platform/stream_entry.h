#pragma once

#include <istream>

#include "voran/export.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/streamable.h"

inline namespace voran {
namespace detail {

// For readers that give up by VrStreamError, and turn it into a false result in one place.

/// Entry i; throws "ReadFromStreamDir failed." if there is none.
VORAN_EXPORT std::istream& RequiredEntry(InputStreamDirectory& directory, unsigned short i);

/// Throws "Error when reading from stream." unless `isGood`.
VORAN_EXPORT void RequireRead(bool isGood);

/// The single value of four bytes that makes up entry i.
int ReadIntEntry(InputStreamDirectory& directory, unsigned short i);

/// The object that begins entry i.
template <class Object>
void ReadObjectEntry(InputStreamDirectory& directory, unsigned short i, Object& object) {
  std::istream& entry = RequiredEntry(directory, i);
  ReadMember(entry, object);
  RequireRead(entry.good());
}

}  // namespace detail
}  // namespace voran
