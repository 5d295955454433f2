#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "voran/export.h"

inline namespace voran {

/// The MD5 digest of bytes that come in pieces. It serves to name things by their content, not to keep them safe.
class VORAN_EXPORT MD5 {
 public:
  MD5();
  MD5(const MD5&) = delete;
  MD5& operator=(const MD5&) = delete;
  ~MD5();

  /// Adds bytes, until Finalize.
  void Update(const void* bytes, std::size_t count);
  void Update(const std::string& text) { Update(text.data(), text.size()); }
  /// Ends the input; a second call changes nothing.
  void Finalize();
  /// 32 lower-case hexadecimal digits once Finalize was called, empty before.
  const std::string& GetDigest() const { return digest_; }

 private:
  struct Context;

  std::unique_ptr<Context> context_;
  std::string digest_;
};

}  // namespace voran
