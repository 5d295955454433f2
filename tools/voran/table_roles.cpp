#include "tools/voran/table_roles.h"

#include <algorithm>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/nearest_name.h"
#include "tools/voran/number_text.h"

namespace tool {
namespace {

constexpr std::string_view kDigits = "0123456789";

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Resolves the items of one option against the names of a table.
class Selector {
 public:
  Selector(const std::vector<std::string>& names, const std::string& option) : names_(names), option_(option) {}

  // Adds the columns of a whole argument. The argument itself may be a name that holds commas.
  void AddArgument(std::string_view argument) {
    if (AddName(argument)) return;
    while (true) {
      const auto comma = argument.find(',');
      AddItem(Trimmed(argument.substr(0, comma)));
      if (comma == std::string_view::npos) break;
      argument.remove_prefix(comma + 1);
    }
  }

  std::vector<std::size_t> Columns() const { return {columns_.begin(), columns_.end()}; }

 private:
  void AddItem(std::string_view item) {
    if (AddName(item)) return;
    const auto dots = item.find("..");
    if (dots != std::string_view::npos) {
      AddRange(item, Trimmed(item.substr(0, dots)), Trimmed(item.substr(dots + 2)));
    } else if (const auto position = Position(item)) {
      columns_.insert(*position);
    } else {
      FailUnknown(item);
    }
  }

  bool AddName(std::string_view item) {
    const auto column = ColumnNamed(item);
    if (column) columns_.insert(*column);
    return column.has_value();
  }

  void AddRange(std::string_view item, std::string_view first, std::string_view last) {
    std::optional<std::size_t> from = ColumnNamed(first);
    std::optional<std::size_t> to = ColumnNamed(last);
    if (!from || !to) {
      if (AddNumbersInNames(first, last)) return;
      if (first.empty() || last.empty()) FailUnknown(item);
      if (!from) from = Position(first);
      if (!to) to = Position(last);
      if (!from) FailUnknown(first);
      if (!to) FailUnknown(last);
    }
    if (*from > *to) std::swap(from, to);
    for (std::size_t c = *from; c <= *to; ++c) columns_.insert(c);
  }

  bool AddNumbersInNames(std::string_view first, std::string_view last) {
    auto low = WholeNumber<double>(first);
    auto high = WholeNumber<double>(last);
    if (!low || !high) return false;
    if (*low > *high) std::swap(low, high);
    bool any = false;
    for (std::size_t c = 0; c < names_.size(); ++c) {
      const auto number = NumberInName(names_[c]);
      if (!number || *number < *low || *number > *high) continue;
      columns_.insert(c);
      any = true;
    }
    return any;
  }

  std::optional<std::size_t> ColumnNamed(std::string_view name) const {
    const auto found = std::find(names_.begin(), names_.end(), name);
    if (found == names_.end()) return std::nullopt;
    if (std::find(found + 1, names_.end(), name) != names_.end()) {
      throw WrongUse(fmt::format("{}: the table has several columns named {}; give the column's position as #N",
                                 option_, Quoted(name)));
    }
    return static_cast<std::size_t>(found - names_.begin());
  }

  std::optional<std::size_t> Position(std::string_view item) const {
    if (!item.empty() && item.front() == '#') item.remove_prefix(1);
    const auto position = WholeNumber<std::size_t>(item);
    if (!position) return std::nullopt;
    if (*position < 1 || *position > names_.size()) {
      throw WrongUse(
          fmt::format("{}: there is no column {}; the table has columns 1 to {}", option_, *position, names_.size()));
    }
    return *position - 1;
  }

  [[noreturn]] void FailUnknown(std::string_view item) const {
    constexpr std::size_t kNamesShown = 8;
    const std::span shown = std::span(names_).first(std::min(names_.size(), kNamesShown));
    const std::string known = fmt::format("{}{}", fmt::join(shown, ", "), names_.size() > shown.size() ? ", ..." : "");
    throw WrongUse(fmt::format("{}: the table has no column {}{}; its columns are {}", option_, Quoted(item),
                               DidYouMean(item, names_, true), known));
  }

  const std::vector<std::string>& names_;
  std::string option_;
  std::set<std::size_t> columns_;
};

// Gives roles one option after another, and refuses to give a column two; only --exclude may take back from --x.
class RoleGiver {
 public:
  explicit RoleGiver(ColumnPlan& plan) : plan_(plan), givenBy_(plan.givenBy) {}

