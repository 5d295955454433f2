// Any bytes give the form of a wavelet transform or a failure, and one that was read can be tried on coefficients.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/expect.h"
#include "tools/voran/failure.h"
#include "tools/voran/series_set.h"
#include "tools/voran/wavelet_fit.h"
#include "tools/voran/wavelet_form_file.h"

namespace {

constexpr int kMostCoefficients = 512;
constexpr std::size_t kMostSeries = 16;

void Restore(const tool::WaveletForm& form) {
  if (form.coefficients > kMostCoefficients || form.names.size() > kMostSeries) return;
  tool::SeriesSet coefficients;
  coefficients.areRows = form.areRows;
  coefficients.names = form.names;
  coefficients.x = NCDataMatrix<float>(static_cast<int>(form.names.size()), form.coefficients, 0.5f);
  for (int k = 1; k <= form.coefficients; ++k) coefficients.places.push_back("c_" + std::to_string(k));
  const NCDataMatrix<float> series = tool::RestoreSeries(coefficients, form, "t.csv");
  for (const NCDataVector<float>& row : series) {
    fuzz::Expect(static_cast<std::size_t>(row.Size()) == form.places.size(), "an element for each place");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  try {
    Restore(tool::ReadWaveletForm(stream, "summary.json"));
  } catch (const tool::Failure&) {
  }
  return 0;
}
