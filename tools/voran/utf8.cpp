#include "tools/voran/utf8.h"

namespace tool {

std::optional<Utf8Character> FirstCharacter(std::string_view text) {
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t bytes = lead < 0x80 ? 1 : lead < 0xc0 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf8 ? 4 : 0;
  if (bytes == 0 || bytes > text.size()) return std::nullopt;
  char32_t code = bytes == 1 ? lead : lead & (0x7fU >> bytes);
  for (const char next : text.substr(1, bytes - 1)) {
    const auto byte = static_cast<unsigned char>(next);
    if ((byte & 0xc0U) != 0x80U) return std::nullopt;
    code = (code << 6U) | (byte & 0x3fU);
  }
  const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
  if (code < kLeast[bytes] || code > 0x10ffff || isSurrogate) return std::nullopt;
  return Utf8Character{code, bytes};
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto character = FirstCharacter(text);
    if (!character) return false;
    text.remove_prefix(character->bytes);
  }
  return true;
}

}  // namespace tool
