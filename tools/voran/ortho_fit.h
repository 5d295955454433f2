#pragma once

#include <memory>
#include <vector>

#include "tools/voran/ortho_model.h"
#include "tools/voran/table.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/progress.h"

namespace tool {

/// Fits the models of one kind, on all rows and for the cross-validation, in step with each other.
class OrthoFitter {
 public:
  virtual ~OrthoFitter() = default;

  /// Fits the predictive part, and at each later call one orthogonal component more. May throw NCError.
  virtual OrthoMatrices Next(NCProgress* progress) = 0;
  /// The same for the groups, to be called after Next(). What they predict of the scaled Y: observations x responses,
  /// missing where a row has no score.
  virtual NCDataMatrix<float> NextOfGroups(NCProgress* progress) = 0;
  /// Coefficients of the scaled variables for the scaled responses: responses x variables.
  virtual std::vector<std::vector<double>> Coefficients(const OrthoMatrices& matrices) const = 0;
  /// The angle in degrees between a score of an orthogonal component and Y, where the kind has such.
  virtual std::optional<double> Angle(const NCDataVector<float>& score) const = 0;

 protected:
  OrthoFitter() = default;
  OrthoFitter(const OrthoFitter&) = default;
  OrthoFitter& operator=(const OrthoFitter&) = default;
};

/// Makes a fitter for these data; `groups` is null without cross-validation. May throw NCError.
using MakeOrthoFitter = std::unique_ptr<OrthoFitter> (*)(const RegressionData& data, const OrthoSettings& settings,
                                                         const CvGroups* groups);

/// Scales the variables and the responses of the table, fits the predictive part, and takes out orthogonal components
/// until there are enough of them. The matrices are taken out of the table. Throws `Failure`: bad data if nothing is
/// left to fit or a response holds nothing, computation failed if there is no predictive part (or the model is not
/// significant, where cross-validation decides), cancelled if `progress` says so.
OrthoResult FitOrtho(Table& table, const OrthoSettings& settings, MakeOrthoFitter makeFitter, NCProgress* progress);

}  // namespace tool
