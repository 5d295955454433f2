#pragma once

#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/voran/csv_reader.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"

namespace tool {

/// The options that commands share. A command adds the groups it needs, and reads what they hold once the command line
/// is parsed.

/// Which table, how it is written, and what its columns are used for.
class TableOptions {
 public:
  void AddTo(CLI::App& command);

  /// Reads the table, with progress, on the threads that `ThreadOptions` left set. Throws `Failure`.
  Table Read() const;

  const std::string& Path() const { return path_; }

 private:
  CsvOptions Resolve() const;

  std::string path_;
  RoleRequest roles_;
  std::string separator_ = "auto";
  std::string decimalMark_ = "auto";
  std::string header_ = "auto";
};

/// Where results go, and what else is told.
struct OutputOptions {
  std::string folder;  ///< empty means none
  bool json = false;
  bool quiet = false;

  void AddTo(CLI::App& command);
  /// Tells the user on standard error what was recognised and assumed, unless he wants quiet.
  void Tell(const Table& table) const;
};

/// How many threads to use.
class ThreadOptions {
 public:
  void AddTo(CLI::App& command);
  /// Sets the library's number of threads.
  void Apply() const;

 private:
  std::optional<int> threads_;
};

/// `--scaling`; what `scaling` holds before is the default.
void AddScaling(CLI::App& command, Scaling& scaling);

/// "uv", "pareto", "center" or "none", as in the option.
std::string ScalingName(Scaling scaling);

}  // namespace tool
