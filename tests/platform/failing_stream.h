#pragma once

#include <algorithm>
#include <map>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

/// A file in memory on which the k-th write, counted from 1, and all later ones fail.
class FailingFile : public std::stringbuf {
 public:
  explicit FailingFile(int k) : std::stringbuf(std::ios::in | std::ios::out | std::ios::binary), writesLeft_(k) {}

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    return --writesLeft_ <= 0 ? 0 : std::stringbuf::xsputn(bytes, count);
  }
  int sync() override { return --writesLeft_ <= 0 ? -1 : 0; }

 private:
  int writesLeft_;
};

/// A file of any size. Whatever is written in large pieces has to be zeros: nobody looks at them.
class SparseFile : public std::streambuf {
 public:
  std::streamoff Size() const { return size_; }

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    for (std::streamsize i = 0; count < kAllZeros && i < count; ++i) kept_[at_ + i] = bytes[i];
    at_ += count;
    size_ = std::max(size_, at_);
    return count;
  }
  std::streamsize xsgetn(char* to, std::streamsize count) override {
    for (const char* const end = to + count; to != end; ++to, ++at_) {
      const auto kept = kept_.find(at_);
      *to = kept == kept_.end() ? '\0' : kept->second;
    }
    return count;
  }
  pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override {
    const off_type base = from == std::ios_base::beg ? 0 : from == std::ios_base::cur ? at_ : size_;
    return seekpos(base + offset, which);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode /*which*/) override { return at_ = position; }

 private:
  static constexpr std::streamsize kAllZeros = 1 << 20;

  std::map<std::streamoff, char> kept_;
  std::streamoff at_ = 0;
  std::streamoff size_ = 0;
};

/// A pipe: bytes go by, and there is no way back. It tells what it was given.
class Pipe : public std::streambuf {
 public:
  explicit Pipe(std::string toRead = {}) : toRead_(std::move(toRead)) {
    setg(toRead_.data(), toRead_.data(), toRead_.data() + toRead_.size());
  }
  const std::string& Written() const { return written_; }

 protected:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    written_.append(bytes, static_cast<std::size_t>(count));
    return count;
  }
  int_type overflow(int_type c) override {
    written_ += traits_type::to_char_type(c);
    return c;
  }

 private:
  std::string toRead_;
  std::string written_;
};
