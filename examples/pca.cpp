#include <cmath>
#include <cstdio>

#include <voran/voran.h>

// A principal component analysis of crime in ten states: arrests per 100 000 people for murder, assault and rape, and
// the per cent of people in towns, in 1973. One value is missing.

namespace {

constexpr int kStates = 10, kVariables = 4;
constexpr float kMissing = -99.0f;

const char* const kNames[] = {"Alabama",  "Alaska",      "Arizona",  "Arkansas", "California",
                              "Colorado", "Connecticut", "Delaware", "Florida",  "Georgia"};
const float kArrests[kStates][kVariables] = {
    {13.2f, 236, 58, 21.2f}, {10.0f, 263, 48, 44.5f},   {8.1f, 294, 80, 31.0f}, {8.8f, 190, 50, 19.5f},
    {9.0f, 276, 91, 40.6f},  {7.9f, 204, 78, kMissing}, {3.3f, 110, 77, 11.1f}, {5.9f, 238, 72, 15.8f},
    {15.4f, 335, 80, 31.9f}, {17.4f, 211, 60, 25.8f},
};

// Brings a column to mean 0 and variance 1 over the values that are there. Rows and columns count from 1.
void Standardise(NCDataMatrix<float>& data, int column) {
  double sum = 0.0;
  int present = 0;
  for (int row = 1; row <= data.SizeRows(); ++row) {
    if (data[row][column] == kMissing) continue;
    sum += data[row][column];
    ++present;
  }
  const double mean = sum / present;
  const double deviation = std::sqrt(data.GetColumnSS(column, mean) / (present - 1));
  for (int row = 1; row <= data.SizeRows(); ++row) {
    if (data[row][column] == kMissing) continue;
    data(row, column, static_cast<float>((data[row][column] - mean) / deviation));
  }
}

}  // namespace

int main() {
  NCDataMatrix<float> data(kStates, kVariables, kMissing);
  for (int row = 1; row <= kStates; ++row) {
    for (int column = 1; column <= kVariables; ++column) data(row, column, kArrests[row - 1][column - 1]);
  }
  for (int column = 1; column <= kVariables; ++column) Standardise(data, column);

  NCPCA model(&data, 200);  // at most 200 rounds for a component
  for (int component = 1; component <= 2; ++component) {
    model.NextComponent(nullptr, nullptr, 0, nullptr);  // no progress display, no variable left out, default start
    model.CalculateResiduals();
  }

  const NCDataMatrix<float>& scores = *model.GetTprim();  // one row per component
  std::printf("%-12s %6s %6s\n", "", "t1", "t2");
  for (int row = 1; row <= kStates; ++row) {
    std::printf("%-12s %6.2f %6.2f\n", kNames[row - 1], scores[1][row], scores[2][row]);
  }
}
