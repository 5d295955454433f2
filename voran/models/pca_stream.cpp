#include <cstdint>

#include "voran/models/pca.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kP, kT, kX, kIterationLimit, kIterations, kEntries };

}  // namespace

NCPCA::DerivedStreamableData NCPCA::MyStreamableData(2, "NCPCA");

bool NCPCA::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  detail::WriteMember(directory.GetOutput(kP), *P_);
  detail::WriteMember(directory.GetOutput(kT), *T_);
  detail::WriteMember(directory.GetOutput(kX), *X_);
  WriteFourBytes(&iterationLimit_, 1, directory.GetOutput(kIterationLimit));
  WriteFourBytes(&iterations_, 1, directory.GetOutput(kIterations));
  return directory.Close() && stream.good();
}

bool NCPCA::VStreamableRead(std::istream& stream) {
  return VStreamableReadBasesOfMyVersion(stream) && ReadStreamDirectory(stream);
}

/// Changes the model at the end only.
bool NCPCA::ReadStreamDirectory(std::istream& stream) try {
  InputStreamDirectory directory(stream);
  NCDataMatrix<float> p;
  NCDataMatrix<float> t;
  NCDataMatrix<float> x;
  detail::ReadObjectEntry(directory, kP, p);
  detail::ReadObjectEntry(directory, kT, t);
  detail::ReadObjectEntry(directory, kX, x);
  const std::int32_t limit = detail::ReadIntEntry(directory, kIterationLimit);
  const std::int32_t iterations = detail::ReadIntEntry(directory, kIterations);
  detail::RequireRead(directory.Close() && stream.good());
  detail::RequireRead(p.SizeColumns() == x.SizeColumns() && t.SizeColumns() == x.SizeRows());
  detail::RequireRead(p.SizeRows() == t.SizeRows() && iterations >= 0);
  P_->swap(p);
  T_->swap(t);
  X_->swap(x);
  columnSquares_->clear();
  iterationLimit_ = limit;
  iterations_ = iterations;
  return true;
} catch (const VrStreamError&) {
  return false;
}

}  // namespace voran
