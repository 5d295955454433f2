#pragma once

#include "voran/signal/wavelet.h"

/// Deletes the filters that it was made with.
struct Filters : Wavelet::WaveletFilters {
  explicit Filters(const WaveletFilters& filters) : WaveletFilters(filters) {}
  Filters(const Filters&) = delete;
  Filters& operator=(const Filters&) = delete;
  ~Filters() { CleanUp(); }
};
