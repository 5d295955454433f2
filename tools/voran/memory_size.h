#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// An amount of memory such as 256M, 1.5GiB, 2 GB or 800000, in bytes: K, M, G and T are powers of 1024, with or
/// without "B" or "iB" behind, in any case. Throws `Failure` (wrong use) for another text, nothing, and more than there
/// can be; `option` is the one that it belongs to.
std::uint64_t ReadMemorySize(const std::string& option, const std::string& text);

/// "1.5 GiB".
std::string MemorySizeText(std::uint64_t bytes);

}  // namespace tool
