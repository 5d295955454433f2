#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <xxhash.h>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/platform/streamable.h"

namespace same_bits {

/// The bits of results, as one checksum for each that is given, in order: so a difference has a place.
class Digest {
 public:
  template <class... Results>
  void operator()(const Results&... results) {
    (Begin().Take(results), ...);
  }

  /// The bytes that an object writes.
  void Written(const VStreamBase& object) {
    std::ostringstream stream;
    EXPECT_TRUE(WriteStreamable(stream, object));
    (*this)(stream.str());
  }

  const std::vector<std::uint64_t>& Checksums() const { return checksums_; }

 private:
  Digest& Begin() {
    checksums_.push_back(0);
    return *this;
  }
  /// The checksum so far is the seed of what follows.
  void TakeBytes(const void* bytes, std::size_t count) {
    checksums_.back() = XXH3_64bits_withSeed(bytes, count, checksums_.back());
  }

  template <typename T>
  void Take(const T& number) requires(std::is_arithmetic_v<T> || std::is_enum_v<T>) {
    TakeBytes(&number, sizeof number);
  }
  void Take(const std::string& text) {
    Take(text.size());
    TakeBytes(text.data(), text.size());
  }
  template <typename T>
  void Take(const NCDataVector<T>& v) {
    Take(v.Size());
    Take(v.GetNumMisVal());
    TakeBytes(v.begin(), static_cast<std::size_t>(v.Size()) * sizeof(T));
  }
  template <typename T>
  void Take(const NCDataMatrix<T>& m) {
    Take(m.SizeRows());
    Take(m.GetNumMisVal());
    for (int j = 1; j <= m.SizeColumns(); ++j) Take(m.GetColumnMisVal(j));
    for (const NCDataVector<T>& row : m) Take(row);
  }
  template <typename T, int M>
  void Take(const NCIntegralVector<T, M>& v) {
    Take(v.Size());
    TakeBytes(v.begin(), static_cast<std::size_t>(v.Size()) * sizeof(T));
  }
  template <typename T>
  void Take(const std::vector<T>& all) {
    Take(all.size());
    for (const T& one : all) Take(one);
  }

  std::vector<std::uint64_t> checksums_;
};

}  // namespace same_bits
