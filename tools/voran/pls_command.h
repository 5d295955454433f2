#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran pls`.
void AddPlsCommand(CLI::App& program);

}  // namespace tool
