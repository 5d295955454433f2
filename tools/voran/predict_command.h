#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran predict`.
void AddPredictCommand(CLI::App& program);

}  // namespace tool
