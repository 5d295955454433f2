#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <streambuf>
#include <vector>

#include "voran/platform/stream_checksum.h"
#include "voran/platform/stream_format.h"

inline namespace voran {
namespace detail {

class InputRoot;

/// The stream behind the entries of one directory: it reads straight from the root's buffer, never past the end of the
/// entry, and keeps the checksum of the entry's own bytes. While a directory nested in the entry is read this level
/// rests; it gives no bytes then.
class InputLevel final : public std::streambuf {
 public:
  explicit InputLevel(InputRoot& root);

  InputRoot& Root() { return root_; }
  std::istream& Stream() { return stream_; }
  std::vector<DirectorySlot>& Slots() { return slots_; }

  void BeginEntry(std::uint64_t begin, std::uint64_t end);
  /// Whether the entry was read to its end and has this checksum.
  bool FinishEntry(std::uint64_t checksum);
  void Rest();
  void ResumeAt(std::uint64_t position);

  std::uint64_t Position() const { return base_ + static_cast<std::uint64_t>(gptr() - eback()); }
  std::uint64_t End() const { return end_; }
  /// To the end of the entry.
  std::uint64_t Remaining() const { return end_ - Position(); }

 protected:
  int_type underflow() override;
  std::streamsize xsgetn(char* to, std::streamsize count) override;
  /// Tells where in the entry the next byte is, and goes nowhere.
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;

 private:
  void AddReadToChecksum();
  /// Shows what the root has from here on, up to the end of the entry.
  bool Fill();

  InputRoot& root_;
  StreamChecksum checksum_;
  std::vector<DirectorySlot> slots_;
  std::uint64_t begin_ = 0;
  std::uint64_t end_ = 0;
  std::uint64_t base_ = 0;  ///< the position of eback(), from which on the checksum lacks what has been read
  bool isActive_ = false;
  std::istream stream_;
};

}  // namespace detail
}  // namespace voran
