#pragma once

namespace tool {

class CommandLine;

/// Adds `voran describe` to the program. Parsing the command line runs it, and throws what it throws.
void AddDescribeCommand(CommandLine& program);

}  // namespace tool
