#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran opls`.
void AddOplsCommand(CLI::App& program);

/// Adds `voran yopls`.
void AddYoplsCommand(CLI::App& program);

}  // namespace tool
