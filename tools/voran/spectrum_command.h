#pragma once

namespace tool {

class CommandLine;

/// Adds `voran spectrum` to the program. Parsing the command line runs it, and throws what it throws.
void AddSpectrumCommand(CommandLine& program);

}  // namespace tool
