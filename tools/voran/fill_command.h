#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran fill`.
void AddFillCommand(CLI::App& program);

}  // namespace tool
