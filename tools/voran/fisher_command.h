#pragma once

namespace tool {

class CommandLine;

/// Adds `voran fisher` to the program. Parsing the command line runs it, and throws what it throws.
void AddFisherCommand(CommandLine& program);

}  // namespace tool
