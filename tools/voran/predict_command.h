#pragma once

#include <CLI/CLI.hpp>

namespace tool {

/// Adds `voran predict`.
void AddPredictCommand(CLI::App& program);

}  // namespace tool
