#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

#include "voran/export.h"

inline namespace voran {

// Plain values in a stream: integers and IEEE floating-point numbers lie in it little-endian, whatever the machine. All
// are false, with failbit set, if the stream fails, ends too early, or `count` is negative; what was read before that
// may stand in the destination.

VORAN_EXPORT bool WriteBytes(const void* p, int count, std::ostream& stream);
VORAN_EXPORT bool ReadBytes(void* p, int count, std::istream& stream);

/// `count` values of two or four bytes.
VORAN_EXPORT bool WriteTwoBytes(const void* p, int count, std::ostream& stream);
VORAN_EXPORT bool ReadTwoBytes(void* p, int count, std::istream& stream);
VORAN_EXPORT bool WriteFourBytes(const void* p, int count, std::ostream& stream);
VORAN_EXPORT bool ReadFourBytes(void* p, int count, std::istream& stream);

/// `count` values of `elementSize` bytes: 1, 2, 4 or 8.
VORAN_EXPORT bool WriteArray(const void* p, int count, int elementSize, std::ostream& stream);
VORAN_EXPORT bool ReadArray(void* p, int count, int elementSize, std::istream& stream);

/// The length in four bytes, then the bytes, which may be any. Reading needs a stream that can seek, or an entry of a
/// directory: a length beyond what is left is refused before any memory is taken. A failed read leaves `s` empty.
VORAN_EXPORT bool WriteBinaryString(const std::string& s, std::ostream& stream);
VORAN_EXPORT bool ReadBinaryString(std::string& s, std::istream& stream);

namespace detail {

/// How many bytes are left: to the end of the entry if `stream` is one of a directory, else to the end of the stream,
/// which must be able to seek. A failed stream has none. A reader asks this before it allocates what a file asks for.
VORAN_EXPORT std::uint64_t RemainingBytes(std::istream& stream);

/// Whether the stream is good and can tell where it stands; sets failbit if it cannot. What is written through
/// directories needs such a stream, and nothing is written to another.
bool CanSeek(std::ostream& stream);
bool CanSeek(std::istream& stream);

}  // namespace detail
}  // namespace voran
