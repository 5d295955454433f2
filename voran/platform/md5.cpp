#include "voran/platform/md5.h"

#include <array>
#include <cstdint>

#include <md5.h>

inline namespace voran {

struct MD5::Context {
  MD5_CTX state;
};

MD5::MD5() : context_(std::make_unique<Context>()) {
  MD5Init(&context_->state);
}

MD5::~MD5() = default;

void MD5::Update(const void* bytes, std::size_t count) {
  if (count > 0) MD5Update(&context_->state, static_cast<const std::uint8_t*>(bytes), count);
}

void MD5::Finalize() {
  if (!digest_.empty()) return;
  std::array<std::uint8_t, MD5_DIGEST_LENGTH> bytes{};
  MD5Final(bytes.data(), &context_->state);
  static constexpr std::array<char, 17> kDigits{"0123456789abcdef"};
  for (const unsigned byte : bytes) {
    digest_ += kDigits[byte >> 4U];
    digest_ += kDigits[byte & 15U];
  }
}

}  // namespace voran
