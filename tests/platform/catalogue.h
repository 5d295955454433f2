#pragma once

#include <cstdint>
#include <locale>
#include <map>
#include <string>
#include <vector>

#include <boost/locale/gnu_gettext.hpp>

#include "voran/platform/exception_message.h"

/// What is looked up (context, byte 4, text), and its translation.
using Texts = std::map<std::string, std::string>;

/// A text whose translation tells the context that it was looked up in.
inline Texts::value_type InContext(const std::string& context, const std::string& text) {
  return {context + '\4' + text, context + ": " + text};
}

/// A compiled gettext catalogue: two tables of lengths and offsets behind a header of seven words, then the texts.
inline std::vector<char> CompileCatalogue(Texts texts) {
  texts[""] = "Content-Type: text/plain; charset=UTF-8\n";
  const auto count = static_cast<std::uint32_t>(texts.size());
  constexpr std::uint32_t kHeaderSize = 28;
  std::vector<std::uint32_t> words = {0x950412de, 0, count, kHeaderSize, kHeaderSize + 8 * count, 0, 0};
  std::string body;
  const auto append = [&](const std::string& text) {
    words.push_back(static_cast<std::uint32_t>(text.size()));
    words.push_back(kHeaderSize + 16 * count + static_cast<std::uint32_t>(body.size()));
    body += text + '\0';
  };
  for (const auto& entry : texts) append(entry.first);
  for (const auto& entry : texts) append(entry.second);
  const auto* bytes = reinterpret_cast<const char*>(words.data());
  std::vector<char> file(bytes, bytes + words.size() * sizeof(std::uint32_t));
  file.insert(file.end(), body.begin(), body.end());
  return file;
}

inline std::locale LocaleWith(const Texts& texts) {
  boost::locale::gnu_gettext::messages_info info;
  info.language = "xx";
  info.encoding = "UTF-8";
  info.domains.emplace_back("voran");
  info.paths.emplace_back("memory");
  info.callback = [texts](const std::string& name, const std::string&) {
    return name == "memory/xx/LC_MESSAGES/voran.mo" ? CompileCatalogue(texts) : std::vector<char>();
  };
  return std::locale(std::locale::classic(), boost::locale::gnu_gettext::create_messages_facet<char>(info));
}

/// While it lives, messages are translated by these texts.
class WithCatalogue {
 public:
  explicit WithCatalogue(const Texts& texts) : before_(ExceptionMessage::SetLocale(LocaleWith(texts))) {}
  ~WithCatalogue() { ExceptionMessage::SetLocale(before_); }
  WithCatalogue(const WithCatalogue&) = delete;
  WithCatalogue& operator=(const WithCatalogue&) = delete;

 private:
  std::locale before_;
};
