#include "tools/voran/control_chart_command.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/command_line.h"
#include "tools/voran/command_run.h"
#include "tools/voran/control_chart_fit.h"
#include "tools/voran/control_chart_picture.h"
#include "tools/voran/control_chart_report.h"
#include "tools/voran/failure.h"

namespace tool {
namespace {

struct ControlChartOptions {
  RunOptions run;
  ControlChartSettings settings;
  std::string type;
  std::string reference;
};

ControlChart::ControlType TypeNamed(const std::string& name) {
  for (const auto type :
       {ControlChart::kMeanRange, ControlChart::kMeanStdDev, ControlChart::kCuSum, ControlChart::kEWMA}) {
    if (ControlTypeName(type) == name) return type;
  }
  return ControlChart::kIndividual;
}

void RefuseNumbers(const ControlChartSettings& settings) {
  if (settings.target && (!std::isfinite(*settings.target) || *settings.target == static_cast<double>(kGap))) {
    throw WrongUse("--target: a target is a finite number, and not -99, which marks a gap");
  }
  if (settings.sigma && !(*settings.sigma > 0.0 && std::isfinite(*settings.sigma))) {
    throw WrongUse("--sigma: a standard deviation is a number above 0");
  }
  if (settings.lambda && !(*settings.lambda > 0.0 && *settings.lambda <= 1.0)) {
    throw WrongUse("--lambda: the weight of the newest mean is a number above 0 and up to 1");
  }
  const bool isEwma = settings.type == ControlChart::kEWMA;
  if (settings.lambda && !isEwma) throw WrongUse("--lambda goes with --type ewma alone");
  if (settings.isPredictive && !isEwma) throw WrongUse("--predictive goes with --type ewma alone");
}

// The options name columns of both tables: a message of one that this table lacks says which table it is.
Table ReadReference(const ControlChartOptions& options) {
  try {
    return options.run.table.Read(options.reference);
  } catch (const Failure& failure) {
    if (failure.Code() != ExitCode::kWrongUse) throw;
    throw WrongUse(fmt::format("{}: {}", options.reference, failure.what()));
  }
}

void RunControlChart(const ControlChartOptions& options) {
  ControlChartSettings settings = options.settings;
  settings.type = TypeNamed(options.type);
  RefuseNumbers(settings);
  std::vector<std::string> others;
  if (!options.reference.empty()) others.push_back(options.reference);
  CommandRun run(options.run, others);
  const Table table = run.ReadTable();
  std::optional<Table> reference;
  if (!options.reference.empty()) {
    reference = ReadReference(options);
    run.Tell(reference->source, reference->notes);
  }
  const Table* const limits = reference ? &*reference : nullptr;
  const ControlChartResult result = FitControlChart(table, limits, settings);
  const ControlChartReport report = {table, limits, settings, result};
  run.Finish(
      ControlChartText(report), ControlChartJson(report),
      [&](OutputDirectory& folder) { WriteControlChartTables(report, folder); },
      [&](std::ostream& out) { out << ControlChartPicture(report); });
}

void AddLimits(Command& command, ControlChartOptions& options) {
  command.Add("--target", options.settings.target, "The centre line, in place of the mean of the means").Type("T");
  command
      .Add("--sigma", options.settings.sigma,
           "The standard deviation of the values within a subgroup, in place of an estimate")
      .Type("S");
  command
      .Add("--lambda", options.settings.lambda,
           "The weight of the newest mean in --type ewma; without it the one that predicts best")
      .Type("L");
  command.AddFlag("--predictive", options.settings.isPredictive,
                  "With --type ewma, average what was there before each mean: a forecast of it");
  command.Add("--reference", options.reference, "Take the limits from this table, of a period that was in control")
      .Type("TABLE")
      .NotEmpty();
}

}  // namespace

void AddControlChartCommand(CommandLine& program) {
  Command command = program.AddCommand("chart", "Control chart of a column, with its limits");
  auto options = std::make_shared<ControlChartOptions>();
  command
      .Add("--type", options->type,
           "The values or subgroup means alone, the means with ranges or standard deviations, their cumulative sum, or "
           "their moving average")
      .OneOf({"individual", "range", "stddev", "cusum", "ewma"})
      .Required();
  command.Add("--subgroup", options->settings.subgroup, "How many rows, one after another, make a subgroup")
      .Between(1, std::numeric_limits<int>::max())
      .ShowDefault();
  AddLimits(command, *options);
  options->run.AddWithPictureTo(command, "Draw the chart to this file, as SVG");
  command.Footer(
      R"(Examples:
  voran chart process.csv --x value --where series=light_speed --type range --subgroup 20 --svg light.svg
  voran chart process.csv --x value --where series=nile_flow --type cusum --target 1100
  voran chart today.csv --x weight --type stddev --subgroup 5 --reference last_month.csv)");
  command.OnRun([options] { RunControlChart(*options); });
}

}  // namespace tool
