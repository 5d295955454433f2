#include "voran/platform/folder_stream_source.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <random>
#include <string_view>
#include <system_error>
#include <utility>

inline namespace voran {
namespace {

namespace fs = std::filesystem;

/// Others would lead out of the folder, or to a hidden file.
bool IsStreamName(const std::string& name) {
  const auto isAllowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), isAllowed);
}

/// A name that no other writer has, be it of this process or of another.
fs::path NameAside(const fs::path& folder, const std::string& name) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  constexpr int kLength = 24;
  std::random_device random;
  std::string aside = "." + name + "-";
  for (int i = 0; i < kLength; ++i) aside += kDigits[random() % kDigits.size()];
  return folder / aside;
}

class OutputAside final : public std::ofstream {
 public:
  OutputAside(fs::path aside, fs::path place) : aside_(std::move(aside)), place_(std::move(place)) {
    try {
      open(aside_, std::ios::binary);
    } catch (...) {  // the file is there, and there was no memory for its buffer
      std::error_code error;
      fs::remove(aside_, error);
      throw;
    }
  }
  OutputAside(const OutputAside&) = delete;
  OutputAside& operator=(const OutputAside&) = delete;

  ~OutputAside() override {
    exceptions(std::ios::goodbit);
    close();
    std::error_code error;
    const bool isComplete = !fail() && std::uncaught_exceptions() <= exceptionsBefore_;
    if (isComplete) fs::rename(aside_, place_, error);
    if (!isComplete || error) fs::remove(aside_, error);
  }

 private:
  int exceptionsBefore_ = std::uncaught_exceptions();
  fs::path aside_;
  fs::path place_;
};

}  // namespace

FolderStreamSource::FolderStreamSource(fs::path folder) : folder_(std::move(folder)) {}

std::unique_ptr<std::istream> FolderStreamSource::OpenInput(const std::string& name) {
  std::error_code error;
  if (!IsStreamName(name) || !fs::is_regular_file(folder_ / name, error)) return nullptr;
  auto stream = std::make_unique<std::ifstream>(folder_ / name, std::ios::binary);
  if (!stream->is_open()) return nullptr;
  return stream;
}

std::unique_ptr<std::ostream> FolderStreamSource::OpenOutput(const std::string& name) {
  const fs::path place = folder_ / name;
  std::error_code error;
  if (!IsStreamName(name) || (fs::exists(place, error) && !fs::is_regular_file(place, error))) return nullptr;
  auto stream = std::make_unique<OutputAside>(NameAside(folder_, name), place);
  if (!stream->is_open()) return nullptr;
  return stream;
}

}  // namespace voran
