#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran cluster` to the program. Parsing the command line runs it, and throws what it throws.
void AddClusterCommand(CLI::App& program);

}  // namespace tool
