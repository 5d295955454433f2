#pragma once

#include <sstream>
#include <streambuf>
#include <string>

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
