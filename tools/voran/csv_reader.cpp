#include "tools/voran/csv_reader.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/csv_chunks.h"
#include "tools/voran/csv_head.h"
#include "tools/voran/csv_rows.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/utf8.h"

namespace tool {
namespace {

// Parses all chunks on several threads, and puts the rows together in the file's order.
class CsvBody {
 public:
  CsvBody(CsvChunkQueue& queue, const CsvDialect& dialect, const ColumnPlan& plan)
      : queue_(queue), dialect_(dialect), plan_(plan) {}

  void Read(const ReadControl& control, std::size_t workers, std::size_t totalBytes) {
    std::vector<std::jthread> threads;
    try {
      for (std::size_t w = 1; w < workers; ++w) threads.emplace_back([this] { Work(nullptr, 0); });
    } catch (const std::system_error&) {
      // The machine has no thread to spare: those there are do the work.
    }
    Work(control.progress, totalBytes);
  }

  // Moves what was read to `table`, or throws for the first thing in the file that could not be read.
  void MoveTo(Table& table, std::size_t linesBefore) {
    const std::size_t rows = CheckAll(table.source, linesBefore);
    table.x = NCDataMatrix<float>();
    table.x.ReserveRows(static_cast<int>(rows));
    std::vector<std::vector<std::string>> texts(plan_.TextColumns().size());
    for (auto& [number, part] : parts_) {
      for (const NCDataVector<float>& row : part.parsed.rows) table.x.push_back(row);
      for (std::size_t k = 0; k < texts.size(); ++k) {
        std::move(part.parsed.texts[k].begin(), part.parsed.texts[k].end(), std::back_inserter(texts[k]));
      }
      part = Part();
    }
    const std::vector<TextColumn> classes = KeepTexts(table, std::move(texts));
    NameColumns(table, plan_);
    for (const TextColumn& column : classes) AddClassResponses(table, column);
  }

  std::size_t MarkerCells() const {
    std::size_t cells = 0;
    for (const auto& [number, part] : parts_) cells += part.parsed.markerCells;
    return cells;
  }

 private:
  struct Part {
    CsvRows parsed;
    std::exception_ptr failure;
  };

  // On a thread of its own nothing may go out.
  void Work(NCProgress* progress, std::size_t totalBytes) noexcept {
    try {
      CsvRowParser parser(dialect_, plan_);
      CsvChunk chunk;
      while (WorkOnNext(parser, chunk, progress, totalBytes)) {
      }
    } catch (...) {
      queue_.Stop();
      const std::lock_guard lock(partsMutex_);
      failure_ = std::current_exception();
    }
  }

  // What is wrong in the chunk becomes part of the result. False if there is no more to do.
  bool WorkOnNext(CsvRowParser& parser, CsvChunk& chunk, NCProgress* progress, std::size_t totalBytes) {
    Part part;
    try {
      const CsvChunkQueue::Outcome outcome = queue_.Next(chunk);
      if (outcome == CsvChunkQueue::Outcome::kEnd) return false;
      if (outcome == CsvChunkQueue::Outcome::kRecordTooLong) {
        part.parsed.complaint = CsvComplaint{0, std::string(": ") + kRecordTooLong};
      } else {
        part.parsed = parser.Parse(chunk.Begin(), chunk.End());
      }
      if (progress != nullptr && !Tell(*progress, totalBytes)) throw Cancelled();
    } catch (...) {
      part.failure = std::current_exception();
    }
    const bool goesOn = !part.failure && !part.parsed.complaint;
    if (!goesOn) queue_.Stop();
    const std::lock_guard lock(partsMutex_);
    parts_[chunk.number] = std::move(part);
    return goesOn;
  }

  bool Tell(NCProgress& progress, std::size_t totalBytes) const {
    if (totalBytes == 0) return progress.NextSpin();
    return progress.SetValue(static_cast<float>(queue_.BytesTaken()) / static_cast<float>(totalBytes));
  }

