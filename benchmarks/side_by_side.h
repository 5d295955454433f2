#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "voran/containers/data_matrix.h"

// What benchmarks/compare runs of this library: one work, on an input that other programs are given too.

namespace side_by_side {

using Json = nlohmann::json;
using Matrix = NCDataMatrix<float>;
using Vec = NCDataVector<float>;

/// A work as the file NAME.json tells it: its numbers, and the names of its inputs by the part that they play.
class Task {
 public:
  Task(const std::filesystem::path& folder, const std::string& name);

  int Number(const char* key) const { return about_.at(key).get<int>(); }
  const Json& operator[](const char* key) const { return about_.at(key); }
  std::filesystem::path Path(const char* input, const char* extension) const;
  /// Raw little-endian floats, row after row, behind a header NAME.json.
  Matrix Load(const char* input) const;
  /// An input of one row.
  Vec LoadSeries(const char* input) const { return Load(input)[1]; }

 private:
  std::filesystem::path folder_;
  Json about_;
};

/// The timed call, from the input in memory to the result in memory, and the key numbers of its last result.
struct Work {
  std::function<void()> run;
  std::function<Json()> result;
};

/// Loads the input. `threads` is how many the library uses, for works that are shared out by the caller.
using StartWork = Work (*)(const Task& task, int threads);
using Works = std::map<std::string, StartWork>;

Works ModelWorks();
Works ClusterWorks();
Works SignalWorks();
Works StatisticsWorks();
Works TableWorks();

/// A work made of a function of the input that gives the result, and of one that tells its numbers.
template <typename Compute, typename Tell>
Work MakeWork(Compute compute, Tell tell) {
  using Result = decltype(compute());
  auto last = std::make_shared<Result>();
  return {[=] { *last = compute(); }, [=] { return tell(*last); }};
}

template <typename Numbers>
Json ToList(const Numbers& numbers) {
  return Json(std::vector<double>(numbers.begin(), numbers.end()));
}

}  // namespace side_by_side
