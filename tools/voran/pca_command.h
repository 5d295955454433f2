#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran pca` to the program. Parsing the command line runs it, and throws what it throws.
void AddPcaCommand(CLI::App& program);

}  // namespace tool
