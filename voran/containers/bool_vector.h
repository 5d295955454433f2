#pragma once

#include "voran/containers/integral_vector.h"
#include "voran/export.h"
#include "voran/platform/streamable.h"

inline namespace voran {

/// A 1-based vector of flags, one byte each.
class VORAN_EXPORT BoolVector : public NCIntegralVector<bool, 0> {
 public:
  BoolVector() noexcept = default;
  BoolVector(int n, bool value) : NCIntegralVector(n, value) {}

  // Persistence. The walk is explained at VStreamBase, the bytes in docs/file_formats.md.

  /// The identity "BoolVector", version 3; readers accept no other version.
  struct DerivedStreamableData : VStreamableData {
    using VStreamableData::VStreamableData;
  };
  static DerivedStreamableData MyStreamableData;

  bool VStreamableStartWrite(std::ostream& stream) override;
  /// The flags are in the part of NCIntegralVector<bool, 0>, which has an identity of its own.
  bool VStreamableStartRead(std::istream& stream) override;
  void VStreamableReset() override;
  /// The version read last by any object of this class, and the one that is written.
  short GetVStreamVersionNumber() const { return MyStreamableData.GetVStreamVersionNumber(); }
  short GetMyVStreamVersionNumber() const { return MyStreamableData.GetMyVStreamVersionNumber(); }

 protected:
  /// What follows the header, and the part of the bases by itself.
  bool VStreamableWrite(std::ostream& stream);
  bool VStreamableRead(std::istream& stream);
  bool VStreamableWriteBases(std::ostream& stream);
  bool VStreamableReadBases(std::istream& stream);

 private:
  mutable detail::WalkMark streamed_;
};

}  // namespace voran
