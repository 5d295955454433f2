#include "voran/containers/bool_vector.h"
#include "voran/platform/stream_directory.h"

inline namespace voran {

BoolVector::DerivedStreamableData BoolVector::MyStreamableData(3, "BoolVector");

// The flags are the base's affair: the directory of this class has no entries.

bool BoolVector::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, 0);
  return directory.Close() && stream.good();
}

bool BoolVector::VStreamableRead(std::istream& stream) {
  if (VStreamableReadBasesOfMyVersion(stream)) {
    InputStreamDirectory directory(stream);
    if (directory.Close() && stream.good()) return true;
  }
  Clear();
  return false;
}

}  // namespace voran
