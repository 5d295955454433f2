#pragma once

namespace tool {

class CommandLine;

/// Adds `voran correlate` to the program. Parsing the command line runs it, and throws what it throws.
void AddCorrelateCommand(CommandLine& program);

}  // namespace tool
