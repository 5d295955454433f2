#pragma once

namespace tool {

class CommandLine;

/// Adds `voran smooth` to the program. Parsing the command line runs it, and throws what it throws.
void AddSmoothCommand(CommandLine& program);

}  // namespace tool
