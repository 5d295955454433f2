#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

inline namespace voran {
namespace detail {

// The numbers of the byte format, which docs/file_formats.md describes; writer and reader both take them from here.

/// Writes the `count` low bytes of `value` to `to`, lowest first.
inline void StoreLittleEndian(char* to, std::uint64_t value, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i, value >>= 8U) to[i] = static_cast<char>(value & 0xFFU);
}

inline std::uint64_t LoadLittleEndian(const char* from, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = count; i > 0; --i) value = value << 8U | static_cast<unsigned char>(from[i - 1]);
  return value;
}

// A class header: the length of the name in one byte, the name, the version, a checksum of all that.

inline constexpr std::size_t kLongestClassName = 255;
inline constexpr std::size_t kHeaderVersionBytes = 2;
inline constexpr std::size_t kHeaderChecksumBytes = 4;

constexpr std::size_t HeaderBytes(std::size_t nameLength) {
  return 1 + nameLength + kHeaderVersionBytes + kHeaderChecksumBytes;
}

// A directory: head, one slot per entry, a checksum of all that, and then the bytes of the entries.

inline constexpr std::array<char, 4> kDirectoryMagic = {'V', 'D', 'I', 'R'};
inline constexpr std::uint16_t kDirectoryVersion = 1;
inline constexpr std::size_t kDirectoryHeadBytes = 8;  ///< magic, version, number of entries
inline constexpr std::size_t kSlotBytes = 24;          ///< offset, length, checksum
inline constexpr std::size_t kTableChecksumBytes = 8;

/// Where an entry lies, counted from the first byte of its directory.
struct DirectorySlot {
  std::uint64_t offset = 0;    ///< 0: there is no such entry
  std::uint64_t length = 0;    ///< with the directories nested in it
  std::uint64_t checksum = 0;  ///< of the entry's own bytes: those of nested directories are left out

  bool IsPresent() const noexcept { return offset != 0; }
};

/// How many bytes precede the entries.
constexpr std::size_t TableBytes(std::size_t entries) {
  return kDirectoryHeadBytes + entries * kSlotBytes + kTableChecksumBytes;
}

/// The least that an object takes up whose header is followed by that of VStreamBase and by a directory.
constexpr std::size_t LeastObjectBytes(std::size_t entries) {
  return 2 * HeaderBytes(1) + TableBytes(entries);
}

}  // namespace detail
}  // namespace voran
