#include "voran/platform/string_compare.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

#include <boost/locale/conversion.hpp>
#include <boost/locale/encoding_errors.hpp>
#include <boost/locale/encoding_utf.hpp>

inline namespace voran {
namespace {

std::wstring Widen(std::string_view text) {
  namespace conv = boost::locale::conv;
  try {
    return conv::utf_to_utf<wchar_t>(text.data(), text.data() + text.size(), conv::stop);
  } catch (const conv::conversion_error&) {
    std::wstring latin1(text.size(), L'\0');
    std::transform(text.begin(), text.end(), latin1.begin(), [](char c) { return static_cast<unsigned char>(c); });
    return latin1;
  }
}

}  // namespace

std::wstring detail::FoldCase(std::string_view text, const std::locale& locale) {
  std::wstring folded = Widen(text);
  if (std::has_facet<boost::locale::converter<wchar_t>>(locale)) return boost::locale::fold_case(folded, locale);
  std::use_facet<std::ctype<wchar_t>>(locale).tolower(folded.data(), folded.data() + folded.size());
  return folded;
}

int VrStdString::Compare(std::string_view a, std::string_view b) {
  return a.compare(b);
}

int VrStdString::CompareNoCase(std::string_view a, std::string_view b, const std::locale& locale) {
  return detail::FoldCase(a, locale).compare(detail::FoldCase(b, locale));
}

bool VrString::ToFloat(const char* text, float& value) {
  std::string_view digits(text);
  if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
  float parsed = 0.0F;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, parsed);
  if (error != std::errc() || stop != end || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

}  // namespace voran
