#include "voran/platform/input_root.h"

#include <algorithm>
#include <cstring>

#include "voran/platform/stream_values.h"

inline namespace voran {
namespace detail {

InputRoot::InputRoot(std::istream& foreign) : foreign_(foreign) {
  hasFailed_ = !CanSeek(foreign_);
  if (hasFailed_) return;
  origin_ = foreign_.tellg();
  size_ = RemainingBytes(foreign_);
}

InputLevel* InputRoot::Push(InputLevel* parent) {
  if (parent != nullptr && !IsInUse(parent)) return nullptr;
  if (depth_ == levels_.size()) levels_.push_back(std::make_unique<InputLevel>(*this));
  if (parent != nullptr) parent->Rest();
  InputLevel* const level = levels_[depth_++].get();
  level->Stream().clear();
  return level;
}

void InputRoot::Pop(std::uint64_t position) {
  --depth_;
  if (depth_ > 0) {
    levels_[depth_ - 1]->ResumeAt(position);
  } else if (foreign_.good()) {
    foreign_.seekg(origin_ + static_cast<std::streamoff>(position));
  }
}

std::size_t InputRoot::Buffered(std::uint64_t position) const {
  if (position < bufferAt_ || position - bufferAt_ >= buffered_) return 0;
  return buffered_ - static_cast<std::size_t>(position - bufferAt_);
}

bool InputRoot::ReadForeign(std::uint64_t position, char* to, std::size_t count) {
  if (hasFailed_) return false;
  hasFailed_ = true;  // in case it throws
  if (foreignAt_ != position) foreign_.seekg(origin_ + static_cast<std::streamoff>(position));
  foreign_.read(to, static_cast<std::streamsize>(count));
  foreignAt_ = position + count;
  hasFailed_ = !foreign_.good();
  return !hasFailed_;
}

bool InputRoot::ReadAt(std::uint64_t position, char* to, std::size_t count) {
  if (position > size_ || count > size_ - position) return false;
  const std::size_t ready = std::min(Buffered(position), count);
  if (ready > 0) std::memcpy(to, buffer_.get() + (position - bufferAt_), ready);
  position += ready;
  to += ready;
  count -= ready;
  if (count == 0) return true;
  if (!buffer_ || count >= kBufferBytes / 2) return ReadForeign(position, to, count);
  const Window window = WindowAt(position);
  if (static_cast<std::size_t>(window.end - window.begin) < count) return false;
  std::memcpy(to, window.begin, count);
  return true;
}

InputRoot::Window InputRoot::WindowAt(std::uint64_t position) {
  if (Buffered(position) == 0) {
    buffered_ = 0;
    if (position >= size_) return {nullptr, nullptr};
    if (!buffer_) buffer_.reset(new char[static_cast<std::size_t>(std::min<std::uint64_t>(size_, kBufferBytes))]);
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size_ - position, kBufferBytes));
    if (!ReadForeign(position, buffer_.get(), count)) return {nullptr, nullptr};
    bufferAt_ = position;
    buffered_ = count;
  }
  char* const begin = buffer_.get() + (position - bufferAt_);
  return {begin, begin + Buffered(position)};
}

}  // namespace detail
}  // namespace voran
