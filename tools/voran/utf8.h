#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tool {

/// A character and how many bytes it takes in UTF-8.
struct Utf8Character {
  char32_t code;
  std::size_t bytes;
};

/// Of a text that is not empty. Nothing for bytes that are no UTF-8, with overlong forms and surrogates (Unicode 15,
/// table 3-7).
std::optional<Utf8Character> FirstCharacter(std::string_view text);

/// Whether all of `text` is.
bool IsUtf8(std::string_view text);

}  // namespace tool
