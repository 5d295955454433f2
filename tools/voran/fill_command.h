#pragma once

namespace tool {

class CommandLine;

/// Adds `voran fill`.
void AddFillCommand(CommandLine& program);

}  // namespace tool
