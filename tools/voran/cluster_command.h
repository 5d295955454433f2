#pragma once

namespace tool {

class CommandLine;

/// Adds `voran cluster` to the program. Parsing the command line runs it, and throws what it throws.
void AddClusterCommand(CommandLine& program);

}  // namespace tool
