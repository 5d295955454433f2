#include "voran/signal/turning_table.h"

#include <cmath>
#include <mutex>
#include <numbers>
#include <utility>

inline namespace voran {
namespace detail {

namespace {

constexpr std::size_t kLongestKept = std::size_t{1} << 21;

/// The recurrence for the factors of one stage.
struct Rotation {
  explicit Rotation(std::size_t h) : half(h) {
    const double angle = std::numbers::pi / static_cast<double>(h);
    const double sine = std::sin(0.5 * angle);
    stepRe = -2.0 * sine * sine;
    stepIm = std::sin(angle);
  }
  void Step() {
    const double before = re;
    re = before * stepRe - im * stepIm + before;
    im = im * stepRe + before * stepIm + im;
  }

  std::size_t half;
  double stepRe;
  double stepIm;
  double re = 1.0;
  double im = 0.0;
};

struct KeptTable {
  std::mutex mutex;
  std::shared_ptr<const TurningTable> table;
};

KeptTable& Kept() {
  static KeptTable kept;
  return kept;
}

}  // namespace

std::shared_ptr<const TurningTable> TurningTable::UpTo(std::size_t greatestLength) {
  {
    const std::lock_guard lock(Kept().mutex);
    if (Kept().table != nullptr && Kept().table->GreatestLength() >= greatestLength) return Kept().table;
  }
  auto table = std::make_shared<const TurningTable>(greatestLength);
  if (greatestLength <= kLongestKept) {
    const std::lock_guard lock(Kept().mutex);
    std::shared_ptr<const TurningTable>& kept = Kept().table;
    if (kept == nullptr || kept->GreatestLength() < greatestLength) kept = table;
  }
  return table;
}

// Every stage is one long chain of dependent steps, so all of them advance side by side.
TurningTable::TurningTable(std::size_t greatestLength) : cosines_(greatestLength + 1), sines_(greatestLength + 1) {
  const std::size_t greatestHalf = greatestLength / 2;
  std::vector<Rotation> stages;
  for (std::size_t half = greatestHalf; half > 0; half /= 2) stages.emplace_back(half);
  for (std::size_t k = 0; k < greatestHalf; ++k) {
    while (stages.back().half <= k) stages.pop_back();
    for (Rotation& stage : stages) {
      cosines_[stage.half + k] = stage.re;
      sines_[stage.half + k] = stage.im;
      stage.Step();
    }
  }
}

}  // namespace detail
}  // namespace voran
