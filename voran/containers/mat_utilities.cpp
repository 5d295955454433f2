#include "voran/containers/mat_utilities.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>

#include "voran/containers/data_vector.h"

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
  const int count = static_cast<int>(v.size()) - 1;
  NCDataVector<float> steps(count);
  for (int i = 1; i <= count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    steps(i, v[at - 1] - v[at]);
  }
  const double mean = static_cast<float>(steps.GetMean());
  const auto ratio = static_cast<float>(mean / (steps.GetStdDev() + mean));
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
