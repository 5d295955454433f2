#include "voran/platform/input_level.h"

#include <algorithm>
#include <cstring>

#include "voran/platform/input_root.h"

inline namespace voran {
namespace detail {

InputLevel::InputLevel(InputRoot& root) : root_(root), stream_(this) {}

void InputLevel::BeginEntry(std::uint64_t begin, std::uint64_t end) {
  begin_ = begin;
  end_ = end;
  checksum_.Restart();
  if (!stream_.fail()) stream_.clear();  // the end of the entry before is not that of this one
  ResumeAt(begin);
}

void InputLevel::ResumeAt(std::uint64_t position) {
  base_ = position;
  setg(nullptr, nullptr, nullptr);
  isActive_ = true;
}

void InputLevel::AddReadToChecksum() {
  const auto count = static_cast<std::size_t>(gptr() - eback());
  checksum_.Add(eback(), count);
  base_ += count;
  setg(nullptr, nullptr, nullptr);
}

void InputLevel::Rest() {
  if (!isActive_) return;
  AddReadToChecksum();
  isActive_ = false;
}

bool InputLevel::FinishEntry(std::uint64_t checksum) {
  const bool isRead = isActive_ && Position() == end_;
  isActive_ = false;
  const std::uint64_t found = checksum_.Finish(eback(), static_cast<std::size_t>(gptr() - eback()));
  setg(nullptr, nullptr, nullptr);
  return isRead && IsSameChecksum(found, checksum);
}

bool InputLevel::Fill() {
  if (!isActive_) return false;
  AddReadToChecksum();
  if (base_ >= end_) return false;
  const InputRoot::Window window = root_.WindowAt(base_);
  const auto shown = std::min<std::uint64_t>(static_cast<std::uint64_t>(window.end - window.begin), end_ - base_);
  if (shown == 0) return false;
  setg(window.begin, window.begin, window.begin + shown);
  return true;
}

InputLevel::int_type InputLevel::underflow() {
  if (gptr() == egptr() && !Fill()) return traits_type::eof();
  return traits_type::to_int_type(*gptr());
}

std::streamsize InputLevel::xsgetn(char* to, std::streamsize count) {
  constexpr std::streamsize kPastTheBuffer = std::streamsize{1} << 15U;
  std::streamsize done = 0;
  while (done < count) {
    if (gptr() == egptr()) {
      const std::streamsize rest = count - done;
      const bool isInside = isActive_ && static_cast<std::uint64_t>(rest) <= Remaining();
      if (rest >= kPastTheBuffer && isInside) {
        AddReadToChecksum();
        if (!root_.ReadAt(base_, to + done, static_cast<std::size_t>(rest))) return done;
        checksum_.Add(to + done, static_cast<std::size_t>(rest));
        base_ += static_cast<std::uint64_t>(rest);
        return count;
      }
      if (!Fill()) return done;
    }
    const std::streamsize now = std::min<std::streamsize>(egptr() - gptr(), count - done);
    std::memcpy(to + done, gptr(), static_cast<std::size_t>(now));
    gbump(static_cast<int>(now));
    done += now;
  }
  return done;
}

InputLevel::pos_type InputLevel::seekoff(off_type offset, std::ios_base::seekdir direction,
                                         std::ios_base::openmode which) {
  const bool isQuestion = offset == 0 && direction == std::ios_base::cur && (which & std::ios_base::in) != 0;
  if (!isQuestion || !isActive_) return pos_type(off_type(-1));
  return pos_type(static_cast<off_type>(Position() - begin_));
}

}  // namespace detail
}  // namespace voran
