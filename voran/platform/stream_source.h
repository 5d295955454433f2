#pragma once

#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "voran/export.h"

inline namespace voran {

/// Where a host keeps streams by name: a folder, a database, a section of its project file.
///
/// Names are ASCII letters, digits and underscores. The streams are binary and must be able to seek. Destroying one
/// closes it; what a closed output stream holds is what the next OpenInput of that name may find. Used from the thread
/// that it is handed to.
class VORAN_EXPORT VrStreamSource {
 public:
  virtual ~VrStreamSource();

  /// The stream of that name, for reading from its begin; null if there is none.
  virtual std::unique_ptr<std::istream> OpenInput(const std::string& name) = 0;
  /// A stream that replaces what had that name; null if it cannot be written.
  virtual std::unique_ptr<std::ostream> OpenOutput(const std::string& name) = 0;

 protected:
  VrStreamSource() = default;
  VrStreamSource(const VrStreamSource&) = default;
  VrStreamSource& operator=(const VrStreamSource&) = default;
};

}  // namespace voran
