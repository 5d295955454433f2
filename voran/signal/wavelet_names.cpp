#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <string>

#include "voran/platform/exception_message.h"
#include "voran/signal/wavelet.h"

inline namespace voran {

namespace {

constexpr const char* kDetrendNames[] = {"None", "Mean", "Linear"};

struct Family {
  const char* name;
  int numOrders;
  const char* orders[7];
};

constexpr Family kFamilies[] = {
    {"Beylkin", 1, {"N/A"}},
    {"Coiflet", 4, {"2", "3", "4", "5"}},
    {"Daubechies", 7, {"4", "6", "8", "10", "12", "20", "50"}},
    {"Symmlet", 4, {"4", "6", "8", "10"}},
    {"Biorthogonal1", 3, {"1", "3", "5"}},
    {"Biorthogonal2", 4, {"2", "4", "6", "8"}},
    {"Biorthogonal3", 5, {"1", "3", "5", "7", "9"}},
    {"Biorthogonal4", 1, {"4"}},
    {"Biorthogonal5", 1, {"5"}},
    {"Biorthogonal6", 1, {"8"}},
};

const Family* FamilyOf(Wavelet::WaveletFunctionType type) {
  const auto index = static_cast<int>(type);
  return index >= 0 && index < std::ssize(kFamilies) ? &kFamilies[index] : nullptr;
}

bool Equal(const char* a, const char* b) {
  return a != nullptr && std::strcmp(a, b) == 0;
}

std::string VarName(const std::string& base, int number, bool byScale) {
  if (!byScale) return base + "_" + std::to_string(number);
  const int level = static_cast<int>(std::bit_width(static_cast<unsigned>(number - 1)));
  const int index = level == 0 ? 1 : number - (1 << (level - 1));
  return base + "_" + std::to_string(level) + "_" + std::to_string(index);
}

}  // namespace

Wavelet::WaveletFunctionType Wavelet::WaveletFunction(const char* name, WaveletFunctionType fallback) {
  const auto* const found = std::find_if(std::begin(kFamilies), std::end(kFamilies),
                                         [&](const auto& family) { return Equal(name, family.name); });
  return found == std::end(kFamilies) ? fallback : static_cast<WaveletFunctionType>(found - kFamilies);
}

const char* Wavelet::WaveletFunctionStr(WaveletFunctionType type) {
  const Family* const family = FamilyOf(type);
  return family == nullptr ? nullptr : family->name;
}

Wavelet::DetrendMode Wavelet::Detrend(const char* name, DetrendMode fallback) {
  const auto* const found = std::find_if(std::begin(kDetrendNames), std::end(kDetrendNames),
                                         [&](const char* known) { return Equal(name, known); });
  return found == std::end(kDetrendNames) ? fallback : static_cast<DetrendMode>(found - kDetrendNames);
}

const char* Wavelet::DetrendStr(DetrendMode mode) {
  const auto index = static_cast<int>(mode);
  return index >= 0 && index < std::ssize(kDetrendNames) ? kDetrendNames[index] : nullptr;
}

std::string Wavelet::DetrendStrLocal(DetrendMode mode) {
  const char* const name = DetrendStr(mode);
  return name == nullptr ? std::string() : detail::TranslateText(name, "Wavelet detrend mode");
}

int Wavelet::GetNumFunctionOrder(WaveletFunctionType type) {
  const Family* const family = FamilyOf(type);
  return family == nullptr ? 0 : family->numOrders;
}

const char* Wavelet::GetFunctionOrderName(WaveletFunctionType type, int order) {
  return order >= 1 && order <= GetNumFunctionOrder(type) ? FamilyOf(type)->orders[order - 1] : nullptr;
}

int Wavelet::GetFunctionOrderIndex(WaveletFunctionType type, const char* name) {
  for (int order = 1; order <= GetNumFunctionOrder(type); ++order) {
    if (Equal(name, GetFunctionOrderName(type, order))) return order;
  }
  return 0;
}

NCStringVector Wavelet::MakeVarNames(const std::string& base, int count, bool byScale) {
  NCStringVector names;
  names.Reserve(count);
  for (int i = 1; i <= count; ++i) names.push_back(VarName(base, i, byScale));
  return names;
}

NCStringVector Wavelet::MakeVarNames(const NCStringVector& bases, bool byScale) {
  NCStringVector names;
  names.Reserve(bases.Size());
  for (int i = 1; i <= bases.Size(); ++i) names.push_back(VarName(bases[i], i, byScale));
  return names;
}

}  // namespace voran
