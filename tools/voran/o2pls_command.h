#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran o2pls`.
void AddO2plsCommand(CLI::App& program);

}  // namespace tool
