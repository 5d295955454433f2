#pragma once

namespace tool {

class CommandLine;

/// Adds `voran predict`.
void AddPredictCommand(CommandLine& program);

}  // namespace tool
