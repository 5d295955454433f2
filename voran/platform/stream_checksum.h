#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include <xxhash.h>

inline namespace voran {
namespace detail {

inline std::uint64_t ChecksumOf(const char* bytes, std::size_t count) {
  return XXH3_64bits(bytes, count);
}

/// A fuzzer never hits upon a right checksum; in a build for it, all of them are right.
inline bool IsSameChecksum([[maybe_unused]] std::uint64_t a, [[maybe_unused]] std::uint64_t b) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
  return true;
#else
  return a == b;
#endif
}

/// The XXH3-64 of bytes that come in pieces. A single piece, as most entries are, costs no more than ChecksumOf.
class StreamChecksum {
 public:
  void Restart() { isPartial_ = false; }

  void Add(const char* bytes, std::size_t count) {
    if (count == 0) return;
    if (!isPartial_) {
      if (!state_) state_.reset(XXH3_createState());
      if (!state_) throw std::bad_alloc();
      XXH3_64bits_reset(state_.get());
      isPartial_ = true;
    }
    XXH3_64bits_update(state_.get(), bytes, count);
  }

  /// The checksum of everything since Restart(), ending with these bytes.
  std::uint64_t Finish(const char* bytes, std::size_t count) {
    if (!isPartial_) return ChecksumOf(bytes, count);
    Add(bytes, count);
    return XXH3_64bits_digest(state_.get());
  }

 private:
  struct FreeState {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };

  std::unique_ptr<XXH3_state_t, FreeState> state_;
  bool isPartial_ = false;
};

}  // namespace detail
}  // namespace voran
