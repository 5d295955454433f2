#pragma once

namespace tool {

class CommandLine;

/// Adds `voran pls`.
void AddPlsCommand(CommandLine& program);

}  // namespace tool
