#pragma once

#include <cstdint>
#include <string>

#include "voran/containers/data_vector.h"
#include "voran/export.h"

inline namespace voran {

/// The statistics of a control chart: subgroup means, ranges and standard deviations with three-sigma limits, the
/// cumulative sum, and the exponentially weighted moving average. It draws nothing.
///
/// Made from the measurements; a target, a known sigma or the end of earlier data are then set, and limits and vectors
/// read. Vectors have one element per subgroup. A number that is not computed, or cannot be, is -99.0, and whatever
/// would need it is -99.0 too. What the lazy getters compute is kept: setters drop it only where they say so.
///
/// A value type. One chart is used by one thread, getters included.
class VORAN_EXPORT ControlChart {
 public:
  enum ControlType : std::int32_t {
    kIndividual = 0,      ///< subgroup means alone
    kMeanRange = 1,       ///< sigma from the mean range
    kMeanStdDev = 2,      ///< sigma from the mean standard deviation
    kCuSum = 3,           ///< sigma from the differences of neighbouring means
    kEWMA = 4,            ///< the same, for the moving average
    kIndividualEWMA = 5,  ///< sigma from all values, for the moving average
  };

  enum EWMAType : std::int32_t {
    kFilter = 0,      ///< element i averages up to mean i
    kPredictive = 1,  ///< element i is the forecast from the means before it
    kUnknown = 2,     ///< the type of an unknown text: only a first element is computed
  };

  /// 1, 2 or 3 for exactly "Mean/Range", "Mean/StdDev" or "CuSum", else 0.
  static ControlType ToControlType(const char* text);
  /// The text of ToControlType; "Individual" for all other types.
  static const char* FromControlType(ControlType type);
  /// The name in the user's language.
  static std::string FromControlTypeLocale(ControlType type);
  /// From "Filter" and "Predictive".
  static EWMAType ToEWMAType(const std::wstring& text);
  /// Empty for an unknown type.
  static std::wstring ToString(EWMAType type);

  /// Divides `values` into runs of `subgroupSize` (at least 1); an incomplete one at the end is left out of the
  /// subgroups. Means and standard deviations skip gaps. The target is the mean of the means. Limits that come from the
  /// factors of quality control exist for sizes 2 to 25.
  ControlChart(ControlType type, const NCDataVector<float>& values, int subgroupSize, EWMAType ewmaType);

  ControlType GetControlType() const { return controlType_; }
  EWMAType GetEWMAType() const { return ewmaType_; }
  double GetTarget() const { return limits_.target; }
  double GetMeanUCL() const { return limits_.meanUCL; }
  double GetMeanLCL() const { return limits_.meanLCL; }
  NCDataVector<float> GetMeanVector() const { return meanVector_; }

  /// Ranges are computed for kMeanRange. Deliberately, a gap is not skipped: it makes its subgroup begin anew, so that
  /// the values before it do not count, and a subgroup that ends in a gap has no range.
  NCDataVector<float> GetRangeVector() const { return rangeVector_; }
  double GetRangeMean() const { return limits_.rangeMean; }
  double GetRangeUCL() const { return limits_.rangeUCL; }
  double GetRangeLCL() const { return limits_.rangeLCL; }

  /// The sigma of the process, by the source that the type names.
  double GetStdDevProcess() const { return limits_.stdDevProcess; }
  /// The standard deviation of all values.
  double GetStdDevIndividual() const { return limits_.stdDevIndividual; }
  /// Standard deviations of the subgroups are computed for kMeanStdDev and kCuSum; missing where fewer than two values
  /// are present.
  NCDataVector<float> GetStdDevVector() const { return stdDevVector_; }
  double GetStdDevMean() const { return limits_.stdDevMean; }
  double GetStdDevUCL() const { return limits_.stdDevUCL; }
  double GetStdDevLCL() const { return limits_.stdDevLCL; }

  // The tabular cumulative sum of the deviations from the target beyond a dead band of half a sigma, with an action
  // limit of four and a half; sigma is that of GetMSSD. A gap carries the sums over; gaps at the start hold those of
  // earlier data, or 0.

  double GetActionLimit() const;
  double GetDeadBand() const;
  NCDataVector<float> GetDevFromTarget() const;
  NCDataVector<float> GetHighCuSum() const;
  NCDataVector<float> GetLowCuSum() const;

  // The exponentially weighted moving average. It starts from SetPrevious, the target or the first present mean.

  NCDataVector<float> GetEWMA() const;
  /// The weight of the newest mean: as set, else the one with the smallest squared error of prediction, found by a
  /// search from either end of 0.1 to 1.
  double GetEWMALambda() const;
  /// The limits for a long series: sigma sqrt(lambda / (2 - lambda)), thrice, around the target.
  double GetEWMAUCL() const;
  double GetEWMALCL() const;
  double GetEWMAStdDev() const;
  /// The sigma of the means by the mean square successive difference (von Neumann 1941); for subgroups of one it is
  /// GetStdDevProcess.
  double GetMSSD() const;

  /// Moves the limits of the means; drops the cumulative sums of kCuSum, and the average and its limits of kEWMA. A
  /// missing target is ignored.
  void SetTarget(double target);
  /// A known standard deviation of the values within a subgroup; a missing one is ignored. Drops the limits of the
  /// average of kEWMA and kIndividualEWMA.
  void SetStdDevSubgroup(double stdDev);
  /// The setters from here on drop nothing: call them before anything is read.
  void SetEWMALambda(double lambda) { ewmaLambda_ = lambda; }
  void SetEWMAType(EWMAType type) { ewmaType_ = type; }
  void SetFirstValueAsTarget(bool firstValueAsTarget) { firstValueAsTarget_ = firstValueAsTarget; }
  /// Where the average of earlier data ended. For kEWMA and kIndividualEWMA, ignored by others.
  void SetPrevious(double previousEWMA);
  /// Where the cumulative sums of earlier data ended. For kCuSum, ignored by others.
  void SetPrevious(double low, double high);

  /// Takes target, limits, sigmas and lambda from the chart of a reference period.
  void ImportLimits(const ControlChart& other);

 private:
  struct Limits {
    double target = -99.0;
    double meanUCL = -99.0;
    double meanLCL = -99.0;
    double rangeMean = -99.0;
    double rangeUCL = -99.0;
    double rangeLCL = -99.0;
    double stdDevProcess = -99.0;
    double stdDevIndividual = -99.0;
    double stdDevMean = -99.0;
    double stdDevUCL = -99.0;
    double stdDevLCL = -99.0;
    double actionLimit = -99.0;
    double deadBand = -99.0;
  };

  void SetMeanRangeValues(double rangeMean);
  void SetStdDevValues(double stdDevMean);
  void DropEWMALimits();
  void CalculateCuSum() const;
  void CalculateCuSumIfMissing(const NCDataVector<float>& vector) const;
  void CalculateEWMA(NCDataVector<float>& result, double lambda, EWMAType type) const;
  double CalculateSumErrForEstimatedLambda(NCDataVector<float>& work, double lambda) const;
  double EstimateLambda(double start, double step) const;
  void CalculateEWMALimits() const;

  ControlType controlType_;
  std::int32_t subgroupSize_;
  NCDataVector<float> meanVector_;
  NCDataVector<float> rangeVector_;
  NCDataVector<float> stdDevVector_;
  mutable Limits limits_;
  mutable NCDataVector<float> devFromTarget_;
  mutable NCDataVector<float> highCuSum_;
  mutable NCDataVector<float> lowCuSum_;
  mutable double ewmaLambda_ = -99.0;
  mutable NCDataVector<float> ewma_;
  mutable double ewmaUCL_ = -99.0;
  mutable double ewmaLCL_ = -99.0;
  mutable double ewmaStdDev_ = -99.0;
  mutable double mssd_ = -99.0;
  double previousEWMA_ = -99.0;
  double previousLow_ = -99.0;
  double previousHigh_ = -99.0;
  bool firstValueAsTarget_ = false;
  EWMAType ewmaType_;
};

}  // namespace voran
