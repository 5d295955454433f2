#include <algorithm>

#include "voran/containers/data_vector.h"
#include "voran/containers/missing_value.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kSize, kNumMisVal, kElements, kEntries };

bool ReadInt(std::istream* entry, std::int32_t& value) {
  return entry != nullptr && ReadFourBytes(&value, 1, *entry);
}

}  // namespace

template <typename T>
typename NCDataVector<T>::DerivedStreamableData NCDataVector<T>::MyStreamableData(4, "NCDV");

/// A count that Remove() has deliberately left below zero is not written: a reader refuses what cannot be one.
template <typename T>
std::int32_t NCDataVector<T>::StoredNumMisVal() const {
  if (numMisVal_ >= 0 && numMisVal_ <= size_) return numMisVal_;
  return static_cast<std::int32_t>(std::count(begin(), end(), detail::kMissing<T>));
}

template <typename T>
bool NCDataVector<T>::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  const std::int32_t missing = StoredNumMisVal();
  WriteFourBytes(&size_, 1, directory.GetOutput(kSize));
  WriteFourBytes(&missing, 1, directory.GetOutput(kNumMisVal));
  if (size_ > 0) WriteArray(data_ + 1, size_, sizeof(T), directory.GetOutput(kElements));
  return directory.Close() && stream.good();
}

template <typename T>
bool NCDataVector<T>::VStreamableRead(std::istream& stream) {
  if (!this->VStreamableReadBasesOfMyVersion(stream)) return false;
  Clear();
  capacity_ = 0;
  if (ReadStreamDirectory(stream)) return true;
  Clear();
  capacity_ = 0;
  return false;
}

/// Fills an empty vector without a buffer.
template <typename T>
bool NCDataVector<T>::ReadStreamDirectory(std::istream& stream) {
  InputStreamDirectory directory(stream);
  std::int32_t storedSize = 0;
  std::int32_t missing = 0;
  if (!ReadInt(directory.GetInput(kSize), storedSize)) return false;
  if (!ReadInt(directory.GetInput(kNumMisVal), missing)) return false;
  if (storedSize < 0 || missing < 0 || missing > storedSize) return false;
  if (storedSize > 0) {
    std::istream* const elements = directory.GetInput(kElements);
    if (elements == nullptr) return false;
    if (static_cast<std::uint64_t>(storedSize) > detail::RemainingBytes(*elements) / sizeof(T)) return false;
    int offset;
    T* const buffer = NewVec(storedSize, offset);
    ReplaceBuffer(buffer, offset, storedSize);
    if (!ReadArray(data_ + 1, storedSize, sizeof(T), *elements)) return false;
  }
  size_ = storedSize;
  numMisVal_ = missing;
  return directory.Close() && stream.good();
}

template class NCDataVector<float>;
template class NCDataVector<double>;

}  // namespace voran
