#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "voran/containers/integral_vector.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

namespace {

/// What an element takes up in a stream.
template <typename T>
constexpr std::size_t kStoredBytes = sizeof(bool) == 1 && std::is_same_v<T, bool> ? 1 : 4;

/// Elements that differ in width from what is stored go through a buffer of this many.
constexpr int kChunk = 1024;

bool WriteElements(const int* first, int count, std::ostream& entry) {
  return WriteFourBytes(first, count, entry);
}

bool WriteElements(const bool* first, int count, std::ostream& entry) {
  return WriteBytes(first, count, entry);
}

bool WriteElements(const unsigned long* first, int count, std::ostream& entry) {
  std::array<std::uint32_t, kChunk> chunk;
  for (int done = 0; done < count; done += kChunk) {
    const int now = std::min(count - done, kChunk);
    std::transform(first + done, first + done + now, chunk.begin(),
                   [](unsigned long value) { return static_cast<std::uint32_t>(value); });
    if (!WriteFourBytes(chunk.data(), now, entry)) return false;
  }
  return entry.good();
}

bool ReadElementsTo(int* first, int count, std::istream& entry) {
  return ReadFourBytes(first, count, entry);
}

bool ReadElementsTo(bool* first, int count, std::istream& entry) {
  if (!ReadBytes(first, count, entry)) return false;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(first);
  return std::all_of(bytes, bytes + count, [](unsigned char byte) { return byte <= 1; });
}

bool ReadElementsTo(unsigned long* first, int count, std::istream& entry) {
  std::array<std::uint32_t, kChunk> chunk;
  for (int done = 0; done < count; done += kChunk) {
    const int now = std::min(count - done, kChunk);
    if (!ReadFourBytes(chunk.data(), now, entry)) return false;
    std::copy_n(chunk.begin(), now, first + done);
  }
  return entry.good();
}

}  // namespace

template <typename T, int M>
typename NCIntegralVector<T, M>::DerivedStreamableData NCIntegralVector<T, M>::MyStreamableData(4, "NCIV");

template <typename T, int M>
bool NCIntegralVector<T, M>::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, 1);
  std::ostream& entry = directory.GetOutput(0);
  const std::int32_t storedSize = size_;
  if (WriteFourBytes(&storedSize, 1, entry) && size_ > 0) WriteElements(begin(), size_, entry);
  return directory.Close() && stream.good();
}

template <typename T, int M>
bool NCIntegralVector<T, M>::VStreamableRead(std::istream& stream) {
  if (!this->VStreamableReadBasesOfMyVersion(stream)) return false;
  Clear();
  InputStreamDirectory directory(stream);
  std::istream* const entry = directory.GetInput(0);
  if (entry != nullptr && ReadElements(*entry) && directory.Close() && stream.good()) return true;
  Clear();
  return false;
}

template <typename T, int M>
bool NCIntegralVector<T, M>::ReadElements(std::istream& entry) {
  std::int32_t count = 0;
  if (!ReadFourBytes(&count, 1, entry) || count < 0) return false;
  if (static_cast<std::uint64_t>(count) > detail::RemainingBytes(entry) / kStoredBytes<T>) return false;
  if (count == 0) return true;
  data_ = NewBuffer(count);
  size_ = count;
  capacity_ = count;
  return ReadElementsTo(data_.get() + 1, count, entry);
}

template class NCIntegralVector<int, -99>;
template class NCIntegralVector<unsigned long, 0>;
template class NCIntegralVector<bool, 0>;

}  // namespace voran
