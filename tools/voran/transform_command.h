#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran transform` to the program. Parsing the command line runs it, and throws what it throws.
void AddTransformCommand(CLI::App& program);

}  // namespace tool
