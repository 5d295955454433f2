#include "voran/platform/stream_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>

#include "voran/platform/input_level.h"

inline namespace voran {

static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big);
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

namespace {

constexpr bool kIsLittleEndian = std::endian::native == std::endian::little;

/// Turns the bytes of each element around.
void SwapElements(char* bytes, std::size_t count, std::size_t elementSize) {
  for (char* element = bytes; element != bytes + count * elementSize; element += elementSize) {
    std::reverse(element, element + elementSize);
  }
}

bool IsElementSize(int size) {
  return size == 1 || size == 2 || size == 4 || size == 8;
}

/// Through a small buffer, since the elements that are written must not change.
void WriteSwapped(const char* p, std::size_t count, std::size_t elementSize, std::ostream& stream) {
  std::array<char, 4096> swapped;
  const std::size_t most = swapped.size() / elementSize;
  while (count > 0 && stream) {
    const std::size_t now = std::min(count, most);
    std::copy_n(p, now * elementSize, swapped.data());
    SwapElements(swapped.data(), now, elementSize);
    stream.write(swapped.data(), static_cast<std::streamsize>(now * elementSize));
    p += now * elementSize;
    count -= now;
  }
}

}  // namespace

bool WriteArray(const void* p, int count, int elementSize, std::ostream& stream) {
  if (count < 0 || !IsElementSize(elementSize)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  const auto* const bytes = static_cast<const char*>(p);
  if (kIsLittleEndian || elementSize == 1) {
    if (count > 0) stream.write(bytes, static_cast<std::streamsize>(count) * elementSize);
  } else {
    WriteSwapped(bytes, static_cast<std::size_t>(count), static_cast<std::size_t>(elementSize), stream);
  }
  return stream.good();
}

bool ReadArray(void* p, int count, int elementSize, std::istream& stream) {
  if (count < 0 || !IsElementSize(elementSize)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  auto* const bytes = static_cast<char*>(p);
  if (count > 0) stream.read(bytes, static_cast<std::streamsize>(count) * elementSize);
  if (!kIsLittleEndian && stream.good()) {
    SwapElements(bytes, static_cast<std::size_t>(count), static_cast<std::size_t>(elementSize));
  }
  return stream.good();
}

bool WriteBytes(const void* p, int count, std::ostream& stream) {
  return WriteArray(p, count, 1, stream);
}
bool ReadBytes(void* p, int count, std::istream& stream) {
  return ReadArray(p, count, 1, stream);
}
bool WriteTwoBytes(const void* p, int count, std::ostream& stream) {
  return WriteArray(p, count, 2, stream);
}
bool ReadTwoBytes(void* p, int count, std::istream& stream) {
  return ReadArray(p, count, 2, stream);
}
bool WriteFourBytes(const void* p, int count, std::ostream& stream) {
  return WriteArray(p, count, 4, stream);
}
bool ReadFourBytes(void* p, int count, std::istream& stream) {
  return ReadArray(p, count, 4, stream);
}

bool WriteBinaryString(const std::string& s, std::ostream& stream) {
  if (s.size() > std::numeric_limits<std::uint32_t>::max()) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  const auto length = static_cast<std::uint32_t>(s.size());
  if (!WriteFourBytes(&length, 1, stream)) return false;
  stream.write(s.data(), static_cast<std::streamsize>(length));
  return stream.good();
}

bool ReadBinaryString(std::string& s, std::istream& stream) {
  s.clear();
  std::uint32_t length = 0;
  if (!ReadFourBytes(&length, 1, stream)) return false;
  if (length == 0) return true;
  if (length > detail::RemainingBytes(stream)) {
    stream.setstate(std::ios_base::failbit);
    return false;
  }
  s.resize(length);
  stream.read(s.data(), static_cast<std::streamsize>(length));
  if (!stream.good()) s.clear();
  return stream.good();
}

namespace detail {

std::uint64_t RemainingBytes(std::istream& stream) {
  if (!stream.good()) return 0;
  if (const auto* const level = dynamic_cast<const InputLevel*>(stream.rdbuf())) return level->Remaining();
  const std::streamoff here = stream.tellg();
  if (here < 0 || !stream.seekg(0, std::ios_base::end)) return 0;
  const std::streamoff end = stream.tellg();
  stream.seekg(here);
  return stream.good() && end > here ? static_cast<std::uint64_t>(end - here) : 0;
}

bool CanSeek(std::ostream& stream) {
  if (stream.good() && stream.tellp() != std::ostream::pos_type(-1)) return true;
  stream.setstate(std::ios_base::failbit);
  return false;
}

bool CanSeek(std::istream& stream) {
  if (stream.good() && stream.tellg() != std::istream::pos_type(-1)) return true;
  stream.setstate(std::ios_base::failbit);
  return false;
}

}  // namespace detail
}  // namespace voran
