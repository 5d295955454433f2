#include <algorithm>
#include <array>
#include <cstdint>

#include "voran/platform/stream_directory.h"
#include "voran/platform/stream_values.h"
#include "voran/preprocessing/transform_struct.h"

inline namespace voran {

namespace {

// The entries of the directory.
enum Entry : unsigned short { kTransform, kConstants, kEntries };

}  // namespace

TransformStruct::DerivedStreamableData TransformStruct::MyStreamableData(1, "TS");

bool TransformStruct::VStreamableWrite(std::ostream& stream) {
  OutputStreamDirectory directory(stream, kEntries);
  const auto type = static_cast<std::int16_t>(transform_);
  WriteTwoBytes(&type, 1, directory.GetOutput(kTransform));
  WriteFourBytes(constants_.data(), static_cast<int>(constants_.size()), directory.GetOutput(kConstants));
  return directory.Close() && stream.good();
}

bool TransformStruct::VStreamableRead(std::istream& stream) {
  return VStreamableReadBasesOfMyVersion(stream) && ReadStreamDirectory(stream);
}

bool TransformStruct::ReadStreamDirectory(std::istream& stream) {
  InputStreamDirectory directory(stream);
  std::int16_t type = 0;
  std::array<float, 4> constants{};
  std::istream* entry = directory.GetInput(kTransform);
  if (entry == nullptr || !ReadTwoBytes(&type, 1, *entry)) return false;
  entry = directory.GetInput(kConstants);
  if (entry == nullptr || !ReadFourBytes(constants.data(), static_cast<int>(constants.size()), *entry)) return false;
  if (!directory.Close() || !stream.good()) return false;
  transform_ = static_cast<TransformE::Transform>(type);
  constants_ = constants;
  return true;
}

std::istream& TransformStruct::OldRead(std::istream& stream) {
  std::int32_t type = 0;
  std::array<float, 3> constants{};
  if (ReadFourBytes(&type, 1, stream) && ReadFourBytes(constants.data(), static_cast<int>(constants.size()), stream)) {
    transform_ = static_cast<TransformE::Transform>(type);
    std::copy(constants.begin(), constants.end(), constants_.begin() + 1);
  }
  return stream;
}

}  // namespace voran
