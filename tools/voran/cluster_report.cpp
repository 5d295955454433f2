#include "tools/voran/cluster_report.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/cluster_heights.h"
#include "tools/voran/command_run.h"
#include "tools/voran/csv_writer.h"
#include "tools/voran/number_text.h"
#include "tools/voran/text_table.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kHeightsShown = 9;  // up to 10 groups
constexpr std::size_t kGroupsShown = 20;
constexpr std::size_t kClassesAcross = 10;

std::string More(std::size_t rest) {
  return rest == 0 ? "" : fmt::format("  and {} more, which --json and --out give\n", rest);
}

std::vector<std::vector<std::string>> Members(const ClusterReport& report) {
  const ClusterGroups& groups = *report.result.groups;
  std::vector<std::vector<std::string>> members(groups.nodes.size());
  for (std::size_t i = 0; i < groups.ofRow.size(); ++i) {
    members[groups.ofRow[i] - 1].push_back(report.table.rowIds[i]);
  }
  return members;
}

std::string MemberLines(const ClusterReport& report) {
  const auto members = Members(report);
  std::string text = "\n";
  for (std::size_t g = 0; g < std::min(members.size(), kGroupsShown); ++g) {
    std::vector<std::string> names;
    for (const std::string& name : members[g]) names.push_back(ShortName(name));
    text += fmt::format("  group {}, {}: {}\n", g + 1, Counted(names.size(), "row"), Enumerated(names));
  }
  return text + More(members.size() - std::min(members.size(), kGroupsShown));
}

std::string ClassLines(const ClassColumn& column, const ClusterGroups& groups) {
  const auto counts = CountClasses(column, groups);
  const std::size_t across = std::min(column.classes.size(), kClassesAcross);
  const std::size_t shown = std::min(counts.size(), kGroupsShown);
  std::vector<std::string> headings = {fmt::format("group, by {}", ShortName(column.name)), "rows"};
  for (std::size_t k = 0; k < across; ++k) headings.push_back(ShortName(column.classes[k]));
  TextTable table(headings);
  for (std::size_t g = 0; g < shown; ++g) {
    std::vector<std::string> cells = {std::to_string(g + 1), std::to_string(groups.nodes[g]->SizeLeafs())};
    for (std::size_t k = 0; k < across; ++k) cells.push_back(std::to_string(counts[g][k]));
    table.Row(std::move(cells));
  }
  const std::size_t rest = column.classes.size() - across;
  const auto without = static_cast<std::size_t>(std::count(column.ofRow.begin(), column.ofRow.end(), kNoClass));
  return "\n" + table.Text() + More(counts.size() - shown) +
         (rest == 0 ? ""
                    : fmt::format("  and {} more {}, which --json gives\n", rest, rest == 1 ? "class" : "classes")) +
         (without == 0 ? "" : fmt::format("  {} of no class\n", Counted(without, "row")));
}

std::string GroupLines(const ClusterReport& report) {
  if (!report.result.groups) return {};
  std::string text;
  for (const ClassColumn& column : report.result.classes) {
    if (!column.classes.empty()) text += ClassLines(column, *report.result.groups);
  }
  return text.empty() ? MemberLines(report) : text;
}

Json GroupsJson(const ClusterReport& report) {
  if (!report.result.groups) return {};
  Json json = Json::array();
  for (const auto& members : Members(report)) {
    json.push_back({{"group", json.size() + 1}, {"size", members.size()}, {"rows", members}});
  }
  return json;
}

Json ClassesJson(const ClusterResult& result) {
  if (!result.groups) return {};
  Json json = Json::array();
  for (const ClassColumn& column : result.classes) {
    json.push_back(
        {{"name", column.name}, {"classes", column.classes}, {"counts", CountClasses(column, *result.groups)}});
  }
  return json;
}

Json MergesJson(const std::vector<ClusterMerge>& merges) {
  Json json = Json::array();
  for (const ClusterMerge& merge : merges) {
    json.push_back(
        {{"height", AsWritten(merge.height)}, {"first", merge.first}, {"second", merge.second}, {"new", merge.made}});
  }
  return json;
}

Json OrderJson(const ClusterReport& report) {
  Json json = Json::array();
  for (const std::size_t row : report.result.order) json.push_back(report.table.rowIds[row]);
  return json;
}

void WriteLine(CsvWriter& csv, const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) csv.Text(cell);
  csv.EndRow();
}

