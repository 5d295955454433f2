#pragma once

namespace tool {

class CommandLine;

/// Adds `voran chart` to the program. Parsing the command line runs it, and throws what it throws.
void AddControlChartCommand(CommandLine& program);

}  // namespace tool
