#include "tools/voran/common_options.h"

#include <map>

#include <fmt/format.h>

#include "tools/voran/cross_validation.h"
#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"
#include "tools/voran/table_reader.h"
#include "tools/voran/terminal.h"
#include "voran/platform/threading_control.h"

namespace tool {
namespace {

using NCMultiThreading::ThreadingControl;

constexpr const char* kTableGroup = "Table";
constexpr const char* kOutputGroup = "Output";
constexpr const char* kCvGroup = "Cross-validation";
constexpr int kMostThreads = 1024;
constexpr int kMostCvGroups = 1000000;
constexpr int kMostComponents = 1000000;

const std::map<std::string, Scaling> kScalings = {{"uv", Scaling::kUnitVariance},
                                                  {"pareto", Scaling::kPareto},
                                                  {"center", Scaling::kCentre},
                                                  {"none", Scaling::kNone}};

Option AddList(Command& command, const std::string& name, std::vector<std::string>& list, const std::string& help) {
  return command.Add(name, list, help).Type("COLUMNS").Group(kTableGroup);
}

void AddChoice(Command& command, const std::string& name, std::string& value, const std::vector<std::string>& choices,
               const std::string& help) {
  command.Add(name, value, help).OneOf(choices).ShowDefault().Group(kTableGroup);
}

// Nothing for auto.
std::optional<int> ReadCount(const std::string& option, const std::string& text, int least) {
  if (text == "auto") return std::nullopt;
  const auto count = WholeNumber<int>(text);
  if (count && *count >= least && *count <= kMostComponents) return count;
  throw WrongUse(fmt::format("{}: {} is neither a number of components nor auto", option, Quoted(text)));
}

int ReadingThreads() {
  return ThreadingControl::IsThreadingOn() ? ThreadingControl::GetNumberOfProcessors() : 1;
}

}  // namespace

void TableOptions::AddTo(Command& command) {
  AddSource(command);
  AddList(command, "--class", roles_.classes, "Columns of group names, kept out of the model");
  AddVariables(command);
  AddDialect(command);
}

Option TableOptions::AddVariables(Command& command) {
  const Option variables = AddList(command, "--x", roles_.variables, "Use these columns alone");
  AddList(command, "--exclude", roles_.unused, "Leave these columns out");
  return variables;
}

void TableOptions::AddToPredict(Command& command) {
  AddSource(command);
  AddDialect(command);
}

void TableOptions::AddResponses(Command& command) {
  AddList(command, "--y", roles_.responses, "The columns to predict").Required();
}

void TableOptions::AddSecondBlock(Command& command) {
  AddList(command, "--y", roles_.responses, "The columns of a second block");
}

Option TableOptions::AddCvColumn(Command& command, const Option& groups) {
  return AddList(command, "--cv-column", roles_.cvGroups, "The column that names the group of each row")
      .Type("COLUMN")
      .Excludes(groups)
      .Group(kCvGroup);
}

void TableOptions::AddSourceTo(Command& command) {
  roles_.mayHaveClasses = false;
  AddSource(command);
  AddWhere(command);
  AddDialect(command);
}

Option TableOptions::AddColumn(Command& command, const std::string& option, std::string& column, ColumnRole role,
                               const std::string& help) {
  const auto read = [this, option, role, &column](const std::string& item) {
    column = item;
    roles_.named.push_back({option, item, role});
  };
  return command.AddRead(option, read, help).Type("COLUMN").Group(kTableGroup);
}

void TableOptions::AddWhere(Command& command) {
  const auto read = [this](const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
      conditions_.push_back(ReadCondition(argument));
      roles_.conditions.push_back(conditions_.back().column);
    }
  };
  command
      .AddReadList("--where", read,
                   "Use the rows that hold this in a column; one of several values, in each of several columns")
      .Type("COLUMN=VALUE")
      .Group(kTableGroup);
}

