#pragma once

#include <string>
#include <vector>

namespace house {

/// One file of the repository; `path` is relative to the root, with forward slashes.
struct SourceFile {
  std::string path;
  std::string text;
};

/// A header for hosts: one of the library, outside the kernels, that declares something outside namespace detail.
bool IsPublicHeader(const SourceFile& file);

/// The rules below give one line per breach, "path:line: what is wrong", and nothing for a file in order.
using Breaches = std::vector<std::string>;

/// Who may include whom: the layers of the library, the program, and the headers that only the library's own sources
/// see.
Breaches CheckIncludes(const SourceFile& file);

/// What a library leaves to its host: the terminal, the end of the process, the environment.
Breaches CheckManners(const SourceFile& file);

/// Compiler switches that change the numbers, in build files and in pragmas.
Breaches CheckFloatingPointSwitches(const SourceFile& file);

/// The paths in the #include lines of `text`, without brackets or quotes.
std::vector<std::string> IncludedPaths(const std::string& text);

}  // namespace house
