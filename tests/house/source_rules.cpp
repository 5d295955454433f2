#include "tests/house/source_rules.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

namespace house {
namespace {

// The layers that each layer of the library may include, itself apart.
const std::map<std::string, std::set<std::string>> kLayers = {
    {"platform", {}},
    {"containers", {"platform"}},
    {"preprocessing", {"containers", "platform"}},
    {"models", {"containers", "platform"}},
    {"cluster", {"containers", "platform"}},
    {"statistics", {"containers", "platform"}},
    {"signal", {"containers", "platform"}},
    {"orthogonal", {"models", "containers", "platform"}},
};

// The one header beyond its layers that a source may include.
const std::map<std::string, std::string> kExceptions = {
    {"voran/cluster/mega_distances.cpp", "voran/statistics/distributions.h"},  // the quantiles it cuts distances by
};

bool StartsWith(const std::string& text, const std::string& start) {
  return text.rfind(start, 0) == 0;
}
bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}
bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Code that knows of vector instructions: the kernels, and the choice of a target for them.
bool IsSimdCode(const std::string& path) {
  return Contains(path, "/kernels/") || path == "voran/containers/simd_target.cpp";
}
bool IsLibrary(const std::string& path) {
  return StartsWith(path, "voran/");
}
bool IsCode(const std::string& path) {
  return EndsWith(path, ".h") || EndsWith(path, ".cpp");
}

// "containers" of "voran/containers/kernels/dot.h"; nothing for a file that lies in voran/ itself.
std::optional<std::string> LayerOf(const std::string& path) {
  static const std::regex layer("^voran/([^/]+)/.*");
  std::smatch match;
  if (!std::regex_match(path, match, layer)) return std::nullopt;
  return match[1].str();
}

// Where the comment or literal that begins at `text[at]` ends; `at` itself if none begins there.
std::size_t EndOfNonCode(const std::string& text, std::size_t at) {
  const auto after = [&](const std::string& closing, std::size_t from) {
    const std::size_t found = text.find(closing, from);
    return found == std::string::npos ? text.size() : found + closing.size();
  };
  if (text.compare(at, 2, "//") == 0) return std::min(text.find('\n', at), text.size());
  if (text.compare(at, 2, "/*") == 0) return after("*/", at + 2);
  if (text.compare(at, 2, "R\"") == 0) {
    const std::size_t open = text.find('(', at);
    return open == std::string::npos ? text.size() : after(")" + text.substr(at + 2, open - at - 2) + "\"", open);
  }
  const char quote = text[at];
  const bool separatesDigits = quote == '\'' && at > 0 && std::isxdigit(static_cast<unsigned char>(text[at - 1])) != 0;
  if ((quote != '"' && quote != '\'') || separatesDigits) return at;
  std::size_t end = at + 1;
  while (end < text.size() && text[end] != quote && text[end] != '\n') end += text[end] == '\\' ? 2 : 1;
  return std::min(end + 1, text.size());
}

bool BeginsInclude(const std::string& text, std::size_t at) {
  if (text[at] != '#') return false;
  return text.compare(std::min(text.find_first_not_of(" \t", at + 1), text.size()), 7, "include") == 0;
}

// `text` with comments and literals blanked out, #include lines apart; lines keep their numbers.
std::string CodeOnly(const std::string& text) {
  std::string code = text;
  for (std::size_t at = 0; at < text.size();) {
    if (BeginsInclude(text, at)) {
      at = std::min(text.find('\n', at), text.size());
      continue;
    }
    const std::size_t end = EndOfNonCode(text, at);
    for (std::size_t i = at; i < end; ++i) {
      if (text[i] != '\n') code[i] = ' ';
    }
    at = std::max(end, at + 1);
  }
  return code;
}

// `code` without what it declares in namespace detail.
std::string WithoutDetail(std::string code) {
  static const std::string opening = "namespace detail {";
  for (std::size_t start = code.find(opening); start != std::string::npos; start = code.find(opening)) {
    std::size_t end = start + opening.size();
    for (int depth = 1; depth > 0 && end < code.size(); ++end) depth += (code[end] == '{') - (code[end] == '}');
    code.erase(start, end - start);
  }
  return code;
}

std::string Breach(const SourceFile& file, int line, const std::string& what) {
  return file.path + ":" + std::to_string(line) + ": " + what;
}

// The path in an #include line, if `line` is one.
std::optional<std::string> IncludedPath(const std::string& line) {
  static const std::regex include(R"re(^\s*#\s*include\s*["<]([^">]+)[">].*)re");
  std::smatch match;
  if (!std::regex_match(line, match, include)) return std::nullopt;
  return match[1].str();
}

// Why `from` may not include `to`; nothing if it may.
std::optional<std::string> ObjectionToInclude(const std::string& from, const std::string& to) {
  if (IsLibrary(from) && StartsWith(to, "hwy/") && !IsSimdCode(from)) {
    return "only sources in a kernels/ folder include " + to;
  }
  if (StartsWith(to, "tools/") && IsLibrary(from)) return "the library does not include the program: " + to;
  if (StartsWith(from, "examples/") && Contains(to, "/") && to != "voran/voran.h") {
    return "an example includes voran/voran.h alone, not " + to;
  }
  if (!IsLibrary(from) || !IsLibrary(to)) return std::nullopt;
  if (from == "voran/voran.h") return std::nullopt;
  if (to == "voran/voran.h") return "the library's own files include what they use, not voran/voran.h";

  const auto source = LayerOf(from);
  const auto target = LayerOf(to);
  if (!source || !target || source == target) return std::nullopt;
  const auto known = kLayers.find(*source);
  if (known == kLayers.end()) return "voran/" + *source + " is no layer that the rules know";
  if (known->second.count(*target) != 0) return std::nullopt;
  const auto exception = kExceptions.find(from);
  if (exception != kExceptions.end() && exception->second == to) return std::nullopt;
  return *source + " may not include " + *target + ": " + to;
}

struct Pattern {
  std::regex text;
  std::string objection;
};

// A breach for every line of `text` that one of `patterns` is found in.
Breaches FindPatterns(const SourceFile& file, const std::string& text, const std::vector<Pattern>& patterns) {
  Breaches breaches;
  std::istringstream lines(text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    for (const Pattern& pattern : patterns) {
      if (std::regex_search(line, pattern.text)) breaches.push_back(Breach(file, number, pattern.objection));
    }
  }
  return breaches;
}

}  // namespace

