#pragma once

namespace tool {

class CommandLine;

/// Adds `voran wavelet` to the program. Parsing the command line runs it, and throws what it throws.
void AddWaveletCommand(CommandLine& program);

}  // namespace tool
