#include "tools/voran/regression_options.h"

#include <vector>

#include <fmt/format.h>

#include "tools/voran/command_line.h"
#include "tools/voran/common_options.h"
#include "tools/voran/failure.h"

namespace tool {

const char* const kRegressionColumns =
    R"(COLUMNS is a list of names, positions from 1, or ranges: octane,3,nm900..nm1100; see voran pca --help.
All columns that have no other use are the variables. A column of text under --y makes a response of 0 and 1 for each
of its classes. --transform means the variables unless it names columns, and the responses may be among those; voran
transform --help lists the functions.

)";

void RegressionOptions::AddTo(Command& command, RegressionSettings& settings) {
  AddScaling(command, settings.scaling);
  AddScaling(command, settings.yScaling, "--y-scaling", "The same of the responses");
  transform.AddTo(command);
  AddIterationLimit(command, settings.iterationLimit);
  const Option groups = AddCvGroups(command, cvGroups);
  const Option column = run.table.AddCvColumn(command, groups);
  command.AddFlag("--no-cv", isNotCrossValidated, "No cross-validation; then numbers of components have to be given")
      .Excludes(groups)
      .Excludes(column)
      .Group("Cross-validation");
  run.AddSaveTo(command);
  run.AddTo(command);
}

void RegressionOptions::RefuseAutoWithoutCv(bool isAuto, const std::string& what, const std::string& option) const {
  if (!isNotCrossValidated || !isAuto) return;
  throw WrongUse(fmt::format("--no-cv leaves nothing to choose the number of {} by; give {} N", what, option));
}

void RegressionOptions::Complete(const Table& table, RegressionSettings& settings) const {
  settings.isCrossValidated = !isNotCrossValidated;
  settings.cvGroups = cvGroups.value_or(settings.cvGroups);
  if (!transform.IsGiven()) return;
  std::vector<std::string> names = table.variables;
  names.insert(names.end(), table.responses.begin(), table.responses.end());
  settings.transforms = transform.Resolve(names, table.variables.size(), table.columns);
}

}  // namespace tool
