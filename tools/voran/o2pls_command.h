#pragma once

namespace tool {

class CommandLine;

/// Adds `voran o2pls`.
void AddO2plsCommand(CommandLine& program);

}  // namespace tool
