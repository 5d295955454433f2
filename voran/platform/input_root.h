#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <vector>

#include "voran/platform/input_level.h"

inline namespace voran {
namespace detail {

/// What an outermost directory and all that are nested in it read through: one buffer behind the host's stream, of
/// which nothing is read beyond the end of that directory. Positions count from where it begins.
class InputRoot : public std::enable_shared_from_this<InputRoot> {
 public:
  explicit InputRoot(std::istream& foreign);

  /// As for OutputRoot.
  InputLevel* Push(InputLevel* parent);
  /// Back to the parent, which goes on at `position`; after the outermost the host's stream stands there.
  void Pop(std::uint64_t position);
  bool IsInUse(const InputLevel* level) const { return depth_ > 0 && levels_[depth_ - 1].get() == level; }

  bool HasFailed() const { return hasFailed_; }
  /// What may be read: at first all that the host's stream holds, then the outermost directory.
  std::uint64_t Size() const { return size_; }
  void SetSize(std::uint64_t size) { size_ = size; }

  /// Reads past the buffer where that pays. False if the bytes are not there.
  bool ReadAt(std::uint64_t position, char* to, std::size_t count);
  /// The bytes from `position` on that are in the buffer, which is filled if there are none; empty after a failure.
  struct Window {
    char* begin;
    char* end;
  };
  Window WindowAt(std::uint64_t position);

 private:
  static constexpr std::size_t kBufferBytes = std::size_t{1} << 16U;

  /// How many bytes from `position` on are in the buffer.
  std::size_t Buffered(std::uint64_t position) const;
  bool ReadForeign(std::uint64_t position, char* to, std::size_t count);

  std::istream& foreign_;
  std::streamoff origin_ = 0;    ///< where in the host's stream position 0 is
  std::uint64_t foreignAt_ = 0;  ///< the position at which the host's stream stands
  std::uint64_t size_ = 0;
  std::uint64_t bufferAt_ = 0;  ///< the position of the first byte in the buffer
  std::size_t buffered_ = 0;
  std::unique_ptr<char[]> buffer_;
  std::vector<std::unique_ptr<InputLevel>> levels_;  ///< made once for each depth: a stream is costly to make
  std::size_t depth_ = 0;
  bool hasFailed_ = false;
};

}  // namespace detail
}  // namespace voran
