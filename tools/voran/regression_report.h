#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/output_directory.h"
#include "tools/voran/regression.h"
#include "tools/voran/table.h"

namespace tool {

/// What the reports on all models of responses have in common.
struct RegressionReport {
  const Table& table;
  const RegressionSettings& settings;
  const RegressionResult& result;
};

/// What was modelled, and what the reader should know of the data; `title` names the kind of model.
std::string RegressionHead(std::string_view title, const RegressionReport& report);

/// A table with a line for each response: what is explained and predicted of it, and with what errors.
std::string ResponseText(const RegressionResult& result);

/// The keys from the beginning up to `cv_groups`.
nlohmann::ordered_json RegressionJsonHead(const std::string& command, const RegressionReport& report);

/// The array under the key `responses`.
nlohmann::ordered_json ResponseJson(const RegressionResult& result);

/// Writes coefficients.csv, fitted.csv, with cross-validation predicted_cv.csv, and where a response is a class
/// classes.csv.
void WriteResponseTables(const RegressionReport& report, OutputDirectory& folder);

}  // namespace tool
