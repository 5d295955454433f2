#include "voran/platform/output_root.h"

#include <cstring>

#include "voran/platform/stream_values.h"

inline namespace voran {
namespace detail {

OutputRoot::OutputRoot(std::ostream& foreign) : foreign_(foreign), buffer_(new char[kBufferBytes]) {
  hasFailed_ = !CanSeek(foreign_);
  if (!hasFailed_) origin_ = foreign_.tellp();
}

OutputLevel* OutputRoot::Push(OutputLevel* parent) {
  if (parent != nullptr && !IsInUse(parent)) return nullptr;
  if (depth_ == levels_.size()) levels_.push_back(std::make_unique<OutputLevel>(*this));
  if (parent != nullptr) parent->Rest();
  OutputLevel* const level = levels_[depth_++].get();
  level->Stream().clear();
  return level;
}

void OutputRoot::Pop() {
  --depth_;
  if (depth_ > 0) {
    levels_[depth_ - 1]->Resume();
  } else {
    Flush();
    if (!hasFailed_) hasFailed_ = !foreign_.flush();
  }
}

void OutputRoot::WriteForeign(const char* bytes, std::size_t count) {
  if (hasFailed_ || count == 0) return;
  hasFailed_ = true;  // in case it throws
  foreign_.write(bytes, static_cast<std::streamsize>(count));
  hasFailed_ = !foreign_.good();
}

void OutputRoot::Flush() {
  WriteForeign(buffer_.get(), used_);
  flushed_ += used_;
  used_ = 0;
}

void OutputRoot::Append(const char* bytes, std::size_t count) {
  if (count > kBufferBytes - used_) Flush();
  if (count > kBufferBytes) {
    WriteForeign(bytes, count);
    flushed_ += count;
    return;
  }
  std::memcpy(FreeBegin(), bytes, count);
  used_ += count;
}

void OutputRoot::Patch(std::uint64_t position, const char* bytes, std::size_t count) {
  if (position >= flushed_) {
    std::memcpy(buffer_.get() + (position - flushed_), bytes, count);
    return;
  }
  Flush();
  if (hasFailed_) return;
  const auto here = origin_ + static_cast<std::streamoff>(flushed_);
  const auto there = origin_ + static_cast<std::streamoff>(position);
  foreign_.seekp(there);
  WriteForeign(bytes, count);
  // A file that was opened for appending writes at its end, wherever it was told to go.
  if (!hasFailed_ && foreign_.flush().tellp() != std::ostream::pos_type(there + static_cast<std::streamoff>(count))) {
    hasFailed_ = true;
  }
  foreign_.seekp(here);
  hasFailed_ = hasFailed_ || !foreign_.good();
}

}  // namespace detail
}  // namespace voran
