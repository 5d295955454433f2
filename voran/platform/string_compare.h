#pragma once

#include <locale>
#include <string>
#include <string_view>

#include "voran/export.h"

inline namespace voran {

/// Orders of UTF-8 strings; a result is negative, 0 or positive as `a` comes before, equals or comes after `b`.
namespace VrStdString {

/// Byte by byte, which for UTF-8 is the order of the code points.
VORAN_EXPORT int Compare(std::string_view a, std::string_view b);

/// By code point after case folding as `locale` has it: Unicode folding if the locale comes from Boost.Locale, else
/// the locale's lower case, which the "C" locale knows for ASCII alone. A string that is not UTF-8 is read as Latin-1.
VORAN_EXPORT int CompareNoCase(std::string_view a, std::string_view b, const std::locale& locale = std::locale());

}  // namespace VrStdString

namespace VrString {

/// Reads a decimal number that takes up all of `text`: no surrounding space, a point whatever the locale.
///
/// False, and `value` as it was, for any other text, for one that says "inf" or "nan", and for a number that a float
/// cannot hold.
VORAN_EXPORT bool ToFloat(const char* text, float& value);

}  // namespace VrString

namespace detail {

/// What CompareNoCase compares, for callers that compare one string with many.
std::wstring FoldCase(std::string_view text, const std::locale& locale);

}  // namespace detail
}  // namespace voran
