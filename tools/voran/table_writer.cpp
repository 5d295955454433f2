#include "tools/voran/table_writer.h"

#include <cstddef>
#include <limits>

#include "tools/voran/csv_writer.h"
#include "tools/voran/terminal.h"

namespace tool {

void WriteTable(std::ostream& out, const Table& table, const std::vector<std::string>& columns,
                const NCDataMatrix<float>& x, double unit) {
  CsvWriter csv(out);
  csv.Text(table.idName);
  for (const TextColumn& classes : table.classes) csv.Text(classes.name);
  for (const std::string& column : columns) csv.Text(column);
  csv.EndRow();
  std::size_t r = 0;
  for (const NCDataVector<float>& row : x) {
    StopIfInterrupted();
    csv.Text(table.rowIds[r]);
    for (const TextColumn& classes : table.classes) csv.Text(classes.values[r]);
    for (const float value : row) {
      csv.Number(value == kGap ? std::numeric_limits<double>::quiet_NaN() : unit * static_cast<double>(value));
    }
    csv.EndRow();
    ++r;
  }
}

}  // namespace tool
