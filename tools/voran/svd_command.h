#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran svd` to the program. Parsing the command line runs it, and throws what it throws.
void AddSvdCommand(CLI::App& program);

}  // namespace tool
