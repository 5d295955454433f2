#pragma once

#include <concepts>
#include <locale>
#include <string>
#include <variant>
#include <vector>

#include "voran/export.h"

inline namespace voran {

/// A text for the user: a translated sentence with placeholders, and the arguments that fill them.
///
/// Placeholders are {1}, {2}, ... in the sentence; a translation may use them in any order, more than once, or not at
/// all. {2,num=fixed,precision=3} writes argument 2 with three decimals, if it was given as a floating-point number;
/// num=scientific and a bare precision (significant digits, 6 by default) work likewise. A placeholder without an
/// argument, and any other brace, stands in the result as written. Arguments are inserted as they are and never
/// searched for placeholders. Numbers look the same whatever the process's locale is.
///
/// A value type; texts are UTF-8.
class VORAN_EXPORT ExceptionMessage {
 public:
  /// The message `text`, looked up in the catalogue; `text` is the key, and the result when there is no translation.
  static ExceptionMessage translate(const char* text);
  /// As above, with the translator's context: equal texts of different contexts have translations of their own.
  static ExceptionMessage translate(const char* text, const char* comment);

  /// Installs the locale whose boost::locale message catalogue (its first domain, in UTF-8) translates from now on, and
  /// returns the one that it replaces. The default has no catalogue. The process's global locale is never consulted.
  /// Safe from any thread; messages that exist keep their language.
  static std::locale SetLocale(const std::locale& locale);

  /// Gives the next argument. A null pointer counts as an empty text; arguments without a placeholder are ignored.
  ExceptionMessage& operator%(const char* value);
  ExceptionMessage& operator%(const std::string& value);
  ExceptionMessage& operator%(double value);
  template <std::integral Integer>
  ExceptionMessage& operator%(Integer value) {
    return *this % std::to_string(value);
  }

  /// The sentence with its placeholders filled.
  std::string GetText() const;

 private:
  using Argument = std::variant<std::string, double>;

  explicit ExceptionMessage(std::string text);

  std::string text_;
  std::vector<Argument> arguments_;
};

/// Messages that are told together, in the order in which they were added.
class VORAN_EXPORT ExceptionMessageList {
 public:
  ExceptionMessageList() = default;
  /// The list of this one message: whoever takes a list takes a single message too.
  ExceptionMessageList(const ExceptionMessage& message);  // NOLINT(google-explicit-constructor)

  ExceptionMessageList& operator<<(const ExceptionMessage& message);

  /// The texts one after another, with nothing in between: line breaks are part of the messages.
  std::string GetText() const;

 private:
  std::vector<ExceptionMessage> messages_;
};

namespace detail {

/// `text` in the language of ExceptionMessage::SetLocale, for texts that are no messages, such as those of progress.
VORAN_EXPORT std::string TranslateText(const char* text);
/// As above, with the translator's context.
VORAN_EXPORT std::string TranslateText(const char* text, const char* context);

}  // namespace detail
}  // namespace voran
