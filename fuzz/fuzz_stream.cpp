// Any bytes give a container, a scaling or a transform, or a failure. The library is built to believe every checksum,
// so that damage gets past them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "fuzz/expect.h"
#include "fuzz/round_trip.h"
#include "voran/containers/bool_vector.h"
#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/containers/integral_vector.h"
#include "voran/containers/string_vector.h"
#include "voran/preprocessing/scale.h"
#include "voran/preprocessing/scale_error.h"
#include "voran/preprocessing/transform.h"

namespace {

using Matrix = NCDataMatrix<float>;

constexpr int kMostColumns = 64;  ///< of matrices to try a scaling on

// Values that no scale or transform finds easy.
Matrix Sample(int columns) {
  const float values[] = {0.0f, -1.5f, 3e38f, 1e-40f, -99.0f, 7.0f};
  constexpr int kRows = 5;
  Matrix m(kRows, columns, 1.0f);
  for (int i = 1; i <= kRows; ++i) {
    for (int j = 1; j <= columns; ++j) m(i, j, values[(i + j) % 6]);
  }
  return m;
}

// A scaling comes with means and scales that nothing has checked against a matrix.
void ReadScale(const std::string& bytes) {
  NCScale scale;
  if (!fuzz::ReadAndWrite(bytes, scale) || scale.Size() > kMostColumns) return;
  fuzz::Expect(scale.GetMeans().Size() == scale.Size() && scale.GetScales().Size() == scale.Size(),
               "a scaling has a mean and a scale for each column");
  for (int j = 1; j <= scale.Size(); ++j) NCScale::GetScaleString(scale.GetScaleType(j));
  for (const bool isNew : {false, true}) {
    Matrix m = Sample(scale.Size());
    try {
      scale.ScaleMatrix(&m, isNew);
    } catch (const NCScaleError&) {
    }
    fuzz::Expect(m.SizeColumns() == scale.Size(), "scaling keeps the size");
  }
}

void ApplyTransform(const NCTransform& transform) {
  if (transform.Size() > kMostColumns) return;
  Matrix m = Sample(transform.Size());
  const std::unique_ptr<NCTransformErrors> errors(transform.TransformMatrixNoBreak(&m));
  for (int j = 1; j <= transform.Size(); ++j) {
    transform[j].ToString(true);
    const std::unique_ptr<NCTransformErrors> back(transform[j].BackTransformColumn(&m, j));
  }
}

void ReadTransforms(const std::string& bytes) {
  NCTransform transform;
  if (fuzz::ReadAndWrite(bytes, transform)) ApplyTransform(transform);
  std::istringstream old(bytes);
  NCTransform flat;
  if (flat.ReadTransforms(old)) ApplyTransform(flat);
  fuzz::ReadAndWrite<TransformStruct>(bytes);
  std::istringstream record(bytes);
  TransformStruct ofRecord;
  if (ofRecord.OldRead(record)) ofRecord.ToString(true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  fuzz::ReadAndWrite<NCDataVector<float>>(bytes);
  fuzz::ReadAndWrite<NCDataVector<double>>(bytes);
  fuzz::ReadAndWrite<NCDataMatrix<float>>(bytes);
  fuzz::ReadAndWrite<NCDataMatrix<double>>(bytes);
  fuzz::ReadAndWrite<NCIntegralVector<int, -99>>(bytes);
  fuzz::ReadAndWrite<NCIntegralVector<unsigned long, 0>>(bytes);
  fuzz::ReadAndWrite<NCIntegralVector<bool, 0>>(bytes);
  fuzz::ReadAndWrite<BoolVector>(bytes);
  fuzz::ReadAndWrite<NCStringVector>(bytes);
  ReadScale(bytes);
  ReadTransforms(bytes);
  return 0;
}
