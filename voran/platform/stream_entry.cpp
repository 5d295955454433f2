#include "voran/platform/stream_entry.h"

#include <cstdint>

#include "voran/platform/exception.h"
#include "voran/platform/stream_values.h"

inline namespace voran {
namespace detail {

std::istream& RequiredEntry(InputStreamDirectory& directory, unsigned short i) {
  std::istream* const entry = directory.GetInput(i);
  if (entry == nullptr) throw VrStreamError(ExceptionMessage::translate("ReadFromStreamDir failed."));
  return *entry;
}

void RequireRead(bool isGood) {
  if (!isGood) throw VrStreamError(ExceptionMessage::translate("Error when reading from stream."));
}

int ReadIntEntry(InputStreamDirectory& directory, unsigned short i) {
  std::int32_t value = 0;
  RequireRead(ReadFourBytes(&value, 1, RequiredEntry(directory, i)));
  return value;
}

}  // namespace detail
}  // namespace voran
