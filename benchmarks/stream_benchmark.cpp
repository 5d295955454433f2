// A matrix with gaps written to a file and read back, beside a plain write and read of the same elements.
//
//     stream_benchmark [ROWS COLUMNS [FOLDER]]
//
// The two run in turn, each preceded by an untimed run, and a time is the median of several. The plain one writes the
// rows from, and reads them into, an array of as many bytes that exists before; nothing less can be done with the file.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/made_data.h"
#include "voran/containers/data_matrix.h"

namespace {

constexpr int kRuns = 9;

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> times) {
  std::nth_element(times.begin(), times.begin() + kRuns / 2, times.end());
  return times[kRuns / 2];
}

void Require(bool isTrue, const char* what) {
  if (!isTrue) throw std::runtime_error(what);
}

/// What the process has taken of memory at most since the last ResetPeak(), and what it has now, in MiB.
double MemoryOf(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(field, 0) == 0) return std::strtod(line.c_str() + std::string(field).size() + 1, nullptr) / 1024.0;
  }
  return 0.0;
}

void ResetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

/// One way of storing the matrix.
struct Way {
  const char* name;
  std::function<void()> write;
  std::function<void()> read;
  std::vector<double> writeTimes;
  std::vector<double> readTimes;
};

void Report(const Way& way, double plainWrite, double plainRead, double megabytes) {
  const double write = Median(way.writeTimes);
  const double read = Median(way.readTimes);
  std::printf("%-8s %8.1f %8.0f %8.2f %8.1f %8.0f %8.2f %10.2f\n", way.name, 1e3 * write, megabytes / write,
              plainWrite / write, 1e3 * read, megabytes / read, plainRead / read,
              (plainWrite + plainRead) / (write + read));
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 2 ? std::atoi(argv[1]) : 20000;
  const int columns = argc > 2 ? std::atoi(argv[2]) : 1000;
  const std::filesystem::path folder = argc > 3 ? argv[3] : std::filesystem::temp_directory_path();
  const std::string path = (folder / "voran_stream_benchmark").string();
  const auto rowBytes = static_cast<std::streamsize>(columns) * static_cast<std::streamsize>(sizeof(float));

  const NCDataMatrix<float> x = MadeMatrix(rows, columns, 0.05);
  std::vector<float> plain(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  NCDataMatrix<float> read;

  Way ways[] = {{"plain",
                 [&] {
                   std::ofstream file(path, std::ios::binary);
                   for (const auto& row : x) file.write(reinterpret_cast<const char*>(row.begin()), rowBytes);
                   Require(file.flush().good(), "cannot write the file");
                 },
                 [&] {
                   std::ifstream file(path, std::ios::binary);
                   for (int i = 0; i < rows; ++i) {
                     float* const row = plain.data() + static_cast<std::size_t>(i) * static_cast<std::size_t>(columns);
                     file.read(reinterpret_cast<char*>(row), rowBytes);
                   }
                   Require(file.good(), "cannot read the file");
                 },
                 {},
                 {}},
                {"matrix",
                 [&] {
                   std::ofstream file(path, std::ios::binary);
                   Require(WriteStreamable(file, x), "cannot write the matrix");
                 },
                 [&] {
                   std::ifstream file(path, std::ios::binary);
                   Require(ReadStreamable(file, read), "cannot read the matrix");
                 },
                 {},
                 {}}};
  for (int run = 0; run <= kRuns; ++run) {
    for (Way& way : ways) {
      const double write = Seconds(way.write);
      const double readBack = Seconds(way.read);
      if (run > 0) way.writeTimes.push_back(write), way.readTimes.push_back(readBack);
    }
  }
  Require(std::equal(read.begin(), read.end(), x.begin(), x.end()) && read.GetNumMisVal() == x.GetNumMisVal(),
          "what was read is not what was written");

  const double megabytes = 1e-6 * static_cast<double>(rowBytes) * rows;
  std::printf("%d x %d floats, 5%% gaps, %.0f MB, median of %d\n", rows, columns, megabytes, kRuns);
  std::printf("%-8s %8s %8s %8s %8s %8s %8s %10s\n", "", "write ms", "MB/s", "/plain", "read ms", "MB/s", "/plain",
              "both/plain");
  const double plainWrite = Median(ways[0].writeTimes);
  const double plainRead = Median(ways[0].readTimes);
  for (const Way& way : ways) Report(way, plainWrite, plainRead, megabytes);

  ResetPeak();
  const double before = MemoryOf("VmRSS:");
  ways[1].write();
  std::printf("memory beyond the matrix: %.1f MiB to write", MemoryOf("VmHWM:") - before);
  ResetPeak();
  ways[1].read();
  const double peak = MemoryOf("VmHWM:");
  std::printf(", %.1f MiB to read (the peak, %.1f, above what remains)\n", peak - MemoryOf("VmRSS:"), peak);
  std::filesystem::remove(path);
  return 0;
}
