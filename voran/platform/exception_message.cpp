#include "voran/platform/exception_message.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include <boost/locale/message.hpp>

inline namespace voran {
namespace {

// Enough decimals for every double that is worth reading; a catalogue cannot make a message longer than this.
constexpr int kMaxPrecision = 100;

struct Translation {
  std::mutex mutex;
  std::locale locale = std::locale::classic();
};

// Built on first use, for messages that are made while other libraries still start.
Translation& CurrentTranslation() {
  static Translation translation;
  return translation;
}

std::locale CurrentLocale() {
  Translation& current = CurrentTranslation();
  const std::lock_guard lock(current.mutex);
  return current.locale;
}

struct Placeholder {
  std::size_t index = 0;  // of the argument, from 0
  std::chars_format format = std::chars_format::general;
  int precision = 6;
};

std::optional<int> ParseNumber(std::string_view digits) {
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

// Removes the part before the first comma from `list`, and returns it.
std::string_view TakeItem(std::string_view& list) {
  const std::size_t comma = list.find(',');
  const std::string_view item = list.substr(0, comma);
  list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  return item;
}

// The placeholder between two braces. Options that are not known are passed over, as a translator's spelling mistake
// should not cost the user the argument.
std::optional<Placeholder> ParsePlaceholder(std::string_view content) {
  const std::optional<int> number = ParseNumber(TakeItem(content));
  if (!number || *number < 1) return std::nullopt;
  Placeholder placeholder;
  placeholder.index = static_cast<std::size_t>(*number) - 1;
  constexpr std::string_view kPrecision = "precision=";
  while (!content.empty()) {
    const std::string_view option = TakeItem(content);
    if (option == "num=fixed") {
      placeholder.format = std::chars_format::fixed;
    } else if (option == "num=scientific" || option == "num=sci") {
      placeholder.format = std::chars_format::scientific;
    } else if (option.starts_with(kPrecision)) {
      const int precision = ParseNumber(option.substr(kPrecision.size())).value_or(placeholder.precision);
      placeholder.precision = std::clamp(precision, 0, kMaxPrecision);
    }
  }
  return placeholder;
}

std::string FormatArgument(const std::string& value, const Placeholder&) {
  return value;
}

std::string FormatArgument(double value, const Placeholder& placeholder) {
  // Sign, the 309 digits of the largest double, point, decimals.
  std::array<char, 320 + kMaxPrecision> buffer;
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, placeholder.format, placeholder.precision);
  return error == std::errc() ? std::string(buffer.data(), end) : std::string();
}

}  // namespace

ExceptionMessage::ExceptionMessage(std::string text) : text_(std::move(text)) {}

ExceptionMessage ExceptionMessage::translate(const char* text) {
  return translate(text, nullptr);
}

ExceptionMessage ExceptionMessage::translate(const char* text, const char* comment) {
  return ExceptionMessage(detail::TranslateText(text, comment));
}

std::locale ExceptionMessage::SetLocale(const std::locale& locale) {
  Translation& current = CurrentTranslation();
  const std::lock_guard lock(current.mutex);
  return std::exchange(current.locale, locale);
}

ExceptionMessage& ExceptionMessage::operator%(const char* value) {
  arguments_.emplace_back(std::string(value ? value : ""));
  return *this;
}

ExceptionMessage& ExceptionMessage::operator%(const std::string& value) {
  arguments_.emplace_back(value);
  return *this;
}

ExceptionMessage& ExceptionMessage::operator%(double value) {
  arguments_.emplace_back(value);
  return *this;
}

std::string ExceptionMessage::GetText() const {
  std::string result;
  std::string_view rest = text_;
  for (std::size_t open = rest.find('{'); open != std::string_view::npos; open = rest.find('{')) {
    result += rest.substr(0, open);
    rest.remove_prefix(open + 1);
    const std::size_t close = rest.find('}');
    std::optional<Placeholder> placeholder;
    if (close != std::string_view::npos) placeholder = ParsePlaceholder(rest.substr(0, close));
    if (placeholder && placeholder->index < arguments_.size()) {
      result += std::visit([&](const auto& value) { return FormatArgument(value, *placeholder); },
                           arguments_[placeholder->index]);
      rest.remove_prefix(close + 1);
    } else {
      result += '{';
    }
  }
  result += rest;
  return result;
}

ExceptionMessageList::ExceptionMessageList(const ExceptionMessage& message) : messages_{message} {}

ExceptionMessageList& ExceptionMessageList::operator<<(const ExceptionMessage& message) {
  messages_.push_back(message);
  return *this;
}

std::string ExceptionMessageList::GetText() const {
  std::string text;
  for (const ExceptionMessage& message : messages_) text += message.GetText();
  return text;
}

namespace detail {

std::string TranslateText(const char* text) {
  return TranslateText(text, nullptr);
}

std::string TranslateText(const char* text, const char* context) {
  const std::locale locale = CurrentLocale();
  // Without a catalogue the text is handed through untouched; boost would drop what is not ASCII in it.
  if (!std::has_facet<boost::locale::message_format<char>>(locale)) return text;
  return boost::locale::message(context, text).str(locale);
}

}  // namespace detail
}  // namespace voran