  // Walks the chunks in order and returns the number of rows.
  std::size_t CheckAll(const std::string& source, std::size_t line) const {
    if (failure_) std::rethrow_exception(failure_);
    std::size_t rows = 0;
    std::optional<std::size_t> blankLine;
    for (const auto& [number, part] : parts_) {
      const CsvRows& parsed = part.parsed;
      if (part.failure) std::rethrow_exception(part.failure);
      if (blankLine && (!parsed.rows.empty() || parsed.complaint)) {
        throw BadData(fmt::format("{}, line {}: is blank; write NA for a missing value", source, *blankLine));
      }
      if (parsed.complaint) {
        throw BadData(fmt::format("{}, line {}{}", source, line + parsed.complaint->line + 1, parsed.complaint->what));
      }
      if (parsed.blankLine && !blankLine) blankLine = line + *parsed.blankLine + 1;
      line += parsed.lines;
      rows += parsed.rows.size();
    }
    if (rows == 0) throw BadData(source + ": has a header and no rows");
    if (rows > kMostCells / plan_.names.size()) {
      throw BadData(fmt::format("{}: has more than {} cells; leave out columns or rows", source, kMostCells));
    }
    return rows;
  }

  // Returns the columns of class names that are to be responses.
  std::vector<TextColumn> KeepTexts(Table& table, std::vector<std::vector<std::string>> texts) const {
    std::vector<TextColumn> classResponses;
    std::size_t k = 0;
    for (const std::size_t c : plan_.TextColumns()) {
      std::vector<std::string>& values = texts[k++];
      if (plan_.roles[c] == ColumnRole::kId) {
        table.rowIds = std::move(values);
      } else if (plan_.roles[c] == ColumnRole::kCvGroup) {
        table.cvGroups = {plan_.names[c], std::move(values)};
      } else if (plan_.roles[c] == ColumnRole::kClassResponse) {
        classResponses.push_back({plan_.names[c], std::move(values)});
      } else {
        table.classes.push_back({plan_.names[c], std::move(values)});
      }
    }
    table.idName = plan_.id ? plan_.names[*plan_.id] : "id";
    if (!plan_.id) table.rowIds = NumberedIds(static_cast<std::size_t>(table.x.SizeRows()));
    return classResponses;
  }

  CsvChunkQueue& queue_;
  const CsvDialect& dialect_;
  const ColumnPlan& plan_;
  std::mutex partsMutex_;
  std::map<std::size_t, Part> parts_;
  std::exception_ptr failure_;  ///< of a thread, beside those of the parts
};

std::string DescribeDialect(const CsvDialect& dialect, const ColumnPlan& plan) {
  const std::string cells = plan.names.size() == 1
                                ? "of one column"
                                : fmt::format("with {}-separated cells", SeparatorName(dialect.separator));
  return fmt::format("read as text {}, decimal {}, {}{}", cells, dialect.decimalMark == ',' ? "comma" : "point",
                     dialect.header ? "a header" : "no header",
                     plan.idAssumed ? fmt::format(", rows named by column {}", Quoted(plan.names[*plan.id])) : "");
}

// Text of another encoding is kept byte by byte; what shows it takes it for UTF-8.
void NoteOtherEncodings(Table& table, const ColumnPlan& plan) {
  if (std::all_of(plan.names.begin(), plan.names.end(), IsUtf8) &&
      std::all_of(table.rowIds.begin(), table.rowIds.end(), IsUtf8)) {
    return;
  }
  table.notes.emplace_back(
      "names of columns or rows are not in UTF-8: some letters will be shown wrongly; save the table as CSV in UTF-8");
}

}  // namespace

Table ReadCsv(ByteSource& source, std::string begun, const std::string& name, const CsvOptions& options) {
  CsvHead head(source, std::move(begun), name, options.dialect, {options.sampleBytes, options.maxRecordBytes});
  const ColumnPlan plan =
      PlanColumns(name, head.Names(), head.FirstColumnNamesRows(), options.roles,
                  options.roles.responses.empty() ? std::vector<std::size_t>() : head.TextColumns());
  Table table;
  table.source = name;
  table.notes.push_back(DescribeDialect(head.Dialect(), plan));
  NoteUnusedColumns(table, plan, options.roles);

  const std::size_t totalBytes = static_cast<std::size_t>(source.TotalSize().value_or(0));
  const std::size_t workers = head.AtEnd() ? 1 : static_cast<std::size_t>(std::max(1, options.control.threads));
  CsvChunkQueue queue(source, head.Dialect().separator, head.TakeRest(), head.AtEnd(),
                      {options.chunkBytes, options.maxRecordBytes});
  CsvBody body(queue, head.Dialect(), plan);
  body.Read(options.control, workers, totalBytes);
  const std::size_t markerCells = body.MarkerCells();
  body.MoveTo(table, head.LinesBefore());
  NoteMarkerCells(table, markerCells);
  NoteOtherEncodings(table, plan);
  return table;
}

}  // namespace tool
