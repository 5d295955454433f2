#include "voran/platform/temporary_files.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include <boost/format.hpp>

inline namespace voran {
namespace {

/// The standard library does not tell the name of a directory that does not exist.
std::filesystem::path SystemDirectory() {
  std::error_code error;
  std::filesystem::path directory = std::filesystem::temp_directory_path(error);
  if (!error) return directory;
  for (const char* const name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
    if (const char* const value = std::getenv(name)) return value;
  }
  return "/tmp";
}

std::string RandomDigits() {
  std::random_device device;
  std::string digits;
  for (int word = 0; word < 4; ++word) digits += boost::str(boost::format("%08x") % device());
  return digits;
}

}  // namespace

std::string VrGetTempFileName(const char* directory, const char* prefix, const char* suffix) {
  const std::filesystem::path folder = directory != nullptr ? std::filesystem::path(directory) : SystemDirectory();
  const std::string name = (prefix != nullptr ? prefix : "") + RandomDigits() + (suffix != nullptr ? suffix : "");
  return (folder / name).string();
}

namespace detail {

std::optional<std::uint64_t> GetFreeDiskSpace(const std::string& directory) {
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(directory, error);
  if (error) return std::nullopt;
  return space.available;
}

}  // namespace detail
}  // namespace voran
