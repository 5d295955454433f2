#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

#include "voran/platform/output_level.h"

inline namespace voran {
namespace detail {

/// What an outermost directory and all that are nested in it write through: one buffer ahead of the host's stream, so
/// that a byte is copied once however deep it lies. Positions count from where that directory begins.
///
/// A directory reserves the place of its table and patches it at its end: in the buffer as long as the place is still
/// there, otherwise by a step back in the stream. After a failure nothing more is written.
class OutputRoot : public std::enable_shared_from_this<OutputRoot> {
 public:
  explicit OutputRoot(std::ostream& foreign);

  /// The level for a directory nested in `parent`, which rests until Pop(); `parent` is null for the outermost. Null if
  /// `parent` is not the level in use.
  OutputLevel* Push(OutputLevel* parent);
  /// Back to the parent. After the outermost everything is flushed, so that a full disk is told.
  void Pop();
  bool IsInUse(const OutputLevel* level) const { return depth_ > 0 && levels_[depth_ - 1].get() == level; }

  bool HasFailed() const { return hasFailed_; }
  std::uint64_t Position() const { return flushed_ + used_; }
  /// Writes bytes that belong to no entry, all of them into the buffer or all of them past it.
  void Append(const char* bytes, std::size_t count);
  /// Overwrites what was appended at `position`.
  void Patch(std::uint64_t position, const char* bytes, std::size_t count);
  /// Empties the buffer into the host's stream.
  void Flush();

  // For the level in use, which fills the buffer by itself.

  static constexpr std::size_t kBufferBytes = std::size_t{1} << 16U;
  char* FreeBegin() { return buffer_.get() + used_; }
  char* FreeEnd() { return buffer_.get() + kBufferBytes; }
  void SetUsed(const char* end) { used_ = static_cast<std::size_t>(end - buffer_.get()); }

 private:
  void WriteForeign(const char* bytes, std::size_t count);

  std::ostream& foreign_;
  std::streamoff origin_ = 0;  ///< where in the host's stream position 0 is
  std::uint64_t flushed_ = 0;  ///< the position of the first byte in the buffer
  std::size_t used_ = 0;
  std::unique_ptr<char[]> buffer_;
  std::vector<std::unique_ptr<OutputLevel>> levels_;  ///< made once for each depth: a stream is costly to make
  std::size_t depth_ = 0;
  bool hasFailed_ = false;
};

}  // namespace detail
}  // namespace voran
