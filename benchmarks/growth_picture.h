#pragma once

#include <string>
#include <vector>

namespace growth {

/// What a work takes as a table grows.
struct Curve {
  std::string name;
  std::vector<double> sizes;
  std::vector<double> milliseconds;
  std::vector<double> mebibytes;
};

/// Time and memory over the rows, and over the columns, in decades, as SVG.
std::string Picture(const std::vector<Curve>& byRows, const std::vector<Curve>& byColumns);

}  // namespace growth
