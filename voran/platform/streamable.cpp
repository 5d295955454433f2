#include "voran/platform/streamable.h"

#include "voran/platform/stream_light.h"

inline namespace voran {

bool VStreamableData::Write(std::ostream& stream) const {
  return VStreamLight::WriteMagicStringAndVersionNumber(stream, static_cast<unsigned short>(currentVersion_), name_);
}

bool VStreamableData::Check(std::istream& stream) {
  unsigned short version = 0;
  if (!VStreamLight::CheckMagicStringAndVersionNumber(stream, version, name_)) return false;
  versionRead_.store(static_cast<short>(version), std::memory_order_relaxed);
  return true;
}

namespace {

VStreamableData baseStreamableData(1, "VSB");

/// Takes the mark off an object now and when the walk is over, however that ends.
class FreshWalk {
 public:
  explicit FreshWalk(VStreamBase& object) : object_(object) { object_.VStreamableReset(); }
  ~FreshWalk() { object_.VStreamableReset(); }

  FreshWalk(const FreshWalk&) = delete;
  FreshWalk& operator=(const FreshWalk&) = delete;

 private:
  VStreamBase& object_;
};

/// Only the mark of a constant object changes, which is mutable.
VStreamBase& WithMutableMark(const VStreamBase& object) {
  return const_cast<VStreamBase&>(object);
}

}  // namespace

VStreamBase::~VStreamBase() = default;

bool VStreamBase::VStreamableStartWrite(std::ostream& stream) {
  return baseStreamableData.Write(stream);
}

bool VStreamBase::VStreamableStartRead(std::istream& stream) {
  return baseStreamableData.Check(stream) &&
         baseStreamableData.GetVStreamVersionNumber() == baseStreamableData.GetMyVStreamVersionNumber();
}

void VStreamBase::VStreamableReset() {}

std::ostream& operator<<(std::ostream& stream, const VStreamBase& object) {
  if (!WithMutableMark(object).VStreamableStartWrite(stream)) stream.setstate(std::ios_base::failbit);
  return stream;
}

std::istream& operator>>(std::istream& stream, VStreamBase& object) {
  if (!object.VStreamableStartRead(stream)) stream.setstate(std::ios_base::failbit);
  return stream;
}

bool WriteStreamable(std::ostream& stream, const VStreamBase& object) {
  const FreshWalk walk(WithMutableMark(object));
  stream << object;
  return stream.good();
}

bool ReadStreamable(std::istream& stream, VStreamBase& object) {
  const FreshWalk walk(object);
  stream >> object;
  return stream.good();
}

}  // namespace voran
