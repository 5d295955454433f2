#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

/// Ends the process, which a fuzzer takes for a find, unless the promise is kept.
inline void Expect(bool isKept, const char* promise) {
  if (isKept) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

}  // namespace fuzz
