#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "voran/models/pls.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kC, kP, kW, kU, kT, kX, kY, kIterationLimit, kIterations, kEntries };

constexpr unsigned short kMatrices = kIterationLimit;

/// The matrices of a model by their entries.
using Matrices = std::array<NCDataMatrix<float>, kMatrices>;

bool FitTogether(const Matrices& m) {
  const auto hasShape = [&m](Entry entry, int rows, int columns) {
    return m[entry].SizeRows() == rows && m[entry].SizeColumns() == columns;
  };
  const int components = m[kP].SizeRows();
  const int observations = m[kX].SizeRows();
  const int variables = m[kX].SizeColumns();
  const int responses = m[kY].SizeColumns();
  return hasShape(kC, components, responses) && hasShape(kP, components, variables) &&
         hasShape(kW, components, variables) && hasShape(kU, components, observations) &&
         hasShape(kT, components, observations) && hasShape(kY, observations, responses);
}

}  // namespace

NCPLS::DerivedStreamableData NCPLS::MyStreamableData(2, "NCPLS");

bool NCPLS::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  unsigned short entry = 0;
  for (const NCDataMatrix<float>* m : {C_, P_, W_, U_, T_, X_, Y_}) {
    detail::WriteMember(directory.GetOutput(entry++), *m);
  }
  WriteFourBytes(&iterationLimit_, 1, directory.GetOutput(kIterationLimit));
  WriteFourBytes(&iterations_, 1, directory.GetOutput(kIterations));
  return directory.Close() && stream.good();
}

bool NCPLS::VStreamableRead(std::istream& stream) {
  return VStreamableReadBasesOfMyVersion(stream) && ReadStreamDirectory(stream);
}

/// Changes the model at the end only.
bool NCPLS::ReadStreamDirectory(std::istream& stream) try {
  InputStreamDirectory directory(stream);
  Matrices read;
  for (unsigned short entry = 0; entry < kMatrices; ++entry) {
    detail::ReadObjectEntry(directory, entry, read[entry]);
  }
  const std::int32_t limit = detail::ReadIntEntry(directory, kIterationLimit);
  const std::int32_t iterations = detail::ReadIntEntry(directory, kIterations);
  detail::RequireRead(directory.Close() && stream.good());
  detail::RequireRead(FitTogether(read) && iterations >= 0);
  std::size_t entry = 0;
  for (NCDataMatrix<float>* m : {C_, P_, W_, U_, T_, X_, Y_}) m->swap(read[entry++]);
  iterationLimit_ = limit;
  iterations_ = iterations;
  return true;
} catch (const VrStreamError&) {
  return false;
}

}  // namespace voran
