#include "tools/voran/library_error.h"

#include "tools/voran/component_loop.h"

namespace tool {

Failure FailureOf(const NCError& error, const std::string& source, NCProgress* progress, const std::string& hint) {
  if (progress != nullptr && progress->IsBreakPressed()) return Cancelled();
  return Failure(ExitCode::kComputationFailed, source + ": " + AsSentence(error.what()) + hint);
}

}  // namespace tool
