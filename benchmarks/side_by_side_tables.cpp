// A table from separated text: as the program reads it, and as a bare loop over the cells would.

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string>
#include <thread>

#include <fast_float/fast_float.h>

#include "benchmarks/side_by_side.h"
#include "tools/voran/table_reader.h"

namespace side_by_side {
namespace {

constexpr float kGap = -99.0f;

Work StartReading(const Task& task, int threads) {
  return MakeWork(
      [path = task.Path("table", ".csv").string(), threads] {
        tool::CsvOptions options;
        options.control.threads = threads;
        options.dialect.header = false;
        return tool::ReadTable(path, options, nullptr).x;
      },
      [](const Matrix& x) {
        double sum = 0.0;
        for (const double mean : x.GetColumnMeans()) sum += mean;
        return Json{{"size", {x.SizeRows(), x.SizeColumns(), x.GetNumMisVal()}},
                    {"sum_of_column_means", {sum}},
                    {"last_cells", {x.back()[x.SizeColumns() - 1], x.back()[x.SizeColumns()]}}};
      });
}

using Cells = std::vector<float>;

/// The cells of a stretch of whole lines; what is no number is a gap.
void ParseCells(const char* from, const char* end, Cells& cells) {
  cells.clear();
  while (from < end) {
    float value = kGap;
    const auto parsed = fast_float::from_chars(from, end, value);
    cells.push_back(parsed.ec == std::errc() ? value : kGap);
    from = parsed.ec == std::errc() ? parsed.ptr + 1 : from + 1;
  }
}

/// The least that reading can do: no dialect, no names, no check, no rows, and memory that is kept between the calls.
struct BareLoop {
  BareLoop(std::filesystem::path table, int threads)
      : path(std::move(table)), parts(static_cast<std::size_t>(threads)) {}

  void Read() {
    text.resize(std::filesystem::file_size(path));
    std::ifstream(path, std::ios::binary).read(text.data(), static_cast<std::streamsize>(text.size()));
    std::vector<std::thread> threads;
    std::size_t from = 0;
    for (std::size_t k = 0; k < parts.size(); ++k) {
      const std::size_t near = text.size() / parts.size() * (k + 1);
      const std::size_t end = k + 1 == parts.size() ? text.size() : text.find('\n', near) + 1;
      threads.emplace_back([=, this] { ParseCells(text.data() + from, text.data() + end, parts[k]); });
      from = end;
    }
    for (std::thread& thread : threads) thread.join();
  }

  std::filesystem::path path;
  std::string text;
  std::vector<Cells> parts;
};

Json TellBareLoop(const BareLoop& loop) {
  const auto columns = std::count(loop.text.begin(), std::find(loop.text.begin(), loop.text.end(), '\n'), ',') + 1;
  std::vector<double> sums(static_cast<std::size_t>(columns));
  std::vector<double> present(sums.size());
  std::size_t cells = 0;
  for (const Cells& part : loop.parts) {
    for (const float x : part) {
      const std::size_t column = cells++ % sums.size();
      if (x == kGap) continue;
      sums[column] += static_cast<double>(x);
      ++present[column];
    }
  }
  double sum = 0.0;
  double numbers = 0.0;
  for (std::size_t k = 0; k < sums.size(); ++k) {
    sum += sums[k] / present[k];
    numbers += present[k];
  }
  const auto cellCount = static_cast<double>(cells);
  const Cells& last = loop.parts.back();
  return {{"size", {cellCount / static_cast<double>(columns), columns, cellCount - numbers}},
          {"sum_of_column_means", {sum}},
          {"last_cells", {last[last.size() - 2], last.back()}}};
}

Work StartBareLoop(const Task& task, int threads) {
  auto loop = std::make_shared<BareLoop>(task.Path("table", ".csv"), threads);
  return {[loop] { loop->Read(); }, [loop] { return TellBareLoop(*loop); }};
}

}  // namespace

Works TableWorks() {
  return {{"read_csv", StartReading}, {"read_csv_bare", StartBareLoop}};
}

}  // namespace side_by_side
