#include <cstdint>

#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_format.h"
#include "voran/platform/stream_values.h"
#include "voran/preprocessing/transform.h"

inline namespace voran {

namespace {

/// An element is an object of its own, with a directory of this many entries.
constexpr std::size_t kEntriesOfElement = 2;

}  // namespace

NCTransform::DerivedStreamableData NCTransform::MyStreamableData(2, "NCT");

bool NCTransform::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, 1);
  std::ostream& entry = directory.GetOutput(0);
  const auto count = static_cast<std::int32_t>(transforms_.size());
  WriteFourBytes(&count, 1, entry);
  for (const TransformStruct& transform : transforms_) {
    detail::WriteMember(entry, transform);
    if (!entry) break;
  }
  return directory.Close() && stream.good();
}

bool NCTransform::VStreamableRead(std::istream& stream) {
  if (!VStreamableReadBasesOfMyVersion(stream)) return false;
  transforms_.clear();
  return ReadStreamDirectory(stream);
}

bool NCTransform::ReadStreamDirectory(std::istream& stream) {
  InputStreamDirectory directory(stream);
  std::istream* const entry = directory.GetInput(0);
  std::int32_t count = 0;
  if (entry == nullptr || !ReadFourBytes(&count, 1, *entry) || count < 0) return false;
  const auto size = static_cast<std::size_t>(count);
  if (size > detail::RemainingBytes(*entry) / detail::LeastObjectBytes(kEntriesOfElement)) return false;
  std::vector<TransformStruct> transforms(size);
  for (TransformStruct& transform : transforms) {
    detail::ReadMember(*entry, transform);
    if (!*entry) return false;
  }
  if (!directory.Close() || !stream.good()) return false;
  transforms_.swap(transforms);
  return true;
}

bool NCTransform::ReadTransforms(std::istream& stream) {
  transforms_.clear();
  std::int32_t count = 0;
  if (!ReadFourBytes(&count, 1, stream) || count < 0) return false;
  // Grows with what the stream really holds.
  std::vector<TransformStruct> transforms(1);
  for (std::int32_t i = 0; i < count; ++i) {
    std::int32_t type = 0;
    TransformStruct& transform = transforms.emplace_back();
    if (!ReadFourBytes(&type, 1, stream) || !ReadFourBytes(transform.GetConstants(), 4, stream)) return false;
    transform.SetTransform(static_cast<TransformE::Transform>(type));
  }
  transforms_.swap(transforms);
  return stream.good();
}

}  // namespace voran
