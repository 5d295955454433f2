#pragma once

#include <istream>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "tools/voran/wavelet_form.h"

namespace tool {

/// Adds the keys that ReadWaveletForm() needs.
void AddWaveletForm(nlohmann::ordered_json& summary, const WaveletForm& form);

/// Reads them from the summary of a forward transform. Throws `Failure` (bad data) if there is no such file, or if it
/// holds anything else.
WaveletForm ReadWaveletForm(const std::string& path);
/// The same of what stands in `path`.
WaveletForm ReadWaveletForm(std::istream& in, const std::string& path);

}  // namespace tool
