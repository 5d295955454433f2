#include "voran/platform/output_level.h"

#include <cstring>

#include "voran/platform/output_root.h"

inline namespace voran {
namespace detail {

// What lies between pbase() and pptr() is in the root's buffer, but neither in its count nor in the checksum yet.

OutputLevel::OutputLevel(OutputRoot& root) : root_(root), stream_(this) {}

void OutputLevel::BeginEntry() {
  entryBegin_ = root_.Position();
  checksum_.Restart();
  Resume();
}

std::uint64_t OutputLevel::FinishEntry() {
  const std::uint64_t checksum = checksum_.Finish(pbase(), Pending());
  root_.SetUsed(pptr());
  setp(nullptr, nullptr);
  isActive_ = false;
  return checksum;
}

void OutputLevel::Rest() {
  if (!isActive_) return;
  checksum_.Add(pbase(), Pending());
  root_.SetUsed(pptr());
  setp(nullptr, nullptr);
  isActive_ = false;
}

void OutputLevel::Resume() {
  setp(root_.FreeBegin(), root_.FreeEnd());
  isActive_ = true;
}

bool OutputLevel::MakeRoom() {
  if (!isActive_) return false;
  Rest();
  root_.Flush();
  Resume();
  return !root_.HasFailed();
}

OutputLevel::int_type OutputLevel::overflow(int_type c) {
  if (!MakeRoom()) return traits_type::eof();
  return traits_type::eq_int_type(c, traits_type::eof()) ? traits_type::not_eof(c)
                                                         : sputc(traits_type::to_char_type(c));
}

std::streamsize OutputLevel::xsputn(const char* bytes, std::streamsize count) {
  const auto size = static_cast<std::size_t>(count);
  if (count > epptr() - pptr()) {
    if (!MakeRoom()) return 0;
    if (count > epptr() - pptr()) {
      Rest();
      checksum_.Add(bytes, size);
      root_.Append(bytes, size);
      Resume();
      return root_.HasFailed() ? 0 : count;
    }
  }
  std::memcpy(pptr(), bytes, size);
  pbump(static_cast<int>(count));
  return count;
}

OutputLevel::pos_type OutputLevel::seekoff(off_type offset, std::ios_base::seekdir direction,
                                           std::ios_base::openmode which) {
  const bool isQuestion = offset == 0 && direction == std::ios_base::cur && (which & std::ios_base::out) != 0;
  if (!isQuestion || !isActive_ || root_.HasFailed()) return pos_type(off_type(-1));
  return pos_type(static_cast<off_type>(root_.Position() + Pending() - entryBegin_));
}

}  // namespace detail
}  // namespace voran
