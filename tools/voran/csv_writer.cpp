#include "tools/voran/csv_writer.h"

#include "tools/voran/number_text.h"

namespace tool {

void CsvWriter::BeginCell() {
  if (!empty_) line_ += ',';
  empty_ = false;
}

void CsvWriter::Text(std::string_view cell) {
  BeginCell();
  const bool blankEnds = !cell.empty() && (cell.front() == ' ' || cell.back() == ' ');
  if (!blankEnds && cell.find_first_of(",\"\r\n") == std::string_view::npos) {
    line_ += cell;
    return;
  }
  line_ += '"';
  for (const char c : cell) {
    if (c == '"') line_ += '"';
    line_ += c;
  }
  line_ += '"';
}

void CsvWriter::Number(double value) {
  BeginCell();
  AppendNumber(line_, value);
}

void CsvWriter::EndRow() {
  line_ += '\n';
  out_ << line_;
  line_.clear();
  empty_ = true;
}

void CsvWriter::Row(std::string_view name, std::span<const double> numbers) {
  Text(name);
  for (const double number : numbers) Number(number);
  EndRow();
}

void WriteNumberedColumns(std::ostream& out, std::string_view heading, const std::vector<std::string>& names,
                          const std::vector<NumberedColumns>& blocks) {
  CsvWriter csv(out);
  csv.Text(heading);
  for (const NumberedColumns& block : blocks) {
    for (std::size_t k = 1; k <= block.columns.size(); ++k) csv.Text(std::string(block.letters) + std::to_string(k));
  }
  csv.EndRow();
  for (std::size_t i = 0; i < names.size(); ++i) {
    csv.Text(names[i]);
    for (const NumberedColumns& block : blocks) {
      for (const std::span<const double> column : block.columns) csv.Number(column[i]);
    }
    csv.EndRow();
  }
}

}  // namespace tool
