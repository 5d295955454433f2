#include <cstddef>
#include <cstdint>
#include <memory>

#include "voran/platform/exception.h"
#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_entry.h"
#include "voran/platform/stream_values.h"
#include "voran/preprocessing/scale.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kMeans, kScales, kTypes, kEntries };

}  // namespace

NCScale::DerivedStreamableData NCScale::MyStreamableData(2, "NCS");

bool NCScale::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  detail::WriteMember(directory.GetOutput(kMeans), *means_);
  detail::WriteMember(directory.GetOutput(kScales), *scales_);
  WriteFourBytes(types_ + 1, size_, directory.GetOutput(kTypes));
  return directory.Close() && stream.good();
}

bool NCScale::VStreamableRead(std::istream& stream) {
  if (!VStreamableReadBasesOfMyVersion(stream)) return false;
  *means_ = NCDataVector<float>();
  *scales_ = NCDataVector<float>();
  size_ = 0;
  try {
    ReadStreamDirectory(stream);
    return true;
  } catch (const VrStreamError&) {
    return false;
  }
}

/// Throws VrStreamError, with nothing changed, if that fails.
void NCScale::ReadStreamDirectory(std::istream& stream) {
  InputStreamDirectory directory(stream);
  NCDataVector<float> means;
  NCDataVector<float> scales;
  detail::ReadMember(detail::RequiredEntry(directory, kMeans), means);
  detail::ReadMember(detail::RequiredEntry(directory, kScales), scales);
  detail::RequireRead(scales.Size() == means.Size());
  auto types = std::make_unique<Scaling[]>(static_cast<std::size_t>(means.Size()) + 1);
  detail::RequireRead(ReadFourBytes(types.get() + 1, means.Size(), detail::RequiredEntry(directory, kTypes)));
  detail::RequireRead(directory.Close() && stream.good());
  *means_ = means;
  *scales_ = scales;
  delete[] types_;
  types_ = types.release();
  size_ = means_->Size();
}

}  // namespace voran
