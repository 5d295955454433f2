#include "tools/voran/wavelet_form_file.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <limits>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tools/voran/failure.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// Throws what Json throws, or false where the file contradicts itself.
bool Read(const Json& json, WaveletForm& form) {
  if (json.at("command") != "wavelet" || json.at("inverse") != false) return false;
  const auto along = json.at("along").get<std::string>();
  form.areRows = along == "rows";
  const auto family = json.at("family").get<std::string>();
  const std::vector<std::string> families = WaveletFamilies();
  if (std::find(families.begin(), families.end(), family) == families.end()) return false;
  form.wavelet = ChooseWavelet(family, json.at("order").get<std::string>());
  form.detrending = DetrendingNamed(json.at("detrend").get<std::string>()).value();
  const Json& coefficients = json.at("coefficients");
  if (!coefficients.is_number_integer() || coefficients < 1 || coefficients > std::numeric_limits<int>::max()) {
    return false;
  }
  form.coefficients = coefficients.get<int>();
  form.isBestBasis = !json.at("basis").is_null();
  const auto basis = form.isBestBasis ? json.at("basis").get<std::string>() : std::string();
  for (const char flag : basis) form.basis.push_back(flag == '1');
  if (form.isBestBasis && basis.size() + 1 != static_cast<std::size_t>(form.coefficients)) return false;
  for (const Json& series : json.at("series")) {
    form.names.push_back(series.at("name").get<std::string>());
    form.offsets.push_back(series.at("offset").is_null() ? 0.0 : series.at("offset").get<double>());
    form.slopes.push_back(series.at("slope").is_null() ? 0.0 : series.at("slope").get<double>());
  }
  form.heading = json.at("element_heading").get<std::string>();
  form.places = json.at("elements").get<std::vector<std::string>>();
  return !form.places.empty() && static_cast<std::size_t>(form.coefficients) >= form.places.size();
}

}  // namespace

void AddWaveletForm(Json& summary, const WaveletForm& form) {
  std::string basis;
  for (const bool isSplit : form.basis) basis += isSplit ? '1' : '0';
  summary["family"] = Wavelet::WaveletFunctionStr(form.wavelet.family);
  summary["order"] = form.wavelet.OrderName();
  summary["detrend"] = DetrendingName(form.detrending);
  summary["coefficients"] = form.coefficients;
  summary["basis"] = form.isBestBasis ? Json(basis) : Json();
  summary["element_heading"] = form.heading;
  summary["elements"] = form.places;
  summary["series"] = Json::array();
  for (std::size_t s = 0; s < form.names.size(); ++s) {
    // With all their digits: what is restored is to be what there was.
    summary["series"].push_back({{"name", form.names[s]}, {"offset", form.offsets[s]}, {"slope", form.slopes[s]}});
  }
}

WaveletForm ReadWaveletForm(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw BadData(
        fmt::format("{}: cannot be read; --inverse needs this file, which --out writes beside wavelet.csv", path));
  }
  return ReadWaveletForm(in, path);
}

WaveletForm ReadWaveletForm(std::istream& in, const std::string& path) {
  WaveletForm form;
  try {
    if (Read(Json::parse(in), form)) return form;
  } catch (const std::exception&) {  // of a file that is no JSON, or lacks a key
  }
  throw BadData(fmt::format("{}: is no summary of a wavelet transform, as voran wavelet --out writes it", path));
}

}  // namespace tool
