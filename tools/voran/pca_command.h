#pragma once

namespace tool {

class CommandLine;

/// Adds `voran pca` to the program. Parsing the command line runs it, and throws what it throws.
void AddPcaCommand(CommandLine& program);

}  // namespace tool
