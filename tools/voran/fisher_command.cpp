#include "tools/voran/fisher_command.h"

#include <limits>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/failure.h"
#include "tools/voran/fisher_fit.h"
#include "tools/voran/fisher_report.h"

namespace tool {
namespace {

struct FisherOptions {
  RunOptions run;
  FisherSettings settings;
};

void RefuseHalfForms(const FisherSettings& settings) {
  if (settings.rows.empty() != settings.columns.empty()) throw WrongUse("--rows and --columns go together");
  if (!settings.counts.empty() && settings.rows.empty()) {
    throw WrongUse("--counts goes with --rows and --columns, which say what the counts are of");
  }
}

void RunFisher(const FisherOptions& options) {
  RefuseHalfForms(options.settings);
  CommandRun run(options.run);
  const Table table = run.ReadTable();
  const CountTable counts = ReadCounts(table, options.settings);
  const double p = TestCounts(counts, table.source, options.settings);
  const FisherReport report = {table, options.settings, counts, p};
  run.Finish(
      FisherText(report), FisherJson(report), [&](OutputDirectory& folder) { WriteFisherTables(report, folder); },
      [&](std::ostream& out) { out << FisherPicture(report); });
}

void AddLongForm(Command& command, FisherOptions& options) {
  FisherSettings& settings = options.settings;
  TableOptions& table = options.run.table;
  table
      .AddColumn(command, "--rows", settings.rows, ColumnRole::kClass,
                 "The column that names the row of the counts; without it, the table holds the counts themselves")
      .Excludes(table.AddVariables(command));
  table.AddColumn(command, "--columns", settings.columns, ColumnRole::kClass,
                  "The column that names the column of the counts");
  table.AddColumn(command, "--counts", settings.counts, ColumnRole::kVariable,
                  "The column of counts; without it, each row counts once");
}

void AddTest(Command& command, FisherSettings& settings) {
  const auto readSided = [&settings](const std::string& name) {
    settings.sidedness = name == "less"      ? Sta::SidedNess::kLess
                         : name == "greater" ? Sta::SidedNess::kGreater
                                             : Sta::SidedNess::kTwoSided;
  };
  command
      .AddRead("--sided", readSided,
               "Of a 2 x 2 table: less and greater count the tables with a smaller, or larger, first cell")
      .OneOf({"two-sided", "less", "greater"})
      .Default("two-sided");
  command.AddFlag("--hybrid", settings.isHybrid,
                  "Use the chi-square distribution for parts of a larger table where it is good enough");
  command.Add("--workspace", settings.workspace, "How large a table may become before the test gives up")
      .Between(1, std::numeric_limits<int>::max())
      .ShowDefault();
}

}  // namespace

void AddFisherCommand(CommandLine& program) {
  Command command = program.AddCommand("fisher", "Fisher's exact test of a table of counts");
  auto options = std::make_shared<FisherOptions>();
  AddTest(command, options->settings);
  AddLongForm(command, *options);
  options->run.AddSvgTo(command, "Draw the shares of the counts to this file, as SVG");
  options->run.AddWithoutRolesTo(command);
  command.Footer(
      R"(Examples:
  voran fisher counts.csv
  voran fisher contingency.csv --where table=tea_tasting --rows row --columns column --counts count --sided greater
  voran fisher patients.csv --rows treatment --columns outcome)");
  command.OnRun([options] { RunFisher(*options); });
}

}  // namespace tool
