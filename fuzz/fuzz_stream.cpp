// Any bytes give an object or a failure. An object that comes out is consistent, and comes out again when it is written
// and read. The library is built to believe every checksum, so that damage gets past them.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "voran/containers/bool_vector.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/string_vector.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"

namespace {

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

bool IsConsistent(const NCPCA& pca) {
  const NCDataMatrix<float>& x = *pca.GetResiduals();
  return pca.GetPprim()->SizeColumns() == x.SizeColumns() && pca.GetTprim()->SizeColumns() == x.SizeRows();
}

bool IsConsistent(const NCPLS& pls) {
  return pls.GetUprim()->SizeColumns() == pls.GetXResiduals()->SizeRows() &&
         pls.GetCprim()->SizeColumns() == pls.GetYResiduals()->SizeColumns();
}

template <typename Object>
bool IsConsistent(const Object& v) {
  return v.Size() >= 0;
}

template <typename Object>
std::string Written(const Object& object) {
  std::ostringstream stream;
  if (!WriteStreamable(stream, object)) std::abort();
  return stream.str();
}

template <typename Object>
void Read(const std::string& bytes) {
  std::istringstream stream(bytes);
  Object object;
  if (!ReadStreamable(stream, object)) return;
  if (!IsConsistent(object)) std::abort();
  const std::string written = Written(object);
  std::istringstream again(written);
  Object copy;
  if (!ReadStreamable(again, copy) || Written(copy) != written) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  Read<NCDataVector<float>>(bytes);
  Read<NCDataMatrix<float>>(bytes);
  Read<NCDataMatrix<double>>(bytes);
  Read<NCIntegralVector<int, -99>>(bytes);
  Read<NCIntegralVector<unsigned long, 0>>(bytes);
  Read<BoolVector>(bytes);
  Read<NCStringVector>(bytes);
  Read<NCPCA>(bytes);
  Read<NCPLS>(bytes);
  return 0;
}
