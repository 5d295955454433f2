#include "voran/containers/index_lookup.h"

#include <cstddef>
#include <unordered_map>

inline namespace voran {

NCIntegralVector<int, -99> GetIndexLookupVector(const NCIntegralVector<unsigned long, 0>& wanted,
                                                const NCIntegralVector<unsigned long, 0>& list) {
  std::unordered_map<unsigned long, int> positions;
  positions.reserve(static_cast<std::size_t>(list.Size()));
  for (int i = 1; i <= list.Size(); ++i) positions.emplace(list[i], i);

  NCIntegralVector<int, -99> found(wanted.Size(), -1);
  for (int i = 1; i <= wanted.Size(); ++i) {
    if (const auto entry = positions.find(wanted[i]); entry != positions.end()) found(i, entry->second);
  }
  return found;
}

}  // namespace voran