bool IsPublicHeader(const SourceFile& file) {
  if (!IsLibrary(file.path) || !EndsWith(file.path, ".h") || Contains(file.path, "/kernels/")) return false;
  static const std::regex scaffolding(
      R"re(#[^\n]*|(inline )?namespace \w+ \{|(template <[^>]*>\s*)?(class|struct)( VORAN_EXPORT)? \w+;|\}|\s)re");
  return !std::regex_replace(WithoutDetail(CodeOnly(file.text)), scaffolding, "").empty();
}

Breaches CheckIncludes(const SourceFile& file) {
  Breaches breaches;
  if (!IsCode(file.path)) return breaches;
  std::istringstream lines(CodeOnly(file.text));
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const auto included = IncludedPath(line);
    if (!included) continue;
    if (Contains(line, "\"") && !Contains(*included, "/")) {
      breaches.push_back(Breach(file, number, "write the path from the repository's root: " + *included));
    }
    if (const auto objection = ObjectionToInclude(file.path, *included)) {
      breaches.push_back(Breach(file, number, *objection));
    }
  }
  return breaches;
}

Breaches CheckManners(const SourceFile& file) {
  if (!IsLibrary(file.path) || !IsCode(file.path)) return {};
  static const std::vector<Pattern> always = {
      {std::regex(R"(#\s*include\s*<iostream>)"), "the library does not include <iostream>"},
      {std::regex(R"(\bstd::(cout|cerr|clog|cin)\b)"), "the library does not use the standard streams"},
      {std::regex(R"(\b(v?f?printf|f?puts|putchar|perror)\s*\()"), "the library does not print"},
      {std::regex(R"(\b(abort|exit|quick_exit|_Exit|terminate)\s*\()"), "the library does not end the process"},
      {std::regex(R"(\bsetlocale\s*\()"), "the library does not change the process's locale"},
  };
  static const std::vector<Pattern> environment = {
      {std::regex(R"(\bgetenv\s*\()"),
       "only the choices of a SIMD target and of a temporary directory read the environment"},
  };
  const std::string code = CodeOnly(file.text);
  Breaches breaches = FindPatterns(file, code, always);
  if (!IsSimdCode(file.path) && file.path != "voran/platform/temporary_files.cpp") {
    for (std::string& breach : FindPatterns(file, code, environment)) breaches.push_back(std::move(breach));
  }
  return breaches;
}

Breaches CheckFloatingPointSwitches(const SourceFile& file) {
  static const std::vector<Pattern> switches = {
      {std::regex("fast-math|Ofast|fp:fast|associative-math|unsafe-math"),
       "this switch lets the compiler reorder sums"},
      {std::regex("ffp-contract=(fast|on)"), "a product must not be fused into a sum"},
      {std::regex("-march=|-mavx|-mfma"), "a target chosen for a whole file leaks into shared inline functions"},
      {std::regex(R"(#\s*pragma\s+GCC\s+(optimize|target))"),
       "let Highway choose targets and the build choose switches"},
  };
  return FindPatterns(file, IsCode(file.path) ? CodeOnly(file.text) : file.text, switches);
}

std::vector<std::string> IncludedPaths(const std::string& text) {
  std::vector<std::string> paths;
  std::istringstream lines(CodeOnly(text));
  std::string line;
  while (std::getline(lines, line)) {
    if (auto path = IncludedPath(line)) paths.push_back(std::move(*path));
  }
  return paths;
}

}  // namespace house
