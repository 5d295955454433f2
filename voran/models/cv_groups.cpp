#include "voran/models/cv_groups.h"

inline namespace voran {

NCIntegralVector<int, -99> GetDeafultCVGroupsVector(int size, int groups) {
  NCIntegralVector<int, -99> vector(size);
  for (int i = 1; i <= size; ++i) vector(i, groups > 0 ? i % groups : 0);
  return vector;
}

}  // namespace voran
