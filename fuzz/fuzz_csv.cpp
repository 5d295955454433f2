// Any bytes give a table or a failure, and the same one for every cut and thread count.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "tools/voran/csv_reader.h"
#include "tools/voran/failure.h"

namespace {

// Everything that a caller can see of the outcome.
struct Outcome {
  std::string failure;
  std::vector<std::vector<float>> cells;
  std::vector<std::string> ids;
  std::vector<std::string> variables;

  bool operator==(const Outcome&) const = default;
};

Outcome Read(const std::string& text, std::size_t chunkBytes, int threads) {
  tool::CsvOptions options;
  options.chunkBytes = chunkBytes;
  options.sampleBytes = 64;
  options.control.threads = threads;
  const auto source = tool::SourceFromMemory(text);
  Outcome outcome;
  try {
    const tool::Table table = tool::ReadCsv(*source, "", "t.csv", options);
    for (const auto& row : table.x) outcome.cells.emplace_back(row.begin(), row.end());
    outcome.ids = table.rowIds;
    outcome.variables = table.variables;
    if (table.x.SizeRows() < 1 || table.rowIds.size() != outcome.cells.size()) std::abort();
  } catch (const tool::Failure& failure) {
    outcome.failure = failure.what();
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const Outcome whole = Read(text, 1 << 20, 1);
  if (!(Read(text, 1, 1) == whole) || !(Read(text, 7, 2) == whole)) std::abort();
  return 0;
}
