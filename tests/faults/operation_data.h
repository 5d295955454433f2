#pragma once

#include <memory>
#include <string>

#include "benchmarks/made_xy.h"
#include "tests/faults/operations.h"

namespace faults {

using Matrix = NCDataMatrix<float>;
using Vector = NCDataVector<float>;

/// X with a few gaps, and Y; they live as long as the program.
const XY& GappedData(const Shape& shape);
const XY& CompleteData(const Shape& shape);

template <typename T>
void Append(std::string& bytes, const NCDataVector<T>& v) {
  bytes += std::to_string(v.Size()) + (v.GetNumMisVal() != 0 ? 'g' : ' ');
  if (v.Size() > 0) bytes.append(reinterpret_cast<const char*>(v.begin()), sizeof(T) * static_cast<unsigned>(v.Size()));
}
template <typename T>
void Append(std::string& bytes, const NCDataMatrix<T>& m) {
  bytes += std::to_string(m.SizeRows()) + 'x';
  for (int i = 1; i <= m.SizeRows(); ++i) Append(bytes, m[i]);
}
inline void Append(std::string& bytes, const std::string& more) {
  bytes += more;
}
inline void Append(std::string& bytes, double value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename... Parts>
std::string BytesOf(const Parts&... parts) {
  std::string bytes;
  (Append(bytes, parts), ...);
  return bytes;
}

/// Results that are made anew by every run.
template <typename Work>
Attempt Fresh(Work work) {
  const auto result = std::make_shared<std::string>();
  return {[work, result](NCProgress* progress) { *result = work(progress); }, [result] { return *result; }};
}

}  // namespace faults
