#pragma once

#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

/// A 1-based vector of flags, one byte each.
class VORAN_EXPORT BoolVector : public StreamWalk<BoolVector, NCIntegralVector<bool, 0>> {
 public:
  BoolVector() noexcept = default;
  BoolVector(int n, bool value) : StreamWalk(n, value) {}

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md. The flags are in the part of
  // the base, which has an identity of its own.

  /// The identity "BoolVector", version 3; readers accept no other version.
  static DerivedStreamableData MyStreamableData;

 protected:
  friend class StreamWalk<BoolVector, NCIntegralVector>;
  /// What follows the header.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
};

}  // namespace voran
