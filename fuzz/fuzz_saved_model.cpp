// Any bytes give a model of the program or a failure. A model that was read predicts rows, and comes out again when it
// is written and read. The library is built to believe every checksum.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "fuzz/expect.h"
#include "fuzz/round_trip.h"
#include "tools/voran/failure.h"
#include "tools/voran/model_file.h"
#include "tools/voran/model_kind.h"
#include "tools/voran/o2pls_model.h"
#include "tools/voran/prediction.h"
#include "tools/voran/prediction_report.h"
#include "voran/platform/nc_error.h"

namespace {

constexpr std::size_t kMostColumns = 64;

tool::Table MakeTable(const tool::SavedModel& model) {
  tool::Table table;
  table.source = "t.csv";
  table.variables = model.x.names;
  table.rowIds = {"a", "b", "c"};
  table.idName = "id";
  table.x = NCDataMatrix<float>(3, static_cast<int>(model.x.names.size()), 1.5f);
  table.x(2, 1, -99.0f);
  table.x(3, 1, 3e38f);
  return table;
}

void Predict(const tool::SavedModel& model) {
  tool::Table table = MakeTable(model);
  const tool::Prediction prediction = tool::Predict(table, model, 0.5, nullptr);
  fuzz::Expect(prediction.scores.size() == model.Components(), "a row of scores for each component");
  fuzz::Expect(prediction.responses.size() == model.y.names.size(), "a prediction of each response");
  const tool::PredictionReport report = {table, "m", model, 0.5, prediction, false};
  tool::PredictionText(report);
  tool::PredictionJson(report);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  try {
    const tool::SavedModel model = tool::ReadModel(stream, "m");
    const std::string written = fuzz::Written(model);
    tool::SavedModel again;
    fuzz::Expect(fuzz::IsRead(written, again) && fuzz::Written(again) == written, "a model that was written is read");
    if (model.x.names.size() > kMostColumns || model.y.names.size() > kMostColumns) return 0;
    Predict(model);
    if (model.ySpread && model.classes.empty()) Predict(tool::Mirrored(model));
  } catch (const tool::Failure&) {
  } catch (const NCError&) {
  }
  return 0;
}
