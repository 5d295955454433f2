#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/voran/csv_writer.h"
#include "tools/voran/o2pls_report.h"
#include "tools/voran/regression_report.h"

namespace tool {
namespace {

class TableWriter {
 public:
  TableWriter(const O2plsReport& report, OutputDirectory& folder) : report_(report), folder_(folder) {}

  void Scores(const std::string& file, const std::vector<NumberedColumns>& blocks) {
    Write(file, report_.table.idName, report_.table.rowIds, blocks);
  }
  void Columns(const std::string& file, const NumberedColumns& block, bool isY) {
    const PreparedColumns& columns = isY ? report_.result.y : report_.result.x;
    Write(file, isY ? "response" : "variable", columns.names, {block});
  }
  /// Scores, loadings and weights of the orthogonal components of a block, if there are any.
  void Orthogonal(const O2plsBlock& block, bool isY) {
    if (block.orthogonal.empty()) return;
    const std::string prefix = isY ? "y_ortho_" : "ortho_";
    Scores(prefix + "scores.csv", {{isY ? "uo" : "to", Each(block.orthogonal, &BlockComponent::score)}});
    Columns(prefix + "loadings.csv", {isY ? "qo" : "po", Each(block.orthogonal, &BlockComponent::loading)}, isY);
    Columns(prefix + "weights.csv", {isY ? "co" : "wo", Each(block.orthogonal, &BlockComponent::weight)}, isY);
  }

 private:
  void Write(const std::string& file, std::string_view heading, const std::vector<std::string>& names,
             const std::vector<NumberedColumns>& blocks) {
    folder_.Write(file, [&](std::ostream& out) { WriteNumberedColumns(out, heading, names, blocks); });
  }

  const O2plsReport& report_;
  OutputDirectory& folder_;
};

}  // namespace

void WriteO2plsTables(const O2plsReport& report, OutputDirectory& folder) {
  const O2plsBlock& x = report.result.xBlock;
  const O2plsBlock& y = report.result.yBlock;
  TableWriter writer(report, folder);
  writer.Scores("scores.csv",
                {{"t", Each(x.joint, &BlockComponent::score)}, {"u", Each(y.joint, &BlockComponent::score)}});
  writer.Columns("loadings.csv", {"p", Each(x.joint, &BlockComponent::loading)}, false);
  writer.Columns("weights.csv", {"w", Each(x.joint, &BlockComponent::weight)}, false);
  writer.Columns("y_loadings.csv", {"q", Each(y.joint, &BlockComponent::loading)}, true);
  writer.Columns("y_weights.csv", {"c", Each(y.joint, &BlockComponent::weight)}, true);
  writer.Orthogonal(x, false);
  writer.Orthogonal(y, true);
  WriteResponseTables({report.table, report.settings, report.result}, folder);
}

}  // namespace tool
