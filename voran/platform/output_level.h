#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

#include "voran/platform/stream_checksum.h"
#include "voran/platform/stream_format.h"

inline namespace voran {
namespace detail {

class OutputRoot;

/// The stream behind the entries of one directory: it writes straight into the root's buffer and keeps the checksum of
/// the entry's own bytes. While a directory nested in the entry is written this level rests; it takes no bytes then.
class OutputLevel final : public std::streambuf {
 public:
  explicit OutputLevel(OutputRoot& root);

  OutputRoot& Root() { return root_; }
  std::ostream& Stream() { return stream_; }
  std::vector<DirectorySlot>& Slots() { return slots_; }

  void BeginEntry();
  /// The checksum of the entry, whose end is then the root's position.
  std::uint64_t FinishEntry();
  void Rest();
  void Resume();

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;
  /// Tells where in the entry the next byte goes, and goes nowhere.
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;

 private:
  std::size_t Pending() const { return static_cast<std::size_t>(pptr() - pbase()); }
  /// Empties the buffer; false if the root has failed.
  bool MakeRoom();

  OutputRoot& root_;
  StreamChecksum checksum_;
  std::vector<DirectorySlot> slots_;
  std::uint64_t entryBegin_ = 0;
  bool isActive_ = false;
  std::ostream stream_;
};

}  // namespace detail
}  // namespace voran
