#include "tools/voran/fisher_fit.h"

#include <string_view>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/library_error.h"
#include "voran/platform/exception.h"
#include "voran/platform/nc_error.h"

namespace tool {
namespace {

// What helps a table that outgrows the workspace; nothing here helps one whose keys are too large.
std::string HintFor(const NCError& error, const FisherSettings& settings) {
  if (std::string_view(error.what()).find("size of the workspace") == std::string_view::npos) return {};
  return fmt::format(" (--workspace is {}){}", settings.workspace, settings.isHybrid ? "" : ", or try --hybrid");
}

}  // namespace

double TestCounts(const CountTable& table, const std::string& source, const FisherSettings& settings) {
  if (settings.sidedness != Sta::SidedNess::kTwoSided && !table.IsTwoByTwo()) {
    throw WrongUse(fmt::format("--sided: less and greater are for 2 x 2 tables, and that of {} is {} x {}", source,
                               table.rows.size(), table.columns.size()));
  }
  try {
    return Sta::GetFisherExactProbability(table.counts.data(), static_cast<int>(table.rows.size()),
                                          static_cast<int>(table.columns.size()), settings.isHybrid, settings.sidedness,
                                          settings.workspace);
  } catch (const CancelException&) {
    throw Cancelled();
  } catch (const NCError& error) {
    throw FailureOf(error, source, nullptr, HintFor(error, settings));
  }
}

std::optional<double> OddsRatio(const CountTable& table) {
  if (!table.IsTwoByTwo() || table.At(0, 1) == 0 || table.At(1, 0) == 0) return std::nullopt;
  return static_cast<double>(table.At(0, 0)) * table.At(1, 1) / (static_cast<double>(table.At(0, 1)) * table.At(1, 0));
}

}  // namespace tool
