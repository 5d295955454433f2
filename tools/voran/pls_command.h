#pragma once

#include <CLI/CLI.hpp>

namespace tool {

/// Adds `voran pls`.
void AddPlsCommand(CLI::App& program);

}  // namespace tool
