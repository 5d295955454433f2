#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/voran/byte_source.h"

namespace tool {

/// What every .npy file begins with.
constexpr std::string_view kNpyMagic = "\x93NUMPY";

/// What the header of a .npy file says. A vector counts as one column.
struct NpyHeader {
  std::size_t itemBytes = 0;  ///< 4 for float, 8 for double, both little-endian
  bool columnMajor = false;
  std::uint64_t rows = 0;
  std::uint64_t columns = 0;
  std::uint64_t headerBytes = 0;  ///< where the numbers begin

  std::uint64_t DataBytes() const { return rows * columns * itemBytes; }
};

/// Reads the header; the magic has been taken from `source` already. Sizes that it states are within what a matrix can
/// hold, so that DataBytes does not overflow, and no memory has been asked for on their account.
/// Throws `Failure` for anything but a table of float32 or float64.
NpyHeader ReadNpyHeader(ByteSource& source, const std::string& name);

}  // namespace tool