void TableOptions::AddSource(Command& command) {
  command.AddArgument("TABLE", path_, "CSV, TSV or .npy file; - is standard input");
  const Option id = AddList(command, "--id", roles_.id, "The column that names the rows");
  command.AddFlag("--no-id", roles_.noId, "Do not take the first column for the names of the rows")
      .Excludes(id)
      .Group(kTableGroup);
}

void TableOptions::AddDialect(Command& command) {
  AddChoice(command, "--separator", separator_, {"auto", "comma", "semicolon", "tab"}, "What stands between cells");
  AddChoice(command, "--decimal", decimalMark_, {"auto", "point", "comma"}, "The decimal mark");
  AddChoice(command, "--header", header_, {"auto", "yes", "no"}, "Whether the first row holds names");
}

CsvOptions TableOptions::Resolve() const {
  static const std::map<std::string, char> separators = {{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}};
  CsvOptions options;
  options.roles = roles_;
  if (separator_ != "auto") options.dialect.separator = separators.at(separator_);
  if (decimalMark_ != "auto") options.dialect.decimalMark = decimalMark_ == "comma" ? ',' : '.';
  if (header_ != "auto") options.dialect.header = header_ == "yes";
  options.control.threads = ReadingThreads();
  return options;
}

Table TableOptions::Read(const std::string& path) const {
  NCProgress progress(fmt::format("reading {}", path).c_str(), 0.0f, 1.0f, false, false, true, "");
  CsvOptions options = Resolve();
  options.control.progress = &progress;
  Table table = ReadTable(path, options, &Interrupted());
  KeepRows(table, conditions_);
  return table;
}

void AddPath(Command& command, const std::string& option, std::string& path, const std::string& type,
             const std::string& help) {
  command.Add(option, path, help).Type(type).NotEmpty().Group(kOutputGroup);
}

void OutputOptions::AddTo(Command& command) {
  AddPath(command, "--out", folder, "DIR", "Write the results to this folder as well");
  command.AddFlag("--json", json, "Print the summary as one JSON object").Group(kOutputGroup);
  command.AddFlag("--quiet", quiet, "No remarks and no progress on standard error").Group(kOutputGroup);
}

void ThreadOptions::AddTo(Command& command) {
  command.Add("--threads", threads_, "Threads to use; without it, one for each processor").Between(1, kMostThreads);
}

void ThreadOptions::Apply() const {
  if (threads_) ThreadingControl::SetNumberOfProcessors(*threads_);
  ThreadingControl::SetThreadingIsOn(ThreadingControl::GetNumberOfProcessors() > 1);
}

void AddScaling(Command& command, Scaling& scaling, const std::string& option, const std::string& help) {
  command
      .AddRead(
          option, [&scaling](const std::string& name) { scaling = kScalings.at(name); }, help)
      .OneOf({"uv", "pareto", "center", "none"})
      .Default(ScalingName(scaling));
}

void AddComponents(Command& command, std::optional<int>& count, bool& isAuto, const std::string& help) {
  const auto read = [&count, &isAuto](const std::string& text) {
    count = ReadCount("--components", text, 1);
    isAuto = !count;
  };
  command.AddRead("--components", read, help).Type("N|auto");
}

void AddCount(Command& command, const std::string& option, std::optional<int>& count, int least,
              const std::string& help) {
  const auto read = [&count, option, least](const std::string& text) { count = ReadCount(option, text, least); };
  command.AddRead(option, read, help).Type("N|auto");
}

Option AddCvGroups(Command& command, std::optional<int>& groups) {
  return command
      .Add("--cv-groups", groups,
           fmt::format("Cross-validate, leaving out the rows in so many groups in turn (where it is done "
                       "without being asked: {})",
                       kDefaultCvGroups))
      .Type("G")
      .Between(2, kMostCvGroups)
      .Group(kCvGroup);
}

void AddIterationLimit(Command& command, int& limit) {
  command.Add("--max-iterations", limit, "Rounds that a component may take").Between(1, 1000000000).ShowDefault();
}

std::string ScalingName(Scaling scaling) {
  for (const auto& [name, value] : kScalings) {
    if (value == scaling) return name;
  }
  return {};
}

}  // namespace tool
