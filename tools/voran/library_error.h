#pragma once

#include <string>

#include "tools/voran/failure.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"

namespace tool {

/// What the user is told of an error that ended a computation on the table `source`: that he has broken off, if
/// `progress` (which may be null) says so, or else that the computation failed, and why, with `hint` behind.
Failure FailureOf(const NCError& error, const std::string& source, NCProgress* progress, const std::string& hint = "");

}  // namespace tool
