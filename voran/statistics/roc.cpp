#include "voran/statistics/roc.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "voran/containers/missing_value.h"
#include "voran/platform/nc_error.h"

inline namespace voran {
namespace Sta {
namespace {

constexpr float kMissing = voran::detail::kMissing<float>;

struct Observation {
  float value;
  bool isMember;
};

/// Observations and how many of them belong to either class.
struct Sample {
  std::vector<Observation> observations;
  std::uint64_t positives = 0;
  std::uint64_t negatives = 0;
};

[[noreturn]] void Fail(const char* text) {
  throw NCError(ExceptionMessage::translate(text), NCError::Level::kGeneral);
}

void ExpectBothClasses(std::uint64_t positives, std::uint64_t negatives) {
  if (positives == 0) {
    Fail("The predictionset does not contain any observations that belong to the class. ROC can not be calculated.");
  }
  if (negatives == 0) {
    Fail("All observations in the predictionset belongs to the class. ROC can not be calculated.");
  }
}

Sample PresentOnes(const NCDataVector<float>& values, const BoolVector& members) {
  Sample present;
  present.observations.reserve(static_cast<std::size_t>(values.Size()));
  for (int i = 1; i <= values.Size(); ++i) {
    if (values[i] == kMissing) continue;
    present.observations.push_back({values[i], members[i]});
    ++(members[i] ? present.positives : present.negatives);
  }
  return present;
}

void SortByValue(std::vector<Observation>& observations, bool descending) {
  const auto comesFirst = [descending](const Observation& a, const Observation& b) {
    if (std::isnan(a.value) || std::isnan(b.value)) return !std::isnan(a.value) && std::isnan(b.value);
    return descending ? a.value > b.value : a.value < b.value;
  };
  std::stable_sort(observations.begin(), observations.end(), comesFirst);
}

bool IsSameStep(float a, float b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

float Share(std::uint64_t part, std::uint64_t whole) {
  return static_cast<float>(static_cast<double>(part) / static_cast<double>(whole));
}

void Empty(NCDataVector<float>& points, int capacity) {
  points = NCDataVector<float>();
  points.Reserve(capacity);
}

}  // namespace

void GetROC(const NCDataVector<float>& values, const BoolVector& members, bool descending,
            NCDataVector<float>& truePositive, NCDataVector<float>& falsePositive, NCDataVector<float>& thresholds) {
  if (values.Size() != members.Size()) Fail("Internal error in GetROC");
  Sample sample = PresentOnes(values, members);
  const auto numMembers = static_cast<std::uint64_t>(std::count(members.begin(), members.end(), true));
  const std::uint64_t numOthers = static_cast<std::uint64_t>(members.Size()) - numMembers;
  for (auto* points : {&truePositive, &falsePositive, &thresholds}) Empty(*points, values.Size() + 1);
  ExpectBothClasses(numMembers, numOthers);

  const auto append = [&](float ofMembers, float ofOthers, float threshold) {
    truePositive.push_back(ofMembers);
    falsePositive.push_back(ofOthers);
    thresholds.push_back(threshold);
  };
  if (sample.observations.empty()) {
    append(0.0F, 0.0F, kMissing);
    append(1.0F, 1.0F, kMissing);
    return;
  }
  ExpectBothClasses(sample.positives, sample.negatives);
  SortByValue(sample.observations, descending);
  append(0.0F, 0.0F, sample.observations.front().value);
  std::uint64_t positives = 0;
  std::uint64_t negatives = 0;
  for (auto next = sample.observations.begin(); next != sample.observations.end();) {
    const float threshold = next->value;
    for (; next != sample.observations.end() && IsSameStep(next->value, threshold); ++next) {
      ++(next->isMember ? positives : negatives);
    }
    append(Share(positives, sample.positives), Share(negatives, sample.negatives), threshold);
  }
}

float GetROCAreaUnderCurve(const NCDataVector<float>& y, const NCDataVector<float>& x) {
  double sum = 0.0;
  for (int i = 2; i <= y.Size(); ++i) {
    const float height = 0.5F * (y[i] + y[i - 1]);
    const float width = x[i] - x[i - 1];
    sum += static_cast<double>(height) * static_cast<double>(width);
  }
  return static_cast<float>(sum);
}

}  // namespace Sta
}  // namespace voran
