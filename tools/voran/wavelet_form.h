#pragma once

#include <string>
#include <vector>

#include "tools/voran/series_set.h"
#include "voran/signal/wavelet.h"

namespace tool {

/// Which wavelet: a family and one of its orders, counted from 1.
struct WaveletChoice {
  Wavelet::WaveletFunctionType family = Wavelet::WaveletFunctionType::kDaubechies;
  int order = 1;

  /// "Daubechies 4".
  std::string Name() const;
  std::string OrderName() const { return Wavelet::GetFunctionOrderName(family, order); }
};

std::vector<std::string> WaveletFamilies();
std::vector<std::string> WaveletOrders(Wavelet::WaveletFunctionType family);

/// The family of this name and its order of that name, or its first one if that is empty. Throws `Failure` (wrong use)
/// if there is no such order; the family has to be one of WaveletFamilies().
WaveletChoice ChooseWavelet(const std::string& family, const std::string& order);

/// The two filters, freed at the end.
class OwnedFilters {
 public:
  explicit OwnedFilters(const Wavelet::WaveletFilters& filters) : filters_(filters) {}
  ~OwnedFilters() { filters_.CleanUp(); }
  OwnedFilters(const OwnedFilters&) = delete;
  OwnedFilters& operator=(const OwnedFilters&) = delete;

  const Wavelet::WaveletFilters& Get() const { return filters_; }

 private:
  Wavelet::WaveletFilters filters_;
};

/// What coefficients alone do not tell of the series that they were made of.
struct WaveletForm {
  bool areRows = false;
  WaveletChoice wavelet;
  Detrending detrending = Detrending::kMean;
  bool isBestBasis = false;
  int coefficients = 0;             ///< of a series; more than it had elements if it was padded
  std::vector<bool> basis;          ///< of the best basis: whether each inner node of the tree is split
  std::vector<std::string> names;   ///< of the series
  std::vector<double> offsets;      ///< what was taken off each: a mean, or the line's value at position 0
  std::vector<double> slopes;       ///< of that line, from one element to the next
  std::string heading;              ///< of the elements' names
  std::vector<std::string> places;  ///< the names of the elements
};

}  // namespace tool
