#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

/// " (did you mean X?)" for the one of `names` that `typed` was probably meant to be: the fewest changed, missing,
/// additional or exchanged characters away, upper and lower case being the same, and no more of them than a third of
/// what was typed. Empty if there is none, if two are as near, or for more than anyone types. In quotes if `isQuoted`.
std::string DidYouMean(std::string_view typed, std::span<const std::string> names, bool isQuoted);

}  // namespace tool
