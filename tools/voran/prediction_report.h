#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/prediction.h"

namespace tool {

/// Everything that is told of a prediction.
struct PredictionReport {
  const Table& table;
  const std::string& modelPath;
  const SavedModel& model;
  double maxMissing;
  const Prediction& prediction;
  bool predictsX;  ///< the responses are the columns of X, and those of Y predict them
};

/// A table for the terminal, of the first rows.
std::string PredictionText(const PredictionReport& report);

/// All rows as one object; the keys are described in docs/command_line.md.
nlohmann::ordered_json PredictionJson(const PredictionReport& report);

/// Writes predictions.csv (of a model with responses), scores.csv and distances.csv.
void WritePredictionTables(const PredictionReport& report, OutputDirectory& folder);

}  // namespace tool
