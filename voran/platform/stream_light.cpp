#include "voran/platform/stream_light.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "voran/platform/stream_checksum.h"
#include "voran/platform/stream_format.h"
#include "voran/platform/stream_values.h"

inline namespace voran {

using namespace detail;  // NOLINT(google-build-using-namespace)

namespace {

using HeaderBuffer = std::array<char, HeaderBytes(kLongestClassName)>;

std::uint64_t HeaderChecksum(const char* header, std::size_t count) {
  return ChecksumOf(header, count) & 0xFFFFFFFFU;
}

}  // namespace

bool VStreamLight::WriteMagicStringAndVersionNumber(std::ostream& stream, unsigned short version, const char* magic) {
  const std::string_view name(magic);
  if (name.size() > kLongestClassName) stream.setstate(std::ios_base::failbit);
  if (!CanSeek(stream)) return false;
  HeaderBuffer header;
  header[0] = static_cast<char>(name.size());
  std::copy(name.begin(), name.end(), header.begin() + 1);
  const std::size_t versionAt = 1 + name.size();
  const std::size_t checksumAt = versionAt + kHeaderVersionBytes;
  StoreLittleEndian(&header[versionAt], version, kHeaderVersionBytes);
  StoreLittleEndian(&header[checksumAt], HeaderChecksum(header.data(), checksumAt), kHeaderChecksumBytes);
  stream.write(header.data(), static_cast<std::streamsize>(HeaderBytes(name.size())));
  return stream.good();
}

bool VStreamLight::CheckMagicStringAndVersionNumber(std::istream& stream, unsigned short& version, const char* magic) {
  if (!CanSeek(stream)) return false;
  HeaderBuffer header;
  if (!stream.get(header[0])) return false;
  const std::size_t nameLength = static_cast<unsigned char>(header[0]);
  if (!stream.read(&header[1], static_cast<std::streamsize>(HeaderBytes(nameLength) - 1))) return false;
  const std::size_t versionAt = 1 + nameLength;
  const std::size_t checksumAt = versionAt + kHeaderVersionBytes;
  const std::uint64_t checksum = LoadLittleEndian(&header[checksumAt], kHeaderChecksumBytes);
  if (!IsSameChecksum(checksum, HeaderChecksum(header.data(), checksumAt))) return false;
  if (std::string_view(&header[1], nameLength) != magic) return false;
  version = static_cast<unsigned short>(LoadLittleEndian(&header[versionAt], kHeaderVersionBytes));
  return true;
}

}  // namespace voran
