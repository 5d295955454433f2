#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <xxhash.h>

/// Stored bytes put together by hand, after docs/file_formats.md and without the library: what it has to write, and,
/// with every checksum right, whatever an attacker might have written.
namespace stored {

inline std::string LittleEndian(std::uint64_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i, value >>= 8U) bytes += static_cast<char>(value & 0xFFU);
  return bytes;
}

inline std::uint64_t Checksum(const std::string& bytes) {
  return XXH3_64bits(bytes.data(), bytes.size());
}

/// What lies in an entry, in which its own bytes, that its checksum covers, are told from directories.
class Bytes {
 public:
  Bytes() = default;
  Bytes(std::string own) : all_(own), own_(std::move(own)) {}  // NOLINT(google-explicit-constructor)

  static Bytes OfDirectory(std::string bytes) {
    Bytes result;
    result.all_ = std::move(bytes);
    return result;
  }

  Bytes& operator+=(const Bytes& tail) {
    all_ += tail.all_;
    own_ += tail.own_;
    return *this;
  }
  friend Bytes operator+(Bytes a, const Bytes& b) { return a += b; }

  const std::string& All() const { return all_; }
  const std::string& Own() const { return own_; }

 private:
  std::string all_;
  std::string own_;
};

using Entries = std::vector<std::optional<Bytes>>;

/// A table, with the checksum that it needs, of slots {offset, length, checksum}.
inline std::string Table(const std::vector<std::array<std::uint64_t, 3>>& slots) {
  std::string table = "VDIR" + LittleEndian(1, 2) + LittleEndian(slots.size(), 2);
  for (const auto& slot : slots) {
    for (const std::uint64_t field : slot) table += LittleEndian(field, 8);
  }
  return table + LittleEndian(Checksum(table), 8);
}

/// A directory whose entries lie in the order of their numbers, or in `order`.
inline Bytes Directory(const Entries& entries, std::vector<std::size_t> order = {}) {
  for (std::size_t i = order.size(); i < entries.size(); ++i) order.push_back(i);
  std::vector<std::array<std::uint64_t, 3>> slots(entries.size());
  std::string content;
  for (const std::size_t i : order) {
    if (!entries[i]) continue;
    const std::string& all = entries[i]->All();
    slots[i] = {16 + 24 * entries.size() + content.size(), all.size(), Checksum(entries[i]->Own())};
    content += all;
  }
  return Bytes::OfDirectory(Table(slots) + content);
}

inline Bytes Header(const std::string& name, unsigned version) {
  const std::string bytes = static_cast<char>(name.size()) + name + LittleEndian(version, 2);
  return bytes + LittleEndian(Checksum(bytes), 4);
}

/// The header of a class and that of its base.
inline Bytes Headers(const std::string& name, unsigned version) {
  return Header(name, version) + Header("VSB", 1);
}

inline Bytes Int(std::int64_t value) {
  return LittleEndian(static_cast<std::uint64_t>(value), 4);
}

inline Bytes Element(float value) {
  return LittleEndian(std::bit_cast<std::uint32_t>(value), 4);
}
inline Bytes Element(double value) {
  return LittleEndian(std::bit_cast<std::uint64_t>(value), 8);
}

template <std::floating_point T>
Bytes Elements(const std::vector<T>& values) {
  Bytes bytes;
  for (const T value : values) bytes += Element(value);
  return bytes;
}

}  // namespace stored
