#pragma once

namespace tool {

class CommandLine;

/// Adds `voran svd` to the program. Parsing the command line runs it, and throws what it throws.
void AddSvdCommand(CommandLine& program);

}  // namespace tool
