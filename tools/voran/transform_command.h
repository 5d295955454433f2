#pragma once

namespace tool {

class CommandLine;

/// Adds `voran transform` to the program. Parsing the command line runs it, and throws what it throws.
void AddTransformCommand(CommandLine& program);

}  // namespace tool
