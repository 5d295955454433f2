#pragma once

#include <optional>
#include <string>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/regression.h"
#include "tools/voran/transform_option.h"

namespace tool {

/// The options that the commands share which model responses.
struct RegressionOptions {
  RunOptions run;
  TransformOption transform;
  std::optional<int> cvGroups;
  bool isNotCrossValidated = false;

  /// Adds all but `--y`, which is to come first, and the numbers of components. What `settings` holds before are the
  /// defaults; both objects have to outlive the command.
  void AddTo(Command& command, RegressionSettings& settings);

  /// Throws `Failure` (wrong use) if without cross-validation `isAuto` has nothing to go by; `what` is to be counted,
  /// and `option` tells how many.
  void RefuseAutoWithoutCv(bool isAuto, const std::string& what, const std::string& option) const;

  /// Puts into `settings` what is known only once the table is. Throws `Failure` (wrong use).
  void Complete(const Table& table, RegressionSettings& settings) const;
};

/// What the help of such a command says of columns and transforms.
extern const char* const kRegressionColumns;

}  // namespace tool