  std::vector<std::size_t> Give(const std::vector<std::string>& arguments, const std::string& option, ColumnRole role) {
    std::set<std::size_t> given;
    for (const std::string& argument : arguments) {
      for (const std::size_t c : SelectColumns(plan_.names, argument, option)) {
        const bool takesBack = option == "--exclude" && givenBy_[c] == "--x";
        if (!givenBy_[c].empty() && givenBy_[c] != option && !takesBack) {
          throw WrongUse(fmt::format("column {} is named by both {} and {}; leave it out of one of them",
                                     Quoted(plan_.names[c]), givenBy_[c], option));
        }
        givenBy_[c] = option;
        plan_.roles[c] = role;
        given.insert(c);
      }
    }
    return {given.begin(), given.end()};
  }

  // The one column that `option` may name.
  std::optional<std::size_t> GiveOne(const std::vector<std::string>& arguments, const std::string& option,
                                     ColumnRole role) {
    const auto columns = Give(arguments, option, role);
    if (columns.size() > 1) throw WrongUse(fmt::format("{}: {} columns are named; give one", option, columns.size()));
    return columns.empty() ? std::nullopt : std::optional(columns.front());
  }

  // A column that is kept as text may be asked about, whatever else it is for.
  void GiveCondition(const std::string& column) {
    for (const std::size_t c : SelectColumns(plan_.names, column, "--where")) {
      const bool isText = plan_.roles[c] == ColumnRole::kId || plan_.roles[c] == ColumnRole::kClass;
      if (!isText) Give({column}, "--where", ColumnRole::kClass);
    }
  }

  bool HasRole(std::size_t column) const { return !givenBy_[column].empty(); }

