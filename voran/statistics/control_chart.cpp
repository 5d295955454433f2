#include "voran/statistics/control_chart.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "voran/platform/exception_message.h"
#include "voran/statistics/chart_constants.h"
#include "voran/statistics/chart_subgroups.h"
#include "voran/statistics/chart_values.h"
#include "voran/statistics/relative_tolerance.h"

inline namespace voran {

using detail::ChartConstantsFor;
using detail::Difference;
using detail::IsKnown;
using detail::Product;
using detail::Quotient;
using detail::Sum;

namespace {

struct TypeName {
  const char* text;
  const char* shownText;
};

// By control type; the types from kEWMA on share the first.
constexpr TypeName kTypeNames[] = {
    {"Individual", "Individual"}, {"Mean/Range", "Mean/Range"}, {"Mean/StdDev", "Mean/Std. dev."}, {"CuSum", "CuSum"}};

const TypeName& NameOf(ControlChart::ControlType type) {
  const bool hasName = type >= 0 && type < std::ssize(kTypeNames);
  return kTypeNames[hasName ? type : ControlChart::kIndividual];
}

double MeanOfMeans(const NCDataVector<float>& means) {
  const double mean = means.GetMean();
  return detail::Differ(mean, 0.0) ? mean : 0.0;
}

}  // namespace

ControlChart::ControlType ControlChart::ToControlType(const char* text) {
  for (const ControlType type : {kMeanRange, kMeanStdDev, kCuSum}) {
    if (std::string_view(text) == NameOf(type).text) return type;
  }
  return kIndividual;
}

const char* ControlChart::FromControlType(ControlType type) {
  return NameOf(type).text;
}

std::string ControlChart::FromControlTypeLocale(ControlType type) {
  return detail::TranslateText(NameOf(type).shownText, "Control chart type");
}

ControlChart::EWMAType ControlChart::ToEWMAType(const std::wstring& text) {
  for (const EWMAType type : {kFilter, kPredictive}) {
    if (text == ToString(type)) return type;
  }
  return kUnknown;
}

std::wstring ControlChart::ToString(EWMAType type) {
  if (type == kFilter) return L"Filter";
  return type == kPredictive ? L"Predictive" : L"";
}

ControlChart::ControlChart(ControlType type, const NCDataVector<float>& values, int subgroupSize, EWMAType ewmaType)
    : controlType_(type),
      subgroupSize_(subgroupSize),
      meanVector_(detail::SubgroupMeans(values, subgroupSize)),
      ewmaType_(ewmaType) {
  limits_.target = MeanOfMeans(meanVector_);
  limits_.stdDevIndividual = values.GetStdDev();
  if (type == kMeanRange) rangeVector_ = detail::SubgroupRanges(values, subgroupSize);
  if (type == kMeanStdDev || type == kCuSum) stdDevVector_ = detail::SubgroupStdDevs(values, subgroupSize);
  switch (type) {
    case kMeanRange:
      SetMeanRangeValues(rangeVector_.GetMean());
      break;
    case kMeanStdDev:
      SetStdDevValues(stdDevVector_.GetMean());
      break;
    case kCuSum:
      limits_.stdDevMean = stdDevVector_.GetMean();
      [[fallthrough]];
    case kEWMA:
      limits_.stdDevProcess = subgroupSize == 1 ? limits_.stdDevIndividual : GetMSSD();
      break;
    case kIndividualEWMA:
      limits_.stdDevProcess = limits_.stdDevIndividual;
      break;
    default:
      break;
  }
}

void ControlChart::SetMeanRangeValues(double rangeMean) {
  const detail::ChartConstants& constants = ChartConstantsFor(subgroupSize_);
  limits_.rangeMean = rangeMean;
  limits_.meanUCL = Sum(limits_.target, Product(constants.A2, rangeMean));
  limits_.meanLCL = Difference(limits_.target, Product(constants.A2, rangeMean));
  limits_.rangeUCL = Product(constants.D4, rangeMean);
  limits_.rangeLCL = Product(constants.D3, rangeMean);
  limits_.stdDevProcess = Quotient(rangeMean, constants.d2);
}

void ControlChart::SetStdDevValues(double stdDevMean) {
  const detail::ChartConstants& constants = ChartConstantsFor(subgroupSize_);
  limits_.stdDevMean = stdDevMean;
  limits_.stdDevUCL = Product(constants.B4, stdDevMean);
  limits_.stdDevLCL = Product(constants.B3, stdDevMean);
  limits_.meanUCL = Sum(limits_.target, Product(constants.A3, stdDevMean));
  limits_.meanLCL = Difference(limits_.target, Product(constants.A3, stdDevMean));
  limits_.stdDevProcess = Quotient(stdDevMean, constants.c4);
}

void ControlChart::SetTarget(double target) {
  if (!IsKnown(target)) return;
  const detail::ChartConstants& constants = ChartConstantsFor(subgroupSize_);
  limits_.target = target;
  if (controlType_ == kMeanRange || controlType_ == kMeanStdDev) {
    const double offset = controlType_ == kMeanRange ? Product(constants.A2, limits_.rangeMean)
                                                     : Product(constants.A3, limits_.stdDevMean);
    limits_.meanUCL = Sum(target, offset);
    limits_.meanLCL = Difference(target, offset);
  } else if (controlType_ == kCuSum) {
    for (auto* sums : {&devFromTarget_, &highCuSum_, &lowCuSum_}) *sums = NCDataVector<float>();
  } else if (controlType_ == kEWMA) {
    DropEWMALimits();
    ewma_ = NCDataVector<float>();
  }
}

void ControlChart::SetStdDevSubgroup(double stdDev) {
  if (!IsKnown(stdDev)) return;
  const detail::ChartConstants& constants = ChartConstantsFor(subgroupSize_);
  const double ofSubgroup = Product(constants.c4, stdDev);
  switch (controlType_) {
    case kIndividual:
      limits_.stdDevProcess = stdDev;
      break;
    case kMeanRange:
      SetMeanRangeValues(Product(constants.d2, stdDev));
      break;
    case kMeanStdDev:
      SetStdDevValues(ofSubgroup);
      break;
    case kCuSum:
      SetStdDevValues(ofSubgroup);
      mssd_ = ofSubgroup;
      limits_.actionLimit = Product(mssd_, 4.5);
      limits_.deadBand = Product(mssd_, 0.5);
      break;
    case kEWMA:
    case kIndividualEWMA:
      SetStdDevValues(ofSubgroup);
      limits_.stdDevProcess = stdDev;
      DropEWMALimits();
      mssd_ = ofSubgroup;
      break;
    default:
      break;
  }
}

void ControlChart::SetPrevious(double previousEWMA) {
  if (controlType_ == kEWMA || controlType_ == kIndividualEWMA) previousEWMA_ = previousEWMA;
}

void ControlChart::SetPrevious(double low, double high) {
  if (controlType_ != kCuSum) return;
  previousLow_ = low;
  previousHigh_ = high;
}

void ControlChart::ImportLimits(const ControlChart& other) {
  ewmaLambda_ = other.GetEWMALambda();
  limits_ = other.limits_;
  ewmaUCL_ = other.ewmaUCL_;
  ewmaLCL_ = other.ewmaLCL_;
  ewmaStdDev_ = other.ewmaStdDev_;
  mssd_ = other.mssd_;
}

void ControlChart::DropEWMALimits() {
  ewmaUCL_ = detail::kNoValue;
  ewmaLCL_ = detail::kNoValue;
  ewmaStdDev_ = detail::kNoValue;
}

}  // namespace voran
