#pragma once

namespace tool {

class CommandLine;

/// Adds `voran histogram` to the program. Parsing the command line runs it, and throws what it throws.
void AddHistogramCommand(CommandLine& program);

}  // namespace tool
