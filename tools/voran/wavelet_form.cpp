#include "tools/voran/wavelet_form.h"

#include <fmt/format.h>

#include "tools/voran/failure.h"
#include "tools/voran/number_text.h"

namespace tool {

std::string WaveletChoice::Name() const {
  const std::string name = Wavelet::WaveletFunctionStr(family);
  return Wavelet::GetNumFunctionOrder(family) == 1 ? name : name + " " + OrderName();
}

std::vector<std::string> WaveletFamilies() {
  std::vector<std::string> names;
  for (int type = 0; Wavelet::GetNumFunctionOrder(static_cast<Wavelet::WaveletFunctionType>(type)) > 0; ++type) {
    names.emplace_back(Wavelet::WaveletFunctionStr(static_cast<Wavelet::WaveletFunctionType>(type)));
  }
  return names;
}

std::vector<std::string> WaveletOrders(Wavelet::WaveletFunctionType family) {
  std::vector<std::string> names;
  for (int order = 1; order <= Wavelet::GetNumFunctionOrder(family); ++order) {
    names.emplace_back(Wavelet::GetFunctionOrderName(family, order));
  }
  return names;
}

WaveletChoice ChooseWavelet(const std::string& family, const std::string& order) {
  WaveletChoice choice;
  choice.family = Wavelet::WaveletFunction(family.c_str(), choice.family);
  if (order.empty()) return choice;
  choice.order = Wavelet::GetFunctionOrderIndex(choice.family, order.c_str());
  if (choice.order > 0) return choice;
  const std::vector<std::string> orders = WaveletOrders(choice.family);
  throw WrongUse(fmt::format("--order: {} has no order {}; there {} {}", family, Quoted(order),
                             orders.size() == 1 ? "is" : "are", Enumerated(orders)));
}

}  // namespace tool
