#pragma once

namespace tool {

class CommandLine;

/// Adds `voran opls`.
void AddOplsCommand(CommandLine& program);

/// Adds `voran yopls`.
void AddYoplsCommand(CommandLine& program);

}  // namespace tool
