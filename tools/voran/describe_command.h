#pragma once

namespace CLI {
class App;
}

namespace tool {

/// Adds `voran describe` to the program. Parsing the command line runs it, and throws what it throws.
void AddDescribeCommand(CLI::App& program);

}  // namespace tool
