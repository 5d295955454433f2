#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "voran/platform/progress_display.h"

namespace tool {

/// From now on Ctrl-C (and a request to terminate or to hang up) sets `Interrupted` and cancels all progress objects;
/// the work under way then stops by itself. A signal that the caller had ignored stays ignored. A write beyond the
/// limit of a file's size fails from now on, as one to a full disk does, and ends no process.
void CatchSignals();

/// Set once the user has broken off.
const std::atomic<bool>& Interrupted();

/// Throws `Failure` (cancelled) if the user has broken off.
void StopIfInterrupted();

/// A progress line on standard error; null unless that is a terminal that can rewrite a line. It has no colours.
std::shared_ptr<ProgressDisplay> MakeTerminalDisplay();

/// Writes to standard error, in place of a progress line if there is one.
void WriteToStderr(const std::string& text);

/// Writes to standard output, all of it or `Failure` (computation failed).
void WriteToStdout(const std::string& text);

}  // namespace tool
