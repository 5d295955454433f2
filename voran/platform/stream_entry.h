#pragma once

#include <istream>

#include "voran/platform/stream_directory.h"

inline namespace voran {
namespace detail {

// For readers that give up by VrStreamError, and turn it into a false result in one place.

/// Entry i; throws "ReadFromStreamDir failed." if there is none.
std::istream& RequiredEntry(InputStreamDirectory& directory, unsigned short i);

/// Throws "Error when reading from stream." unless `isGood`.
void RequireRead(bool isGood);

/// The single value of four bytes that makes up entry i.
int ReadIntEntry(InputStreamDirectory& directory, unsigned short i);

}  // namespace detail
}  // namespace voran
