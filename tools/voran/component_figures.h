#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/cross_validation.h"

namespace tool {

/// What is told of a component of any model. A NaN stands for a value that cannot be had.
struct ComponentFigures {
  double r2x = 0.0;  ///< share of the scaled table's sum of squares that this component takes away
  double r2xCumulative = 0.0;
  double eigenvalue = 0.0;    ///< variance of the score; a NaN where there is no degree of freedom
  std::optional<double> r2y;  ///< the same shares of the responses; nothing in a model without them
  std::optional<double> r2yCumulative;
  std::optional<ComponentQ2> q2;  ///< nothing without cross-validation
  int iterations = 0;
  bool converged = true;  ///< false if the iteration limit was reached
};

/// Lines for the terminal, one a component, with what the reader should know of them.
std::string ComponentText(const std::vector<ComponentFigures>& components);

/// The array under the key `components`.
nlohmann::ordered_json ComponentJson(const std::vector<ComponentFigures>& components);

/// Writes Q2 of each column of X, or of Y, as a table headed `heading`: of component 1, 2, ..., and then the cumulative
/// ones.
void WriteQ2(std::ostream& out, const std::string& heading, const std::vector<std::string>& names,
             const std::vector<ComponentFigures>& components);

/// For a table on the terminal: four decimals; "-" for a NaN.
std::string ShareText(double share);

/// A number, or null for a NaN.
nlohmann::ordered_json NumberOrNull(double value);

/// The part of `components` that is common to all models.
template <typename Component>
std::vector<ComponentFigures> FiguresOf(const std::vector<Component>& components) {
  return {components.begin(), components.end()};
}

}  // namespace tool
