#pragma once

namespace tool {

class CommandLine;

/// Adds `voran roc` to the program. Parsing the command line runs it, and throws what it throws.
void AddRocCommand(CommandLine& program);

}  // namespace tool
