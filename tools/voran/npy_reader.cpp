#include "tools/voran/npy_reader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/npy_header.h"

namespace tool {
namespace {

static_assert(std::endian::native == std::endian::little, "numbers are taken from the file as they stand");

// Columns that are read together from a column-major file: one cache line of each row is written at a time.
constexpr std::size_t kColumnsAtOnce = 16;

class NpyBody {
 public:
  NpyBody(ByteSource& source, const std::string& name, const NpyHeader& header, NCProgress* progress)
      : source_(source),
        name_(name),
        header_(header),
        rows_(static_cast<std::size_t>(header.rows)),
        columns_(static_cast<std::size_t>(header.columns)),
        progress_(progress) {}

  std::size_t MarkerCells() const { return markerCells_; }

  // Row after row; of each, the columns `kept`.
  NCDataMatrix<float> ReadRowMajor(const std::vector<std::size_t>& kept) {
    NCDataMatrix<float> x;
    std::vector<float> numbers(kept.size());
    for (std::size_t r = 0; r < rows_; ++r) {
      Fetch(columns_);
      for (std::size_t k = 0; k < kept.size(); ++k) numbers[k] = Number(kept[k], r, kept[k]);
      NCDataVector<float> row;
      row.CopyZeroBasedVector(numbers.data(), static_cast<int>(numbers.size()));
      // A few large steps: the array of rows may be long, and is copied at each.
      if ((r & (r - 1)) == 0) x.ReserveRows(static_cast<int>(std::min(rows_, 2 * r + 16)));
      x.push_back(row);
      Tell(r + 1, rows_);
    }
    return x;
  }

  NCDataMatrix<float> ReadColumnMajor(const std::vector<std::size_t>& kept) {
    std::vector<NCDataVector<float>> rows(rows_);
    for (NCDataVector<float>& row : rows) row.SetSize(static_cast<int>(kept.size()));
    std::size_t k = 0;
    for (std::size_t first = 0; first < columns_; first += kColumnsAtOnce) {
      const std::size_t count = std::min(kColumnsAtOnce, columns_ - first);
      Fetch(count * rows_);
      const std::size_t firstKept = k;
      while (k < kept.size() && kept[k] < first + count) ++k;
      for (std::size_t r = 0; r < rows_; ++r) {
        for (std::size_t j = firstKept; j < k; ++j) {
          rows[r](static_cast<int>(j + 1), Number((kept[j] - first) * rows_ + r, r, kept[j]));
        }
      }
      Tell(first + count, columns_);
    }
    NCDataMatrix<float> x;
    x.ReserveRows(static_cast<int>(rows_));
    for (NCDataVector<float>& row : rows) {
      x.push_back(row);
      row = NCDataVector<float>();
    }
    return x;
  }

 private:
  // The next `count` numbers of the file, as they stand there.
  void Fetch(std::size_t count) {
    const std::size_t bytes = count * header_.itemBytes;
    if (bytes_.size() < bytes) bytes_.resize(bytes);
    const std::size_t got = ReadFully(source_, bytes_.data(), bytes);
    if (got == bytes) return;
    throw BadData(fmt::format("{}: ends before its {} x {} numbers are complete; it is cut off or damaged", name_,
                              header_.rows, header_.columns));
  }

  // Number `i` of those fetched, which belongs to this row and column.
  float Number(std::size_t i, std::size_t row, std::size_t column) {
    double value = 0.0;
    if (header_.itemBytes == sizeof(float)) {
      float single = 0.0f;
      std::memcpy(&single, bytes_.data() + i * sizeof single, sizeof single);
      value = static_cast<double>(single);
    } else {
      std::memcpy(&value, bytes_.data() + i * sizeof value, sizeof value);
    }
    if (std::isnan(value)) return kGap;
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) {
      throw BadData(
          fmt::format("{}, row {}, column {}: {} is beyond the range of a number; numbers go up to 3.4e38, "
                      "and a NaN marks a gap",
                      name_, row + 1, column + 1, value));
    }
    const float number = static_cast<float>(value);
    if (number == kGap) ++markerCells_;
    return number;
  }

  void Tell(std::size_t done, std::size_t all) {
    if (progress_ == nullptr) return;
    if (!progress_->SetValue(static_cast<float>(done) / static_cast<float>(all))) throw Cancelled();
  }

  ByteSource& source_;
  const std::string& name_;
  const NpyHeader& header_;
  const std::size_t rows_;
  const std::size_t columns_;
  NCProgress* progress_;
  std::vector<char> bytes_;
  std::size_t markerCells_ = 0;
};

constexpr std::uint64_t kLongestRowFromPipe = 64 * 1024 * 1024;

// A file is measured before anything is set aside for it. Of a pipe only reading tells how long it is, so it may not
// ask for much at once.
void CheckSize(const ByteSource& source, const std::string& name, const NpyHeader& header) {
  const auto total = source.TotalSize();
  if (!total && (header.columnMajor || header.columns * header.itemBytes > kLongestRowFromPipe)) {
    throw BadData(name +
                  ": a .npy table in column-major order, or of very long rows, cannot be read from a pipe; give "
                  "the file itself");
  }
  if (total && *total != header.headerBytes + header.DataBytes()) {
    throw BadData(fmt::format("{}: states {} x {} numbers, which does not fit its {} bytes; it is cut off or damaged",
                              name, header.rows, header.columns, *total));
  }
}

}  // namespace

Table ReadNpy(ByteSource& source, const std::string& name, const RoleRequest& roles, const ReadControl& control) {
  const NpyHeader header = ReadNpyHeader(source, name);
  CheckSize(source, name, header);
  const bool namesText = std::any_of(roles.named.begin(), roles.named.end(),
                                     [](const NamedRole& named) { return named.role == ColumnRole::kClass; });
  if (!roles.id.empty() || !roles.classes.empty() || !roles.cvGroups.empty() || !roles.conditions.empty() ||
      namesText) {
    throw WrongUse(name + ": a .npy file holds numbers alone; --id, --class and other columns of text are for CSV");
  }
  const ColumnPlan plan = PlanColumns(name, NumberedNames(static_cast<std::size_t>(header.columns)), false, roles);
  const std::vector<std::size_t> kept = plan.NumberColumns();

  Table table;
  table.source = name;
  table.notes.push_back(
      fmt::format("read as .npy file of {}", header.itemBytes == sizeof(float) ? "float32" : "float64"));
  NoteUnusedColumns(table, plan, roles);
  NpyBody body(source, name, header, control.progress);
  table.x = header.columnMajor ? body.ReadColumnMajor(kept) : body.ReadRowMajor(kept);
  NameColumns(table, plan);
  table.idName = "id";
  table.rowIds = NumberedIds(static_cast<std::size_t>(header.rows));
  NoteMarkerCells(table, body.MarkerCells());
  return table;
}

}  // namespace tool
