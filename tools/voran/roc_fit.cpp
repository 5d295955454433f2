#include "tools/voran/roc_fit.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/voran/component_loop.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "voran/containers/bool_vector.h"
#include "voran/platform/nc_error.h"
#include "voran/statistics/roc.h"

namespace tool {
namespace {

// The rows whose class is known.
struct Sample {
  NCDataVector<float> scores;
  BoolVector members;
};

Sample SampleOf(const Table& table, const RocSettings& settings, RocResult& result) {
  const NCDataVector<float> scores = table.x.GetColumn(1);
  const ClassColumn classes = ReadClasses(TextOf(table, settings.classes));
  const int own = classes.IndexOf(settings.positive);
  if (own == kNoClass) {
    throw WrongUse(fmt::format("--positive: column {} of {} has no class {}; there are {}", Quoted(classes.name),
                               table.source, Quoted(settings.positive), Enumerated(classes.classes)));
  }
  Sample sample;
  for (std::size_t i = 0; i < classes.ofRow.size(); ++i) {
    const float score = scores[static_cast<int>(i) + 1];
    const bool isMember = classes.ofRow[i] == own;
    if (classes.ofRow[i] == kNoClass) {
      ++result.withoutClass;
      continue;
    }
    sample.scores.push_back(score);
    sample.members.push_back(isMember);
    ++(score == kGap ? result.withoutScore : isMember ? result.positives : result.negatives);
  }
  return sample;
}

std::optional<std::size_t> BestPoint(const std::vector<RocPoint>& points) {
  const auto youden = [](const RocPoint& point) { return point.truePositive - point.falsePositive; };
  const auto best = std::max_element(points.begin(), points.end(),
                                     [&](const RocPoint& a, const RocPoint& b) { return youden(a) < youden(b); });
  if (!(youden(*best) > 0.0)) return std::nullopt;
  return static_cast<std::size_t>(best - points.begin());
}

}  // namespace

RocResult FitRoc(const Table& table, const RocSettings& settings) {
  RocResult result;
  const Sample sample = SampleOf(table, settings, result);
  NCDataVector<float> truePositive;
  NCDataVector<float> falsePositive;
  NCDataVector<float> thresholds;
  try {
    Sta::GetROC(sample.scores, sample.members, !settings.isAscending, truePositive, falsePositive, thresholds);
  } catch (const NCError& error) {
    throw BadData(fmt::format("{}: {} (class {}, {} with and {} without it have a score)", table.source,
                              AsSentence(error.what()), Quoted(settings.positive), Counted(result.positives, "row"),
                              result.negatives));
  }
  if (result.positives + result.negatives == 0) {
    throw BadData(fmt::format("{}: column {} holds no score; there is nothing to rank", table.source,
                              Quoted(table.variables.front())));
  }
  for (int i = 1; i <= thresholds.Size(); ++i) {
    result.points.push_back({static_cast<double>(thresholds[i]), static_cast<double>(truePositive[i]),
                             static_cast<double>(falsePositive[i])});
  }
  result.area = static_cast<double>(Sta::GetROCAreaUnderCurve(truePositive, falsePositive));
  result.best = BestPoint(result.points);
  return result;
}

}  // namespace tool
