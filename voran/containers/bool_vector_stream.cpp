#include "voran/containers/bool_vector.h"
#include "voran/platform/stream_directory.h"

inline namespace voran {

BoolVector::DerivedStreamableData BoolVector::MyStreamableData(3, "BoolVector");

bool BoolVector::VStreamableStartWrite(std::ostream& stream) {
  if (streamed_.TestAndSet()) return true;
  return MyStreamableData.Write(stream) && VStreamableWriteBases(stream) && VStreamableWrite(stream);
}

bool BoolVector::VStreamableStartRead(std::istream& stream) {
  if (streamed_.TestAndSet()) return true;
  return MyStreamableData.Check(stream) && VStreamableRead(stream);
}

void BoolVector::VStreamableReset() {
  streamed_.Clear();
  NCIntegralVector::VStreamableReset();
}

bool BoolVector::VStreamableWriteBases(std::ostream& stream) {
  return NCIntegralVector::VStreamableStartWrite(stream);
}

bool BoolVector::VStreamableReadBases(std::istream& stream) {
  return NCIntegralVector::VStreamableStartRead(stream);
}

// The flags are the base's affair: the directory of this class has no entries.

bool BoolVector::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, 0);
  return directory.Close() && stream.good();
}

bool BoolVector::VStreamableRead(std::istream& stream) {
  if (VStreamableReadBases(stream) && GetVStreamVersionNumber() == GetMyVStreamVersionNumber()) {
    InputStreamDirectory directory(stream);
    if (directory.Close() && stream.good()) return true;
  }
  Clear();
  return false;
}

}  // namespace voran
