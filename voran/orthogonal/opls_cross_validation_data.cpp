#include "voran/orthogonal/opls_cross_validation_data.h"

#include <cstddef>
#include <utility>

#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_light.h"
#include "voran/platform/stream_values.h"
#include "voran/platform/streamable.h"

inline namespace voran {

using Matrix = NCDataMatrix<float>;
using Matrices = std::vector<Matrix>;

namespace {

// The entries of the directory, which has room for more.
enum Entry : unsigned short { kW = 1, kP, kC, kWO, kPO, kCO, kSSYColumnSS };
constexpr unsigned short kEntries = 11;

void WriteCount(std::size_t count, std::ostream& entry) {
  const auto written = static_cast<std::int32_t>(count);
  WriteFourBytes(&written, 1, entry);
}

void Write(const Matrices& matrices, std::ostream& entry) {
  WriteCount(matrices.size(), entry);
  for (const Matrix& m : matrices) detail::WriteMember(entry, m);
}

void Write(const std::vector<Matrices>& sets, std::ostream& entry) {
  WriteCount(sets.size(), entry);
  for (const Matrices& set : sets) Write(set, entry);
}

int ReadCount(std::istream& entry) {
  std::int32_t count = 0;
  detail::RequireRead(ReadFourBytes(&count, 1, entry) && count >= 0);
  return count;
}

// Every element takes bytes of the stream, so that a false count comes to its end before it comes to much memory.

void Read(std::istream& entry, Matrices& matrices) {
  for (int left = ReadCount(entry); left > 0; --left) {
    detail::ReadMember(entry, matrices.emplace_back());
    detail::RequireRead(entry.good());
  }
}

void Read(std::istream& entry, std::vector<Matrices>& sets) {
  for (int left = ReadCount(entry); left > 0; --left) Read(entry, sets.emplace_back());
}

bool HasShape(const Matrix& m, int rows, int columns) {
  return m.SizeRows() == rows && m.SizeColumns() == columns;
}

}  // namespace

OPLSCrossvalidationData::OPLSCrossvalidationData(int rounds, const Matrix& Y) : SSYColumnSS(Y.SizeColumns()) {
  const auto count = static_cast<std::size_t>(rounds);
  for (std::vector<Matrices>* sets : {&WSets, &PSets, &CSets}) sets->resize(count);
  for (Matrices* sets : {&WOSets, &POSets, &COSets}) sets->resize(count);
  for (int m = 1; m <= Y.SizeColumns(); ++m) SSYColumnSS(m, static_cast<float>(Y.GetColumnSS(m, 0.0)));
}

void OPLSCrossvalidationData::clear() {
  for (std::vector<Matrices>* sets : {&WSets, &PSets, &CSets}) sets->clear();
  for (Matrices* sets : {&WOSets, &POSets, &COSets}) sets->clear();
  SSYColumnSS.Clear();
}

bool OPLSCrossvalidationData::WriteObject(std::ostream& stream) const {
  return VStreamLight::WriteMagicStringAndVersionNumber(stream, Version, Magic) && UnLoad(stream);
}

bool OPLSCrossvalidationData::ReadObject(std::istream& stream) {
  return VStreamLight::CheckMagicStringAndVersionNumber(stream, ReadVersion, Magic) && ReadVersion == Version &&
         ReLoad(stream);
}

bool OPLSCrossvalidationData::UnLoad(std::ostream& stream) const {
  OutputStreamDirectory directory(stream, kEntries);
  Write(WSets, directory.GetOutput(kW));
  Write(PSets, directory.GetOutput(kP));
  Write(CSets, directory.GetOutput(kC));
  Write(WOSets, directory.GetOutput(kWO));
  Write(POSets, directory.GetOutput(kPO));
  Write(COSets, directory.GetOutput(kCO));
  detail::WriteMember(directory.GetOutput(kSSYColumnSS), SSYColumnSS);
  return directory.Close() && stream.good();
}

/// Changes the object at the end only.
bool OPLSCrossvalidationData::ReLoad(std::istream& stream) try {
  InputStreamDirectory directory(stream);
  OPLSCrossvalidationData read;
  Read(detail::RequiredEntry(directory, kW), read.WSets);
  Read(detail::RequiredEntry(directory, kP), read.PSets);
  Read(detail::RequiredEntry(directory, kC), read.CSets);
  Read(detail::RequiredEntry(directory, kWO), read.WOSets);
  Read(detail::RequiredEntry(directory, kPO), read.POSets);
  Read(detail::RequiredEntry(directory, kCO), read.COSets);
  detail::ReadObjectEntry(directory, kSSYColumnSS, read.SSYColumnSS);
  detail::RequireRead(directory.Close() && stream.good() && read.FitsTogether());
  read.ReadVersion = ReadVersion;
  *this = std::move(read);
  return true;
} catch (const VrStreamError&) {
  return false;
}

/// Whether every round's models are of the same X and Y, and have as many stages: one more than orthogonal components.
bool OPLSCrossvalidationData::FitsTogether() const {
  const std::size_t rounds = WSets.size();
  for (const std::size_t size : {PSets.size(), CSets.size(), WOSets.size(), POSets.size(), COSets.size()}) {
    if (size != rounds) return false;
  }
  const int variables = rounds > 0 && !WSets[0].empty() ? WSets[0][0].SizeColumns() : 0;
  for (std::size_t r = 0; r < rounds; ++r) {
    if (WSets[r].size() != WSets[0].size() || !StagesFitTogether(r, variables) || !OrthogonalFitTogether(r, variables))
      return false;
  }
  return true;
}

bool OPLSCrossvalidationData::StagesFitTogether(std::size_t round, int variables) const {
  const Matrices& W = WSets[round];
  const Matrices& P = PSets[round];
  const Matrices& C = CSets[round];
  if (P.size() != W.size() || C.size() != W.size()) return false;
  for (std::size_t k = 0; k < W.size(); ++k) {
    const int components = W[k].SizeRows();
    if (W[k].SizeColumns() != variables || !HasShape(P[k], components, variables) ||
        !HasShape(C[k], components, SSYColumnSS.Size())) {
      return false;
    }
  }
  return true;
}

/// Where nothing has been saved yet there is no stage.
bool OPLSCrossvalidationData::OrthogonalFitTogether(std::size_t round, int variables) const {
  const int components = WOSets[round].SizeRows();
  if (WSets[round].size() != static_cast<std::size_t>(components) + 1 && !(WSets[round].empty() && components == 0)) {
    return false;
  }
  if (components == 0) return POSets[round].SizeRows() == 0 && COSets[round].SizeRows() == 0;
  return HasShape(WOSets[round], components, variables) && HasShape(POSets[round], components, variables) &&
         HasShape(COSets[round], components, SSYColumnSS.Size());
}

}  // namespace voran
