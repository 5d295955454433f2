#pragma once

#include <CLI/CLI.hpp>

namespace tool {

/// Adds `voran describe` to the program. Parsing the command line runs it, and throws what it throws.
void AddDescribeCommand(CLI::App& program);

}  // namespace tool
