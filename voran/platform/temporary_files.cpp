#include "voran/platform/temporary_files.h"

#ifdef __linux__
#include <fcntl.h>
#include <unistd.h>
#endif

#include <cstdio>
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
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only safe as long as no thread changes the environment
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return "/tmp";
}

#ifdef __linux__
constexpr const char* kMode = "w+bxe";  // no program that the host starts keeps the file open
#else
constexpr const char* kMode = "w+bx";
#endif

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

namespace {

/// In the folder of that name, without a name from the beginning: a process that is killed leaves nothing. Null where
/// the file system has no such files, and for a name that exists.
FilePointer OpenNameless([[maybe_unused]] const std::string& pathName) {
#ifdef O_TMPFILE
  if (access(pathName.c_str(), F_OK) == 0) return nullptr;
  const std::string folder = pathName.substr(0, pathName.rfind('/') + 1);
  const int file = open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) return nullptr;
  FilePointer stream(fdopen(file, "w+b"));
  if (!stream) close(file);
  return stream;
#else
  return nullptr;
#endif
}

}  // namespace

FilePointer OpenTemporaryFile(const std::string& pathName) {
  FilePointer file = OpenNameless(pathName);
  if (!file) {
    file.reset(std::fopen(pathName.c_str(), kMode));
    if (!file) return nullptr;
    std::remove(pathName.c_str());  // allocates nothing, and may fail where the file is in use
  }
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

void ReleaseFilePart([[maybe_unused]] std::FILE* file, [[maybe_unused]] std::uint64_t begin,
                     [[maybe_unused]] std::uint64_t bytes) {
#ifdef __linux__
  // Some file systems cannot do it; then the part stays until the file is closed.
  fallocate(fileno(file), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, static_cast<off_t>(begin),
            static_cast<off_t>(bytes));
#endif
}

std::optional<std::uint64_t> GetFreeDiskSpace(const std::string& directory) {
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(directory, error);
  if (error) return std::nullopt;
  return space.available;
}

}  // namespace detail
}  // namespace voran
