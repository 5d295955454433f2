#pragma once

#include <string>

#include "tools/voran/cluster_report.h"

namespace tool {

/// The tree as SVG, lying on its side: the root on the left, on the right a line with its name for each row. Groups
/// have colours, and a bar with the number behind the names; a dashed line shows where the tree was cut. Squares show
/// the classes of the rows.
std::string DendrogramPicture(const ClusterReport& report);

}  // namespace tool
