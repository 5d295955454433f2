#include "voran/containers/mat_utilities.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>

#include "voran/containers/missing_value.h"

inline namespace voran {
namespace NCMatUtilities {
namespace {

using ShowMatrixCallback = boost::function<void(const NCDataMatrix<float>&, const char*)>;

struct CallbackSlot {
  std::mutex mutex;
  ShowMatrixCallback callback;
};

CallbackSlot& GetCallbackSlot() {
  static CallbackSlot slot;
  return slot;
}

struct SlopeStatistics {
  double mean = detail::kNoValue;
  double stdDev = detail::kNoValue;
};

SlopeStatistics GetStatistics(const std::vector<float>& values) {
  SlopeStatistics result;
  double sum = 0.0;
  int count = 0;
  for (const float value : values) {
    if (value == detail::kMissing<float>) continue;
    sum += value;
    ++count;
  }
  if (count == 0) return result;
  result.mean = sum / count;
  if (result.mean == detail::kNoValue) result.mean += -1e-5;  // a mean of present values must not read as missing

  if (count < 2) return result;
  double squares = 0.0;
  for (const float value : values) {
    if (value != detail::kMissing<float>) squares += (value - result.mean) * (value - result.mean);
  }
  result.stdDev = std::sqrt(squares / (count - 1));
  return result;
}

}  // namespace

void ShowMatrix(const NCDataMatrix<float>& m, const char* title) {
  ShowMatrixCallback callback;
  {
    CallbackSlot& slot = GetCallbackSlot();
    const std::lock_guard guard(slot.mutex);
    callback = slot.callback;
  }
  if (callback) callback(m, title);
}

void SetShowMatrixCallback(ShowMatrixCallback callback) {
  CallbackSlot& slot = GetCallbackSlot();
  const std::lock_guard guard(slot.mutex);
  slot.callback.swap(callback);
}

float NCGetQuietNaN() {
  return std::numeric_limits<float>::quiet_NaN();
}

bool HasVectorConstantSlope(const std::vector<float>& v) {
  if (v.empty()) return false;
  std::vector<float> steps(v.size() - 1);
  for (std::size_t i = 0; i < steps.size(); ++i) steps[i] = v[i] - v[i + 1];
  const SlopeStatistics statistics = GetStatistics(steps);
  const double mean = static_cast<float>(statistics.mean);
  const auto ratio = static_cast<float>(mean / (statistics.stdDev + mean));
  return static_cast<double>(ratio) > 0.99;
}

NCIntegralVector<int, -99>* ComplementVector(const NCIntegralVector<int, -99>* list, int from, int to) {
  auto complement = std::make_unique<NCIntegralVector<int, -99>>();
  const int* entry = list->begin();
  for (std::int64_t number = from; number <= to; ++number) {
    while (entry != list->end() && *entry < number) ++entry;
    if (entry == list->end() || *entry != number) complement->push_back(static_cast<int>(number));
  }
  return complement.release();
}

}  // namespace NCMatUtilities
}  // namespace voran
