#include "tools/voran/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/voran/failure.h"

namespace tool {
namespace {

constexpr int kPollMilliseconds = 50;

class FileSource : public ByteSource {
 public:
  FileSource(int descriptor, std::string name, const std::atomic<bool>* cancel)
      : descriptor_(descriptor), name_(std::move(name)), cancel_(cancel) {}
  ~FileSource() override {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
  }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  std::size_t Read(char* to, std::size_t count) override {
    for (;;) {
      WaitForInput();
      const ssize_t got = read(descriptor_, to, count);
      if (got >= 0) return static_cast<std::size_t>(got);
      if (errno != EINTR && errno != EAGAIN) {
        throw BadData(fmt::format("{}: cannot be read: {}", name_, std::generic_category().message(errno)));
      }
    }
  }

  std::optional<std::uint64_t> TotalSize() const override {
    struct stat status = {};
    if (fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
  }

 private:
  // A signal may be delivered to any thread, so a blocked read() would not see it: wait in short turns instead.
  void WaitForInput() const {
    for (;;) {
      if (cancel_ != nullptr && cancel_->load(std::memory_order_relaxed)) throw Cancelled();
      pollfd waiting = {descriptor_, POLLIN, 0};
      if (poll(&waiting, 1, kPollMilliseconds) > 0) return;
    }
  }

  int descriptor_;
  std::string name_;
  const std::atomic<bool>* cancel_;
};

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::string_view bytes) : rest_(bytes), total_(bytes.size()) {}

  std::size_t Read(char* to, std::size_t count) override {
    const std::size_t taken = std::min(count, rest_.size());
    std::copy_n(rest_.data(), taken, to);
    rest_.remove_prefix(taken);
    return taken;
  }

  std::optional<std::uint64_t> TotalSize() const override { return total_; }

 private:
  std::string_view rest_;
  std::size_t total_;
};

}  // namespace

std::unique_ptr<ByteSource> OpenSource(const std::string& path, const std::atomic<bool>* cancel) {
  if (path == "-") return std::make_unique<FileSource>(STDIN_FILENO, "standard input", cancel);
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0)
    throw BadData(fmt::format("{}: cannot be opened: {}", path, std::generic_category().message(errno)));
  auto source = std::make_unique<FileSource>(descriptor, path, cancel);
  struct stat status = {};
  if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
    throw BadData(fmt::format("{}: is a directory; give a table as CSV, TSV or .npy file", path));
  }
  return source;
}

std::unique_ptr<ByteSource> SourceFromMemory(std::string_view bytes) {
  return std::make_unique<MemorySource>(bytes);
}

std::size_t ReadFully(ByteSource& source, char* to, std::size_t count) {
  std::size_t filled = 0;
  while (filled < count) {
    const std::size_t got = source.Read(to + filled, count - filled);
    if (got == 0) break;
    filled += got;
  }
  return filled;
}

}  // namespace tool
