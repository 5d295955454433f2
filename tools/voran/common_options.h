#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/voran/command_line.h"
#include "tools/voran/csv_reader.h"
#include "tools/voran/row_filter.h"
#include "tools/voran/scaling.h"
#include "tools/voran/table.h"

namespace tool {

/// The options that commands share. A command adds the groups it needs, and reads what they hold once the command line
/// is parsed.

/// Which table, how it is written, and what its columns are used for.
class TableOptions {
 public:
  /// All that a command needs which takes the roles of the columns from the user.
  void AddTo(Command& command);
  /// The same without the roles, but for the id: those are the model's that SetModel() names.
  void AddToPredict(Command& command);
  void AddResponses(Command& command);
  /// The same, but there may be none.
  void AddSecondBlock(Command& command);
  Option AddCvColumn(Command& command, const Option& groups);

  /// The source and `--where`, for a command that takes its columns by options of its own, one each.
  void AddSourceTo(Command& command);
  Option AddColumn(Command& command, const std::string& option, std::string& column, ColumnRole role,
                   const std::string& help);
  /// `--x` and `--exclude`, for a command that uses all columns where those options are not given. Returns `--x`.
  Option AddVariables(Command& command);
  /// `--where`, beside the roles of AddTo().
  void AddWhere(Command& command);

  void SetModel(ModelColumns columns) { roles_.model = std::move(columns); }

  /// Reads the table, with progress, on the threads that `ThreadOptions` left set. Throws `Failure`.
  Table Read() const { return Read(path_); }
  /// Another one with the same roles.
  Table Read(const std::string& path) const;

  const std::string& Path() const { return path_; }

 private:
  void AddSource(Command& command);
  void AddDialect(Command& command);
  CsvOptions Resolve() const;

  std::string path_;
  RoleRequest roles_;
  std::vector<RowCondition> conditions_;
  std::string separator_ = "auto";
  std::string decimalMark_ = "auto";
  std::string header_ = "auto";
};

/// Where results go, and what else is told.
struct OutputOptions {
  std::string folder;  ///< empty means none
  bool json = false;
  bool quiet = false;

  void AddTo(Command& command);
};

/// An option that names where output goes; an empty name is wrong use.
void AddPath(Command& command, const std::string& option, std::string& path, const std::string& type,
             const std::string& help);

/// How many threads to use.
class ThreadOptions {
 public:
  void AddTo(Command& command);
  /// Sets the library's number of threads.
  void Apply() const;

 private:
  std::optional<int> threads_;
};

/// `--scaling`, or another `option`; what `scaling` holds before is the default.
void AddScaling(Command& command, Scaling& scaling, const std::string& option = "--scaling",
                const std::string& help =
                    "uv: centre, divide by the standard deviation; pareto: centre, divide by its "
                    "square root; center: centre alone; none");
/// `--components N|auto`; the default stays where the option is not given.
void AddComponents(Command& command, std::optional<int>& count, bool& isAuto, const std::string& help);
/// The same of another option, which takes numbers from `least`; nothing means auto.
void AddCount(Command& command, const std::string& option, std::optional<int>& count, int least,
              const std::string& help);
/// `--cv-groups`.
Option AddCvGroups(Command& command, std::optional<int>& groups);
/// `--max-iterations`.
void AddIterationLimit(Command& command, int& limit);

/// "uv", "pareto", "center" or "none", as in the option.
std::string ScalingName(Scaling scaling);

}  // namespace tool
