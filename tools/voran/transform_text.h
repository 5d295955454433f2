#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "voran/preprocessing/transform_struct.h"

namespace tool {

/// What the program calls a transform: "linear", "log", "neglog", "logit", "exponential" or "power"; empty for kNone.
std::string_view TransformName(TransformE::Transform transform);

/// The transform of that name, in lower case; nothing if there is none.
std::optional<TransformE::Transform> TransformNamed(std::string_view name);

/// "linear, log, ...": all names.
std::string TransformNames();

/// The function with its constants, as in "log10(2 x + 1)"; "x" for kNone.
std::string Formula(const TransformStruct& transform);

}  // namespace tool
