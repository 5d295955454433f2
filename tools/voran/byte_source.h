#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// A stream of input bytes. Used by one thread at a time.
class ByteSource {
 public:
  virtual ~ByteSource() = default;

  /// Reads up to `count` bytes to `to`; 0 only at the end. Throws `Failure` when the bytes cannot be had, and when
  /// the user broke off while waiting for them.
  virtual std::size_t Read(char* to, std::size_t count) = 0;

  /// The number of bytes in the whole source, where that is known before reading (a regular file).
  virtual std::optional<std::uint64_t> TotalSize() const = 0;
};

/// Opens a file, or standard input for "-". `*cancel` is watched while waiting for input; null means never.
/// Throws `Failure` if there is no such file, or if it is a directory.
std::unique_ptr<ByteSource> OpenSource(const std::string& path, const std::atomic<bool>* cancel);

/// Bytes that are already in memory, and that outlive the source.
std::unique_ptr<ByteSource> SourceFromMemory(std::string_view bytes);

/// Reads until `count` bytes stand in `to` or the source ends; returns how many there are.
std::size_t ReadFully(ByteSource& source, char* to, std::size_t count);

}  // namespace tool
