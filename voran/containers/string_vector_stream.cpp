#include <cstdint>

#include "voran/containers/string_vector.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

NCStringVector::DerivedStreamableData NCStringVector::MyStreamableData(2, "NCSV");

bool NCStringVector::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, 1);
  std::ostream& entry = directory.GetOutput(0);
  const std::int32_t count = Size();
  WriteFourBytes(&count, 1, entry);
  for (const std::string& s : GetVector()) {
    if (!WriteBinaryString(s, entry)) break;
  }
  return directory.Close() && stream.good();
}

bool NCStringVector::VStreamableRead(std::istream& stream) {
  if (!VStreamableReadBases(stream)) return false;
  Clear();
  if (GetVStreamVersionNumber() != GetMyVStreamVersionNumber()) return false;
  InputStreamDirectory directory(stream);
  std::istream* const entry = directory.GetInput(0);
  if (entry != nullptr && ReadStrings(*entry) && directory.Close() && stream.good()) return true;
  Clear();
  return false;
}

bool NCStringVector::ReadStrings(std::istream& entry) {
  constexpr std::uint64_t kLeastStringBytes = 4;
  std::int32_t count = 0;
  if (!ReadFourBytes(&count, 1, entry) || count < 0) return false;
  if (static_cast<std::uint64_t>(count) > detail::RemainingBytes(entry) / kLeastStringBytes) return false;
  InsertStrings(1, count);
  for (std::string& s : *strings_) {
    if (!ReadBinaryString(s, entry)) return false;
  }
  return true;
}

}  // namespace voran
