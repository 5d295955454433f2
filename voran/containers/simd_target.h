#pragma once

#include <string>
#include <vector>

#include "voran/export.h"

inline namespace voran {

/// Which set of vector instructions the kernels use. Results are the same bits for every one of them.
///
/// The first use of a kernel picks the best set that this processor has, unless the environment variable `VORAN_SIMD`
/// names another: the only environment of its own that the library reads. Names are those of GetAvailable(), such as
/// "AVX2". Process-wide; not to be changed while a computation runs.
class VORAN_EXPORT SimdTarget {
 public:
  SimdTarget() = delete;

  /// The set in use. Throws InvalidArgument if `VORAN_SIMD` names a set that is unknown or that this processor lacks;
  /// so does every computation, until Set() names a good one.
  static std::string GetName();

  /// Uses the set `name` from now on. Throws InvalidArgument, and changes nothing, if it is not one of GetAvailable().
  static void Set(const std::string& name);

  /// What this processor can run, the best first. The last is plain code without vector instructions.
  static std::vector<std::string> GetAvailable();
};

}  // namespace voran
