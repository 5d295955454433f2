#include "tools/voran/describe_command.h"

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/voran/column_summary.h"
#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/describe_report.h"
#include "tools/voran/limits.h"
#include "voran/platform/progress.h"

namespace tool {
namespace {

struct DescribeOptions {
  RunOptions run;
  std::vector<std::string> limits;
};

void RunDescribe(const DescribeOptions& options) {
  const std::vector<LimitsArgument> arguments(options.limits.begin(), options.limits.end());
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  std::vector<std::optional<Limits>> limits(table.variables.size());
  for (const LimitsArgument& argument : arguments) argument.Apply(table.columns, table.variables, limits);

  const GapCounts gaps = CountGaps(table.x, table.rowIds);
  const std::vector<ColumnSummary> columns = [&] {
    NCProgress progress("describe", 0.0f, 1.0f, false, false, true, "");
    return SummariseColumns(table.x, limits, &progress);
  }();
  const DescribeReport report = {table, gaps, columns};
  run.Finish(DescribeText(report), DescribeJson(report),
             [&](OutputDirectory& folder) { WriteDescribeTables(report, folder); });
}

}  // namespace

void AddDescribeCommand(CommandLine& program) {
  Command command = program.AddCommand("describe", "Statistics of each column");
  auto options = std::make_shared<DescribeOptions>();
  command
      .Add("--limits", options->limits,
           "Specification limits, for Cp and Cpk: of all columns, or of those named. Either number may be left "
           "out; a later --limits overrides an earlier one")
      .Type("[COLUMNS=]LOW,HIGH");
  options->run.AddTo(command);
  command.Footer(
      R"(The skewness test is the skewness over its standard error: beyond 2 in magnitude, a column is hardly
symmetric. Kurtosis is 0 for a normal distribution.

Examples:
  voran describe wine.csv --class class
  voran describe process.csv --x value --limits 700,1000
  voran describe batches.csv --limits ph=6.8,7.4 --limits yield=85, --out results)");
  command.OnRun([options] { RunDescribe(*options); });
}

}  // namespace tool
