#include "tools/voran/transform_option.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>

#include "tools/voran/command_line.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table.h"
#include "tools/voran/table_roles.h"
#include "tools/voran/terminal.h"
#include "tools/voran/transform_text.h"

namespace tool {
namespace {

constexpr const char* kOption = "--transform";
constexpr std::size_t kNameWidth = 16;

// What may be written behind the name of a function.
struct Form {
  TransformE::Transform transform;
  std::size_t leastConstants;
  std::size_t mostConstants;
  const char* text;
};

constexpr Form kForms[] = {
    {TransformE::kLinear, 1, 2, "linear,C1[,C2] for C1 x + C2"},
    {TransformE::kLog, 0, 2, "log[,C1[,C2]] for log10(C1 x + C2)"},
    {TransformE::kNegLog, 0, 2, "neglog[,C1[,C2]] for -log10(C1 x + C2)"},
    {TransformE::kLogit, 2, 2, "logit,C1,C2 for log10((x - C1) / (C2 - x))"},
    {TransformE::kExponential, 0, 2, "exponential[,C1[,C2]] for exp(C1 x + C2)"},
    {TransformE::kPower, 3, 3, "power,C1,C2,C3 for (C1 x + C2)^C3"},
};

const Form& FormOf(TransformE::Transform transform) {
  return *std::find_if(std::begin(kForms), std::end(kForms), [&](const Form& f) { return f.transform == transform; });
}

std::vector<std::string_view> SplitAtCommas(std::string_view text) {
  std::vector<std::string_view> parts;
  while (true) {
    const auto comma = text.find(',');
    parts.push_back(text.substr(0, comma));
    if (comma == std::string_view::npos) return parts;
    text.remove_prefix(comma + 1);
  }
}

// Constants that leave nothing of the variable, or no interval.
void RefuseEmptyFunction(const TransformStruct& transform, const std::string& argument) {
  const auto refuse = [&](const char* why) {
    throw WrongUse(fmt::format("{}: in {}, {}", kOption, Quoted(argument), why));
  };
  if (transform.GetTransform() == TransformE::kLogit) {
    if (!(transform.GetConstant(1) < transform.GetConstant(2))) refuse("C1 is not below C2");
  } else if (transform.GetConstant(1) == 0.0f) {
    refuse("C1 is 0, which gives all rows the same value");
  } else if (transform.GetTransform() == TransformE::kPower && transform.GetConstant(3) == 0.0f) {
    refuse("C3 is 0, which gives all rows the same value");
  }
}

TransformStruct ParseFunction(std::string_view function, const std::string& argument) {
  const std::vector<std::string_view> parts = SplitAtCommas(function);
  const auto type = TransformNamed(parts.front());
  if (!type) {
    throw WrongUse(fmt::format("{}: in {}, {} is no function; there are {}", kOption, Quoted(argument),
                               Quoted(parts.front()), TransformNames()));
  }
  TransformStruct transform;
  transform.SetTransform(*type);
  transform.SetConstant(1, 1.0f);
  transform.SetConstant(2, 0.0f);
  const std::size_t given = parts.size() - 1;
  const Form& form = FormOf(*type);
  if (given < form.leastConstants || given > form.mostConstants) {
    throw WrongUse(
        fmt::format("{}: {} has {}; write {}", kOption, Quoted(argument), Counted(given, "constant"), form.text));
  }
  for (std::size_t i = 1; i <= given; ++i) {
    const auto number = WholeNumber<float>(parts[i]);
    if (!number || !std::isfinite(*number)) {
      throw WrongUse(fmt::format("{}: in {}, {} is not a number with a decimal point, or too large; write {}", kOption,
                                 Quoted(argument), Quoted(parts[i]), form.text));
    }
    transform.SetConstant(static_cast<int>(i), *number);
  }
  RefuseEmptyFunction(transform, argument);
  return transform;
}

}  // namespace

void TransformOption::AddTo(Command& command) {
  command
      .AddReadList(
          kOption,
          [this](const std::vector<std::string>& list) {
            arguments_.clear();
            for (const std::string& argument : list) arguments_.push_back(Parse(argument));
          },
          "A function for all variables, or for the columns named, before scaling: linear, log, neglog, logit, "
          "exponential or power; a later --transform overrides an earlier one")
      .Type("[COLUMNS=]NAME[,C1[,C2[,C3]]]");
}

TransformOption::Argument TransformOption::Parse(const std::string& argument) {
  const auto equals = argument.rfind('=');
  if (equals == std::string::npos) return {std::nullopt, ParseFunction(argument, argument)};
  if (equals == 0) throw WrongUse(fmt::format("{}: in {}, no column stands before the =", kOption, Quoted(argument)));
  return {argument.substr(0, equals), ParseFunction(std::string_view(argument).substr(equals + 1), argument)};
}

NCTransform TransformOption::Resolve(const std::vector<std::string>& names, std::size_t variables,
                                     const std::vector<std::string>& fileColumns) const {
  NCTransform transform(static_cast<int>(names.size()));
  for (const Argument& argument : arguments_) {
    if (!argument.columns) {
      for (std::size_t c = 1; c <= variables; ++c) transform[static_cast<int>(c)] = argument.transform;
      continue;
    }
    for (const std::size_t place : SelectUsedColumns(fileColumns, names, *argument.columns, kOption)) {
      transform[static_cast<int>(place) + 1] = argument.transform;
    }
  }
  return transform;
}

NCTransform PartOf(const NCTransform& transform, int first, int count) {
  NCTransform part(count);
  for (int c = 1; c <= count; ++c) part[c] = transform[first + c - 1];
  return part;
}

// The matrix.

namespace {

std::vector<int> ChangedColumns(const NCTransform& transform) {
  std::vector<int> columns;
  for (int c = 1; c <= transform.Size(); ++c) {
    if (transform[c].ChangesValues()) columns.push_back(c);
  }
  return columns;
}

// The value that a present one becomes: a gap if the function fails. The class lets two things pass: an infinity where
// it does not test the range, and a result that equals the marker.
float Changed(const TransformStruct& transform, float value, bool back) {
  const auto outcome = back ? transform.BackTransformValue(&value) : transform.TransformValue(&value);
  if (outcome != NCTransformError::kNoError || !std::isfinite(value)) return kGap;
  return value == kGap ? std::nextafter(value, 0.0f) : value;
}

class Failures {
 public:
  explicit Failures(int columns) : failsInColumn_(static_cast<std::size_t>(columns), false) {}