void WriteMerges(const ClusterReport& report, std::ostream& out) {
  const std::vector<std::string>& rows = report.table.rowIds;
  CsvWriter csv(out);
  WriteLine(csv, {"height", "first", "second", "new", "first_row", "second_row"});
  for (const ClusterMerge& merge : report.result.merges) {
    csv.Number(merge.height);
    for (const std::size_t id : {merge.first, merge.second, merge.made}) csv.Text(std::to_string(id));
    for (const std::size_t id : {merge.first, merge.second}) csv.Text(id <= rows.size() ? rows[id - 1] : "");
    csv.EndRow();
  }
}

void WriteOrder(const ClusterReport& report, std::ostream& out) {
  CsvWriter csv(out);
  WriteLine(csv, {report.table.idName});
  for (const std::size_t row : report.result.order) WriteLine(csv, {report.table.rowIds[row]});
}

void WriteGroups(const ClusterReport& report, std::ostream& out) {
  CsvWriter csv(out);
  std::vector<std::string> cells = {report.table.idName, "group"};
  for (const TextColumn& column : report.table.classes) cells.push_back(column.name);
  WriteLine(csv, cells);
  for (std::size_t i = 0; i < report.table.rowIds.size(); ++i) {
    cells = {report.table.rowIds[i], std::to_string(report.result.groups->ofRow[i])};
    for (const TextColumn& column : report.table.classes) cells.push_back(column.values[i]);
    WriteLine(csv, cells);
  }
}

std::string HeadText(const ClusterReport& report) {
  const ClusterResult& result = report.result;
  std::string text =
      fmt::format("Clusters of {}: {}, {}, {}, scaling {}, {}\n", report.table.source,
                  Counted(report.table.rowIds.size(), "row"), Counted(result.columns.names.size(), "column"),
                  MethodText(report.settings), ScalingName(report.settings.scaling), GapText(result.gaps));
  text += TransformLines(result.columns);
  if (!result.columns.dropped.empty()) {
    text += fmt::format("  columns left out: {}\n", DroppedText(result.columns.dropped));
  }
  if (result.merges.empty()) text += "  one row is a tree of one leaf: there is nothing to join\n";
  if (!result.merges.empty() && result.tree->Height() == 0.0f) text += "  all rows are equal: every height is 0\n";
  if (result.lowMerges > 0) {
    text += fmt::format("  {} lower than a cluster that {}: heights do not ascend everywhere\n",
                        result.lowMerges == 1 ? "1 merge is" : fmt::format("{} merges are", result.lowMerges),
                        result.lowMerges == 1 ? "it joins" : "they join");
  }
  return text;
}

}  // namespace

std::string ClusterText(const ClusterReport& report) {
  const auto ranges = HeightRanges(report.result.merges, kHeightsShown);
  return HeadText(report) + (ranges.empty() ? "" : "\n") + HeightLines(ranges, report.result.unit) + GroupLines(report);
}

Json ClusterJson(const ClusterReport& report) {
  const ClusterSettings& settings = report.settings;
  const ClusterResult& result = report.result;
  Json json = JsonHead("cluster", report.table);
  json["columns"] = result.columns.names.size();
  json["method"] = settings.ward ? "ward" : "single";
  json["ward_type"] = settings.ward ? Json(WardTypeName(*settings.ward)) : Json();
  json["scaling"] = ScalingName(settings.scaling);
  json["transforms"] = TransformsJson(result.columns);
  json["failed_values"] = result.columns.failedValues;
  json["missing"] = GapJson(result.gaps);
  json["dropped_columns"] = DroppedJson(result.columns.dropped);
  json["from_cache"] = result.isFromCache;
  json["low_merges"] = result.lowMerges;
  json["cut"] = settings.cut ? Json(*settings.cut) : Json();
  json["groups_requested"] = settings.groups ? Json(*settings.groups) : Json();
  json["heights"] = HeightsJson(HeightRanges(result.merges, kHeightsShown));
  json["groups"] = GroupsJson(report);
  json["classes"] = ClassesJson(result);
  json["order"] = OrderJson(report);
  json["merges"] = MergesJson(result.merges);
  return json;
}

void WriteClusterTables(const ClusterReport& report, OutputDirectory& folder) {
  folder.Write("merges.csv", [&](std::ostream& out) { WriteMerges(report, out); });
  folder.Write("order.csv", [&](std::ostream& out) { WriteOrder(report, out); });
  if (report.result.groups) folder.Write("groups.csv", [&](std::ostream& out) { WriteGroups(report, out); });
}

}  // namespace tool
