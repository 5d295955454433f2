#include "tools/voran/cluster_disk.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tools/voran/memory_size.h"
#include "tools/voran/number_text.h"
#include "voran/cluster/distance_and_index.h"
#include "voran/platform/temporary_files.h"

namespace tool {
namespace {

// Why no file can be made in the folder; nothing if one can.
std::optional<std::string> WhyUnwritable(const std::string& folder) {
  std::string pattern = (std::filesystem::path(folder) / "voran-XXXXXX").string();
  const int file = mkstemp(pattern.data());
  if (file < 0) return std::generic_category().message(errno);
  close(file);
  unlink(pattern.c_str());
  return std::nullopt;
}

std::string OpenFilesText() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return "too many files are open";
  return fmt::format("no more than {} files may be open at a time", limit.rlim_cur);
}

}  // namespace

std::string TemporaryFolder() {
  return std::filesystem::path(VrGetTempFileName(nullptr, nullptr, nullptr)).parent_path().string();
}

int ClusterUser::AskUser(const ExceptionMessageList& /*text*/, const ExceptionMessageList& /*caption*/,
                         int declineCode) {
  const std::string folder = TemporaryFolder();
  const auto freeBytes = voran::detail::GetFreeDiskSpace(folder);
  const auto shortage = freeBytes ? DiskShortage(rows_, folder, *freeBytes) : std::nullopt;
  if (shortage && !CanAsk()) {
    throw Failure(ExitCode::kComputationFailed,
                  fmt::format("{}: {}; free some, set TMPDIR to another folder, or allow more memory by --memory",
                              source_, *shortage));
  }
  if (shortage) Ask(*shortage + ". Go on?");
  return declineCode + 1;
}

std::optional<std::string> DiskShortage(std::size_t rows, const std::string& folder, std::uint64_t freeBytes) {
  const std::uint64_t pairs = static_cast<std::uint64_t>(rows) * (rows - 1) / 2;
  const std::uint64_t needed = 2 * sizeof(DendroGram::DistanceAndIndex) * pairs;  // twice, while they are split
  if (needed <= freeBytes) return std::nullopt;
  return fmt::format(
      "the distances of {} do not fit into the memory that they may take; on disk they need {} in the folder {}, "
      "which has {} free",
      Counted(rows, "row"), MemorySizeText(needed), folder, MemorySizeText(freeBytes));
}

void RaiseFileLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));  // where it is refused, the old limit may do
}

std::optional<std::string> TemporaryFileHint(const NCError& error) {
  if (!std::string_view(error.what()).starts_with("The temporary file ")) return std::nullopt;
  // The limit of open files has gone with the files of the attempt; a bad folder is as bad as it was.
  const auto why = WhyUnwritable(TemporaryFolder());
  return fmt::format(" ({}); {}or allow more memory by --memory", why ? *why : OpenFilesText(),
                     why ? "set TMPDIR to another folder, " : "raise that limit (ulimit -n), ");
}

}  // namespace tool
