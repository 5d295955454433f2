#pragma once

#include <optional>
#include <string>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/integral_vector.h"
#include "voran/models/significance.h"
#include "voran/platform/progress.h"

namespace tool {

/// How many components an O2PLS model has.
struct O2plsCounts {
  int joint = 0;
  int xOrthogonal = 0;
  int yOrthogonal = 0;
};

/// What cross-validation tells of a component.
struct O2plsVerdict {
  double q2Cumulative = 0.0;  ///< of the model with this component and those before it
  SignificanceE::Significance verdict = SignificanceE::kNS;
};

struct O2plsCv {
  O2plsCounts counts;
  std::vector<O2plsVerdict> joint;        ///< Q2 of Y, with all orthogonal components
  std::vector<O2plsVerdict> xOrthogonal;  ///< Q2 of Y
  std::vector<O2plsVerdict> yOrthogonal;  ///< Q2 of X
  // Of the whole model.
  double q2X = 0.0;
  double q2Y = 0.0;
  std::vector<double> q2OfResponses;
  /// Scaled, responses x observations: each predicted by the model of the other groups.
  std::vector<std::vector<double>> predictedY;
};

/// Two scaled, complete blocks, and the group of each of their rows.
struct O2plsData {
  const std::string& source;
  const NCDataMatrix<float>& x;
  const NCDataMatrix<float>& y;
};

/// Cross-validates the model with these numbers of components, or with those that it chooses. Throws `Failure`:
/// computation failed if the blocks have no component in common, or a model of the groups cannot be formed; cancelled
/// if `progress`, which may be null, says so.
O2plsCv CrossValidateO2pls(const O2plsData& data, NCIntegralVector<int, -99> groups,
                           const std::optional<O2plsCounts>& counts, int iterationLimit, NCProgress* progress);

}  // namespace tool
