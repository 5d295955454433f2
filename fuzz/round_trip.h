#pragma once

#include <optional>
#include <sstream>
#include <string>

#include "fuzz/expect.h"
#include "voran/containers/data_matrix.h"
#include "voran/platform/streamable.h"

namespace fuzz {

inline bool IsConsistent(const VStreamBase& /*object*/) {
  return true;
}

template <typename T>
bool IsConsistent(const NCDataVector<T>& v) {
  return v.Size() >= 0 && v.GetNumMisVal() >= 0 && v.GetNumMisVal() <= v.Size();
}

template <typename T>
bool IsConsistent(const NCDataMatrix<T>& m) {
  for (const NCDataVector<T>& row : m) {
    if (row.Size() != m.SizeColumns() || !IsConsistent(row)) return false;
  }
  for (int j = 1; j <= m.SizeColumns(); ++j) {
    if (m.GetColumnMisVal(j) < 0 || m.GetColumnMisVal(j) > m.SizeRows()) return false;
  }
  return true;
}

template <typename Object>
std::string Written(const Object& object) {
  std::ostringstream stream;
  Expect(WriteStreamable(stream, object), "an object can be written");
  return stream.str();
}

template <typename Object>
bool IsRead(const std::string& bytes, Object& object) {
  std::istringstream stream(bytes);
  return ReadStreamable(stream, object);
}

/// What is read of any bytes is consistent, and comes out again when it is written and read. True if something was.
template <typename Object>
bool ReadAndWrite(const std::string& bytes, Object& object) {
  if (!IsRead(bytes, object)) return false;
  Expect(IsConsistent(object), "an object that was read is consistent");
  const std::string written = Written(object);
  Object again;
  Expect(IsRead(written, again), "what was written can be read");
  Expect(Written(again) == written, "what was read is what was written");
  return true;
}

template <typename Object>
void ReadAndWrite(const std::string& bytes) {
  Object object;
  ReadAndWrite(bytes, object);
}

}  // namespace fuzz
