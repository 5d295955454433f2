// Any bytes give a model, the data of a cross-validation or a cluster tree, or a failure. What was read can be used,
// and comes out again when it is written and read. The library is built to believe every checksum.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/cancel.h"
#include "fuzz/expect.h"
#include "fuzz/made_matrix.h"
#include "fuzz/round_trip.h"
#include "fuzz/tree_uses.h"
#include "voran/cluster/dendrogram_node.h"
#include "voran/models/pca.h"
#include "voran/models/pca_prediction.h"
#include "voran/models/pls.h"
#include "voran/models/pls_prediction.h"
#include "voran/orthogonal/opls_cross_validation.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"

namespace fuzz {

inline bool IsConsistent(const NCPCA& pca) {
  const Matrix& x = *pca.GetResiduals();
  return pca.GetPprim()->SizeColumns() == x.SizeColumns() && pca.GetTprim()->SizeColumns() == x.SizeRows();
}

inline bool IsConsistent(const NCPLS& pls) {
  return pls.GetUprim()->SizeColumns() == pls.GetXResiduals()->SizeRows() &&
         pls.GetCprim()->SizeColumns() == pls.GetYResiduals()->SizeColumns();
}

inline bool IsConsistent(const NCYOrthogonalPLS& model) {
  return model.GetPprim()->SizeColumns() == model.GetXResiduals()->SizeColumns();
}

}  // namespace fuzz

namespace {

using fuzz::Expect;
using fuzz::Matrix;

constexpr int kIterations = 5;
constexpr int kMostCells = 2000;  ///< of a model that is used

bool IsSmall(const Matrix& m) {
  return m.SizeRows() <= kMostCells && m.SizeColumns() <= kMostCells && m.SizeRows() * m.SizeColumns() <= kMostCells;
}

void Use(const NCPCA& read) {
  if (!IsSmall(*read.GetResiduals()) || !IsSmall(*read.GetPprim()) || !IsSmall(*read.GetTprim())) return;
  NCPCAPred prediction(read.GetResiduals(), read.GetPprim(), kIterations, 0.5f);
  while (prediction.GetResidualsCompComputed() < prediction.GetMaxComp()) prediction.CalcNextResidual();
  NCPCA model(read.GetResiduals(), read.GetPprim(), read.GetTprim(), kIterations);
  model.NextComponent(nullptr, nullptr, 0, nullptr);
  model.CalculateResiduals();
}

void Use(const NCPLS& read) {
  const Matrix& x = *read.GetXResiduals();
  if (!IsSmall(x) || !IsSmall(*read.GetYResiduals()) || !IsSmall(*read.GetPprim()) || !IsSmall(*read.GetTprim()))
    return;
  NCPLSPred prediction(x, *read.GetWprim(), *read.GetPprim(), *read.GetCprim(), 0.5f);
  while (prediction.GetCompComputed() < prediction.GetMaxComp()) prediction.CalcNextComponent();
  NCPLS model(&x, read.GetYResiduals(), read.GetCprim(), read.GetPprim(), read.GetWprim(), read.GetUprim(),
              read.GetTprim(), kIterations);
  model.GetRegressionCoefficients(-1);
  model.NextComponent(nullptr, nullptr, true, true);
  model.CalculateResiduals();
}

// Its limit of iterations comes from the stream, and may be far: a break ends them.
void Use(NCYOrthogonalPLS& model) {
  constexpr int kPolls = 40;
  if (!IsSmall(*model.GetXResiduals()) || !IsSmall(*model.GetPprim())) return;
  Matrix rows = *model.GetXResiduals();
  model.CalculateResiduals(&rows);
  model.GetWStarPrim();
  model.RemoveComponent();
  NCProgress::SetDisplay(std::make_shared<fuzz::CancelAtPoll>(kPolls));
  model.NextComponent(false);
}

template <class Model>
void ReadModel(const std::string& bytes) {
  Model model;
  if (!fuzz::ReadAndWrite(bytes, model)) return;
  try {
    Use(model);
  } catch (const NCError&) {
  }
  NCProgress::SetDisplay(nullptr);
}

void GoOn(const OPLSCrossvalidationData& data) {
  constexpr int kMostRounds = 20;
  const std::size_t rounds = data.WSets.size();
  if (rounds == 0 || rounds > kMostRounds || data.WSets[0].empty() || !IsSmall(data.WSets[0][0])) return;
  const int variables = data.WSets[0][0].SizeColumns();
  const int responses = data.SSYColumnSS.Size();
  const int rows = static_cast<int>(rounds) + 2;
  if (variables > 100 || responses > 100) return;
  const auto made = [rows](int columns) {
    Matrix m(rows, columns, 0.0f);
    for (int i = 1; i <= rows; ++i) {
      for (int j = 1; j <= columns; ++j) m(i, j, static_cast<float>((i * 7 + j * 5) % 11));
    }
    return m;
  };
  const Matrix x = made(variables);
  const Matrix y = made(responses);
  OPLSCrossValidation cv(&x, &y, &data, nullptr);
  cv.NextComponent(nullptr);
}

void ReadCrossValidationData(const std::string& bytes) {
  std::istringstream stream(bytes);
  OPLSCrossvalidationData data;
  if (!data.ReadObject(stream)) return;
  std::stringstream written;
  OPLSCrossvalidationData again;
  Expect(data.WriteObject(written) && again.ReadObject(written), "what was written can be read");
  std::ostringstream rewritten;
  Expect(again.WriteObject(rewritten) && rewritten.str() == written.str(), "what was read is what was written");
  try {
    GoOn(data);
  } catch (const NCError&) {
  }
}

void ReadTree(const std::string& bytes) {
  using DendroGram::DendroGramNode;
  const DendroGram::DendroGramPointer root(new DendroGramNode());
  if (!fuzz::IsRead(bytes, *root)) return;
  FuzzedDataProvider choices(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  NCDataVector<float> heights;
  NCIntegralVector<unsigned long, 0> first;
  NCIntegralVector<unsigned long, 0> second;
  NCIntegralVector<unsigned long, 0> joined;
  CreateMergeData(*root, heights, first, second, joined, nullptr, nullptr);
  root->SortByIndex();
  root->SortBySize();
  fuzz::UseTree(choices, *root);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  ReadModel<NCPCA>(bytes);
  ReadModel<NCPLS>(bytes);
  ReadModel<NCYOrthogonalPLS>(bytes);
  ReadCrossValidationData(bytes);
  ReadTree(bytes);
  return 0;
}
