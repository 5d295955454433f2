// One work of this library for benchmarks/compare, which starts this program, and others beside it, and speaks with all
// of them by lines: "run" is answered with the seconds of one call, "result" with the numbers that it gave.

#include "benchmarks/side_by_side.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "benchmarks/in_turn.h"
#include "voran/platform/threading_control.h"
#include "voran/version.h"

namespace side_by_side {

namespace {

Json ReadJson(const std::filesystem::path& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot open " + path.string());
  return Json::parse(in);
}

}  // namespace

Task::Task(const std::filesystem::path& folder, const std::string& name)
    : folder_(folder), about_(ReadJson(folder / (name + ".json"))) {}

std::filesystem::path Task::Path(const char* input, const char* extension) const {
  return folder_ / (about_.at("inputs").at(input).get<std::string>() + extension);
}

Matrix Task::Load(const char* input) const {
  const Json header = ReadJson(Path(input, ".json"));
  const int columns = header.at("columns").get<int>();
  std::ifstream in(Path(input, ".bin"), std::ios::binary);
  std::vector<float> values(static_cast<std::size_t>(columns));
  Matrix x;
  x.ReserveRows(header.at("rows").get<int>());
  for (int i = header.at("rows").get<int>(); i > 0; --i) {
    if (!in.read(reinterpret_cast<char*>(values.data()), static_cast<std::streamsize>(sizeof(float) * values.size()))) {
      throw std::runtime_error(Path(input, ".bin").string() + " is too short");
    }
    Vec row;
    row.CopyZeroBasedVector(values.data(), columns);
    x.push_back(row);
  }
  return x;
}

namespace {

/// A line of /proc/self/status, in bytes; null where the system has no such file.
Json MemoryStatus(const std::string& key) {
  std::ifstream in("/proc/self/status");
  for (std::string word; in >> word;) {
    double kibibytes = 0.0;
    if (word == key + ":" && in >> kibibytes) return 1024.0 * kibibytes;
  }
  return nullptr;
}

/// From here on the system takes note of the largest memory anew.
void ForgetPeakMemory() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

/// How often a short call is repeated in one measurement, so that the clock can tell its time.
int LoopsFor(double seconds) {
  constexpr double kShortest = 0.005;
  return seconds >= kShortest ? 1 : static_cast<int>(std::ceil(kShortest / std::max(seconds, 1e-8)));
}

double TimeOf(const Work& work, int loops) {
  return Seconds([&] {
           for (int i = 0; i < loops; ++i) work.run();
         }) /
         loops;
}

/// What a call finds in the caches, and which threads are awake, is to be its own doing and not that of the programs
/// that ran before it: a call that does not take long is made untimed first, and tells how often to repeat it.
class Clock {
 public:
  explicit Clock(const Work& work) : work_(work), seconds_(TimeOf(work, 1)) { MeasureUntimed(); }

  double Measure() {
    MeasureUntimed();
    return seconds_ = TimeOf(work_, loops_);
  }

 private:
  void MeasureUntimed() {
    constexpr double kLong = 0.5;
    if (seconds_ < kLong) loops_ = LoopsFor(TimeOf(work_, loops_));
  }

  const Work& work_;
  double seconds_;
  int loops_ = 1;
};

void Say(const Json& answer) {
  std::cout << answer.dump() << std::endl;
}

StartWork Find(const std::string& name) {
  for (const Works& works : {ModelWorks(), ClusterWorks(), SignalWorks(), StatisticsWorks(), TableWorks()}) {
    if (const auto found = works.find(name); found != works.end()) return found->second;
  }
  throw std::runtime_error("no work is called " + name);
}

void Serve(const Work& work) {
  const Json loaded = MemoryStatus("VmRSS");
  ForgetPeakMemory();
  Clock clock(work);
  Say({{"ready", true}, {"version", GetVersion()}, {"loaded", loaded}});
  for (std::string request; std::getline(std::cin, request);) {
    if (request == "run") Say({{"seconds", clock.Measure()}});
    if (request == "result") {
      const Json peak = MemoryStatus("VmHWM");
      Say({{"result", work.result()}, {"peak", peak}});
    }
  }
}

}  // namespace
}  // namespace side_by_side

int main(int argc, char** argv) {
  using NCMultiThreading::ThreadingControl;
  if (argc != 4 && argc != 5) {
    std::cerr << "usage: side_by_side WORK FOLDER NAME [THREADS]\n";
    return EXIT_FAILURE;
  }
  try {
    if (argc == 5) {
      ThreadingControl::SetNumberOfProcessors(std::atoi(argv[4]));
      ThreadingControl::SetThreadingIsOn(ThreadingControl::GetNumberOfProcessors() > 1);
    }
    const side_by_side::Task task(argv[2], argv[3]);
    side_by_side::Serve(side_by_side::Find(argv[1])(task, ThreadingControl::GetNumberOfProcessors()));
    return EXIT_SUCCESS;
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
    return EXIT_FAILURE;
  }
}
