#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/voran/terminal_user.h"
#include "voran/platform/nc_error.h"

namespace tool {

/// The user of a clustering whose distances go to disk. The library's question, which comes where the disk may not
/// suffice, is put to him only if it does not.
class ClusterUser : public TerminalUser {
 public:
  ClusterUser(const std::string& source, std::size_t rows, bool isQuiet)
      : TerminalUser(source, isQuiet), source_(source), rows_(rows) {}

  /// Throws `Declined`, or `Failure` where there is nobody to ask.
  int AskUser(const ExceptionMessageList& text, const ExceptionMessageList& caption, int declineCode) override;

 private:
  std::string source_;
  std::size_t rows_;
};

/// Where the library keeps temporary files.
std::string TemporaryFolder();

/// What the distances of so many rows lack on a disk with `freeBytes`, or nothing if they find room.
std::optional<std::string> DiskShortage(std::size_t rows, const std::string& folder, std::uint64_t freeBytes);

/// Allows this process as many open files as the system lets it have: the distances may take hundreds.
void RaiseFileLimit();

/// Why a temporary file could not be opened, and what to do; nothing if `error` tells of something else.
std::optional<std::string> TemporaryFileHint(const NCError& error);

}  // namespace tool