  void Add(int row, int column) {
    ++values_;
    failsInColumn_[static_cast<std::size_t>(column) - 1] = true;
    if (rows_.empty() || rows_.back() != row) rows_.push_back(row);
  }

  std::optional<std::string> Sentence(const std::vector<std::string>& names, const std::vector<std::string>& rowIds,
                                      bool back) const {
    if (values_ == 0) return std::nullopt;
    std::vector<std::string> columns;
    for (std::size_t c = 0; c < names.size(); ++c) {
      if (failsInColumn_[c]) columns.push_back(ShortName(names[c], kNameWidth));
    }
    std::vector<std::string> ids;
    for (const int row : rows_) ids.push_back(rowIds[static_cast<std::size_t>(row) - 1]);
    return fmt::format("{} of {} ({}) could not be transformed{} and became {}, in {} {}", Counted(values_, "value"),
                       Counted(columns.size(), "column"), Enumerated(columns), back ? " back" : "",
                       values_ == 1 ? "a gap" : "gaps", ids.size() == 1 ? "row" : "rows", Enumerated(ids));
  }

 private:
  std::size_t values_ = 0;
  std::vector<bool> failsInColumn_;
  std::vector<int> rows_;
};

}  // namespace

std::optional<std::string> TransformColumns(NCDataMatrix<float>& x, const NCTransform& transform,
                                            const std::vector<std::string>& names,
                                            const std::vector<std::string>& rowIds, bool back) {
  const std::vector<int> columns = ChangedColumns(transform);
  if (columns.empty()) return std::nullopt;
  Failures failures(x.SizeColumns());
  for (int r = 1; r <= x.SizeRows(); ++r) {
    StopIfInterrupted();
    float* const row = x(r).GetWritableVector();
    for (const int c : columns) {
      if (row[c] == kGap) continue;
      const float value = Changed(transform[c], row[c], back);
      if (value == kGap) {
        x(r, c, kGap);  // which counts it
        failures.Add(r, c);
      } else {
        row[c] = value;
      }
    }
  }
  return failures.Sentence(names, rowIds, back);
}

}  // namespace tool
