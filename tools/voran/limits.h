#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool {

/// The limits of a specification; at least one of them is set.
struct Limits {
  std::optional<double> low;
  std::optional<double> high;
};

/// One argument of --limits: LOW,HIGH for all columns, or COLUMNS=LOW,HIGH. Either number may be left out.
class LimitsArgument {
 public:
  /// Throws `Failure` (wrong use) if the argument does not have this form, or LOW is not below HIGH.
  explicit LimitsArgument(const std::string& argument);

  /// Sets the limits of the columns that it names, by name or place among `fileColumns`, all columns of the file, of
  /// which `variables` are those in use. Throws `Failure` (wrong use) if it names none of these.
  void Apply(const std::vector<std::string>& fileColumns, const std::vector<std::string>& variables,
             std::vector<std::optional<Limits>>& limits) const;

 private:
  std::optional<std::string> columns_;
  Limits limits_;
};

}  // namespace tool
