#include <cstdint>
#include <optional>
#include <utility>

#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

using Matrix = NCDataMatrix<float>;

namespace {

// The entries of the directory.
enum Entry : unsigned short { kP, kW, kT, kX, kYScores, kYScoresInverse, kComponents, kIterations, kEntries };

std::optional<Matrix> ReadIfPresent(InputStreamDirectory& directory, Entry entry) {
  std::optional<Matrix> m;
  if (directory.GetInput(entry) != nullptr) detail::ReadObjectEntry(directory, entry, m.emplace());
  return m;
}

bool HasShape(const Matrix& m, int rows, int columns) {
  return m.SizeRows() == rows && m.SizeColumns() == columns;
}

}  // namespace

NCYOrthogonalPLS::DerivedStreamableData NCYOrthogonalPLS::MyStreamableData(2, "YOPLS");

bool NCYOrthogonalPLS::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  detail::WriteMember(directory.GetOutput(kP), Pprim_);
  detail::WriteMember(directory.GetOutput(kW), Wprim_);
  detail::WriteMember(directory.GetOutput(kT), Tprim_);
  detail::WriteMember(directory.GetOutput(kX), XResiduals_);
  if (YScores_) detail::WriteMember(directory.GetOutput(kYScores), *YScores_);
  if (YScoresInverse_) detail::WriteMember(directory.GetOutput(kYScoresInverse), *YScoresInverse_);
  WriteFourBytes(&components_, 1, directory.GetOutput(kComponents));
  WriteFourBytes(&iterations_, 1, directory.GetOutput(kIterations));
  return directory.Close() && stream.good();
}

bool NCYOrthogonalPLS::VStreamableRead(std::istream& stream) {
  return VStreamableReadBasesOfMyVersion(stream) && ReadStreamDirectory(stream);
}

/// Changes the model at the end only.
bool NCYOrthogonalPLS::ReadStreamDirectory(std::istream& stream) try {
  InputStreamDirectory directory(stream);
  NCYOrthogonalPLS read;
  detail::ReadObjectEntry(directory, kP, read.Pprim_);
  detail::ReadObjectEntry(directory, kW, read.Wprim_);
  detail::ReadObjectEntry(directory, kT, read.Tprim_);
  detail::ReadObjectEntry(directory, kX, read.XResiduals_);
  read.YScores_ = ReadIfPresent(directory, kYScores);
  read.YScoresInverse_ = ReadIfPresent(directory, kYScoresInverse);
  read.components_ = detail::ReadIntEntry(directory, kComponents);
  read.iterations_ = detail::ReadIntEntry(directory, kIterations);
  detail::RequireRead(directory.Close() && stream.good() && read.FitsTogether());
  *this = std::move(read);
  return true;
} catch (const VrStreamError&) {
  return false;
}

bool NCYOrthogonalPLS::FitsTogether() const {
  const int observations = XResiduals_.SizeRows();
  const int variables = XResiduals_.SizeColumns();
  if (!HasShape(Pprim_, components_, variables) || !HasShape(Wprim_, components_, variables) ||
      !HasShape(Tprim_, components_, observations) || YScores_.has_value() != YScoresInverse_.has_value()) {
    return false;
  }
  if (!YScores_) return true;
  const int yComponents = YScores_->SizeColumns();
  return observations > 0 && HasShape(*YScores_, observations, yComponents) &&
         HasShape(*YScoresInverse_, yComponents, yComponents);
}

}  // namespace voran