 private:
  ColumnPlan& plan_;
  std::vector<std::string>& givenBy_;
};

// Gives the roles that a model asks for to the columns of its names, unless they have one already.
void GiveByName(const std::string& source, const ModelColumns& model, ColumnPlan& plan) {
  std::unordered_map<std::string_view, ColumnRole> wanted;
  for (const std::string& name : model.variables) wanted.emplace(name, ColumnRole::kVariable);
  for (const std::string& name : model.responses) wanted.emplace(name, ColumnRole::kResponse);
  for (const std::string& name : model.classes) wanted.emplace(name, ColumnRole::kClass);
  std::set<std::string_view> found;
  for (std::size_t c = 0; c < plan.names.size(); ++c) {
    const auto match = wanted.find(plan.names[c]);
    if (match == wanted.end()) continue;
    if (plan.roles[c] == ColumnRole::kId) {
      throw WrongUse(
          fmt::format("--id: column {} is one of the model's; name the rows by another", Quoted(plan.names[c])));
    }
    plan.roles[c] = match->second;
    found.insert(match->first);
  }
  std::vector<std::string> lacking;
  for (const std::string& name : model.variables) {
    if (found.count(name) == 0) lacking.push_back(name);
  }
  if (lacking.empty()) return;
  throw BadData(fmt::format("{}: {} that the model needs {} not there: {}", source, Counted(lacking.size(), "column"),
                            lacking.size() == 1 ? "is" : "are", Enumerated(lacking)));
}

void RefuseRepeatedNames(const std::string& source, const ColumnPlan& plan) {
  std::unordered_map<std::string_view, std::size_t> seen;
  for (std::size_t c = 0; c < plan.names.size(); ++c) {
    if (plan.roles[c] == ColumnRole::kUnused) continue;
    const auto [first, isNew] = seen.emplace(plan.names[c], c);
    if (isNew) continue;
    const std::string remedy = plan.isForModel ? "" : fmt::format(", or leave one out with --exclude '#{}'", c + 1);
    throw BadData(fmt::format("{}: columns {} and {} are both named {}; rename one{}", source, first->second + 1, c + 1,
                              Quoted(plan.names[c]), remedy));
  }
}

}  // namespace

std::size_t ColumnPlan::CountOf(ColumnRole role) const {
  return static_cast<std::size_t>(std::count(roles.begin(), roles.end(), role));
}

std::vector<std::size_t> ColumnPlan::NumberColumns() const {
  std::vector<std::size_t> columns;
  for (std::size_t c = 0; c < names.size(); ++c) {
    if (HoldsNumbers(roles[c])) columns.push_back(c);
  }
  return columns;
}

std::vector<std::size_t> ColumnPlan::TextColumns() const {
  std::vector<std::size_t> columns;
  for (std::size_t c = 0; c < names.size(); ++c) {
    if (!HoldsNumbers(roles[c]) && roles[c] != ColumnRole::kUnused) columns.push_back(c);
  }
  return columns;
}

std::vector<std::string> ColumnPlan::NamesOf(ColumnRole role) const {
  std::vector<std::string> named;
  for (std::size_t c = 0; c < names.size(); ++c) {
    if (roles[c] == role) named.push_back(names[c]);
  }
  return named;
}

ColumnPlan PlanColumns(const std::string& source, const std::vector<std::string>& names, bool firstNamesRows,
                       const RoleRequest& request, const std::vector<std::size_t>& textColumns) {
  ColumnPlan plan;
  plan.names = names;
  plan.givenBy.resize(names.size());
  plan.isForModel = request.model.has_value();
  plan.mayHaveClasses = request.mayHaveClasses;
  const bool allAreVariables = request.variables.empty() && request.named.empty() && !request.model;
  plan.roles.assign(names.size(), allAreVariables ? ColumnRole::kVariable : ColumnRole::kUnused);
  RoleGiver giver(plan);
  plan.id = giver.GiveOne(request.id, "--id", ColumnRole::kId);
  giver.Give(request.classes, "--class", ColumnRole::kClass);
  giver.GiveOne(request.cvGroups, "--cv-column", ColumnRole::kCvGroup);
  giver.Give(request.responses, "--y", ColumnRole::kResponse);
  for (const std::size_t c : textColumns) {
    if (plan.roles[c] == ColumnRole::kResponse) plan.roles[c] = ColumnRole::kClassResponse;
  }
  giver.Give(request.variables, "--x", ColumnRole::kVariable);
  for (const NamedRole& role : request.named) giver.GiveOne({role.column}, role.option, role.role);
  giver.Give(request.unused, "--exclude", ColumnRole::kUnused);
  if (request.model) GiveByName(source, *request.model, plan);
  const bool firstIsFree = !giver.HasRole(0) && (!request.model || !HoldsNumbers(plan.roles[0]));
  if (firstNamesRows && !plan.id && !request.noId && firstIsFree) {
    plan.id = 0;
    plan.idAssumed = true;
    plan.roles[0] = ColumnRole::kId;
  }
  for (const std::string& column : request.conditions) giver.GiveCondition(column);
  RefuseRepeatedNames(source, plan);
  if (plan.CountOf(ColumnRole::kVariable) == 0 && request.named.empty()) {
    throw BadData(fmt::format("{}: no column of numbers is left among its {}; check --exclude, --class and --id",
                              source, Counted(names.size(), "column")));
  }
  return plan;
}

std::vector<std::size_t> SelectColumns(const std::vector<std::string>& names, const std::string& argument,
                                       const std::string& option) {
  Selector selector(names, option);
  selector.AddArgument(argument);
  return selector.Columns();
}

std::vector<std::size_t> SelectUsedColumns(const std::vector<std::string>& names, const std::vector<std::string>& used,
                                           const std::string& argument, const std::string& option) {
  std::unordered_map<std::string_view, std::size_t> places;
  for (const std::string& name : used) places.emplace(name, places.size());
  std::vector<std::size_t> selected;
  for (const std::size_t c : SelectColumns(names, argument, option)) {
    const auto place = places.find(names[c]);
    if (place != places.end()) selected.push_back(place->second);
  }
  if (selected.empty()) {
    throw WrongUse(fmt::format("{}: {} names no column of numbers that is used", option, Quoted(argument)));
  }
  return selected;
}

std::optional<double> NumberInName(const std::string& name) {
  const auto first = name.find_first_of(kDigits);
  if (first == std::string::npos) return std::nullopt;
  auto end = name.find_first_not_of(kDigits, first);
  if (end != std::string::npos && name[end] == '.') {
    const auto fraction = name.find_first_not_of(kDigits, end + 1);
    if (fraction != end + 1 && end + 1 < name.size()) end = fraction;
  }
  if (end != std::string::npos && name.find_first_of(kDigits, end) != std::string::npos) return std::nullopt;
  return WholeNumber<double>(std::string_view(name).substr(first, end == std::string::npos ? end : end - first));
}

}  // namespace tool
