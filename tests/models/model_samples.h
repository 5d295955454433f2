#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"
#include "voran/models/pca.h"
#include "voran/models/pls.h"
#include "voran/platform/nc_error.h"
#include "voran/platform/progress.h"
#include "voran/platform/progress_display.h"
#include "voran/platform/threading_control.h"

/// What the tests of the models have in common: data with a known structure, and displays that watch or stop.
namespace samples {

using FloatMatrix = NCDataMatrix<float>;
using FloatVector = NCDataVector<float>;
using Groups = NCIntegralVector<int, -99>;
using Plain = std::vector<double>;
using PlainMatrix = std::vector<Plain>;

inline constexpr float kGap = -99.0f;

/// A matrix of three components, each so many times as large as the next one, and a little noise.
inline PlainMatrix ThreeComponents(std::size_t rows, std::size_t columns, unsigned seed, double ratio = 2.0) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> normal;
  PlainMatrix x(rows, Plain(columns));
  double size = 8.0;
  for (int a = 0; a < 3; ++a, size /= ratio) {
    Plain p(columns);
    for (double& value : p) value = normal(generator);
    for (auto& row : x) {
      const double t = size * normal(generator);
      for (std::size_t j = 0; j < columns; ++j) row[j] += t * p[j];
    }
  }
  for (auto& row : x) {
    for (double& value : row) value += 0.05 * normal(generator);
  }
  return x;
}

inline FloatMatrix ToMatrix(const PlainMatrix& x) {
  FloatMatrix m;
  for (const auto& row : x) {
    const std::vector<float> elements(row.begin(), row.end());
    FloatVector v;
    v.CopyZeroBasedVector(elements.data(), static_cast<int>(elements.size()));
    m.push_back(v);
  }
  return m;
}

inline Plain ToPlain(const FloatVector& v) {
  return {v.begin(), v.end()};
}

inline PlainMatrix ToPlain(const FloatMatrix& m) {
  PlainMatrix x;
  for (const FloatVector& row : m) x.push_back(ToPlain(row));
  return x;
}

/// Knocks out about one element in twenty.
inline FloatMatrix WithGaps(FloatMatrix m, unsigned seed) {
  std::mt19937 generator(seed);
  for (int i = 1; i <= m.SizeRows(); ++i) {
    for (int j = 1; j <= m.SizeColumns(); ++j) {
      if (generator() % 20 == 0) m(i, j, kGap);
    }
  }
  return m;
}

inline double Dot(const FloatVector& a, const FloatVector& b) {
  double sum = 0.0;
  for (int i = 1; i <= a.Size(); ++i) sum += static_cast<double>(a[i]) * static_cast<double>(b[i]);
  return sum;
}

/// The same size and bits; a matrix is also equal to one that has more rows.
inline bool Equal(const FloatMatrix& a, const FloatMatrix& b) {
  return a.SizeRows() == b.SizeRows() && a.SizeColumns() == b.SizeColumns() && a == b;
}

/// The same gaps, and elements within `relative` of the largest magnitude that is expected.
inline void ExpectNear(const FloatVector& v, const Plain& expected, double relative) {
  ASSERT_EQ(v.Size(), static_cast<int>(expected.size()));
  const auto isGap = [](double x) { return x == static_cast<double>(kGap); };
  double scale = 0.0;
  for (const double x : expected) scale = isGap(x) ? scale : std::max(scale, std::abs(x));
  for (int i = 1; i <= v.Size(); ++i) {
    const double wanted = expected[static_cast<std::size_t>(i - 1)];
    if (isGap(wanted)) {
      EXPECT_EQ(v[i], kGap) << "element " << i;
    } else {
      EXPECT_NEAR(v[i], wanted, relative * scale) << "element " << i;
    }
  }
}

inline void ExpectNear(const FloatMatrix& m, const PlainMatrix& expected, double relative) {
  ASSERT_EQ(m.SizeRows(), static_cast<int>(expected.size()));
  for (int i = 1; i <= m.SizeRows(); ++i) {
    SCOPED_TRACE(::testing::Message() << "row " << i);
    ExpectNear(m[i], expected[static_cast<std::size_t>(i - 1)], relative);
  }
}

struct XY {
  FloatMatrix x;
  FloatMatrix y;
};

/// X of three components, and responses that are random mixtures of its variables with some noise. With several
/// responses a component takes some ten rounds.
inline XY Related(std::size_t rows, std::size_t columns, std::size_t responses, unsigned seed) {
  std::mt19937 generator(seed + 1);
  std::normal_distribution<double> normal;
  const PlainMatrix x = ThreeComponents(rows, columns, seed, 1.4);
  PlainMatrix y(rows, Plain(responses));
  for (std::size_t m = 0; m < responses; ++m) {
    Plain b(columns);
    for (double& value : b) value = normal(generator) / static_cast<double>(columns);
    for (std::size_t i = 0; i < rows; ++i) {
      y[i][m] = std::inner_product(b.begin(), b.end(), x[i].begin(), 0.1 * normal(generator));
    }
  }
  return {ToMatrix(x), ToMatrix(y)};
}

/// Some gaps anywhere, a row of X and another of Y without data, and an empty column of X.
inline XY Riddled(const XY& data) {
  XY riddled = {WithGaps(data.x, 3), WithGaps(data.y, 4)};
  riddled.x.SetRow(5, kGap);
  riddled.y.SetRow(9, kGap);
  riddled.x.SetColumn(2, kGap);
  return riddled;
}

/// Fits components one after the other, deflation included.
inline void Fit(NCPCA& pca, int components, NCProgress* progress = nullptr) {
  for (int a = 0; a < components; ++a) {
    ASSERT_TRUE(pca.NextComponent(progress, nullptr, 0, nullptr));
    pca.CalculateResiduals();
  }
}

inline void Fit(NCPLS& pls, int components) {
  for (int a = 0; a < components; ++a) {
    pls.NextComponent(nullptr, nullptr, false, true);
    pls.CalculateResiduals();
  }
}

/// A display on which nothing is to be seen.
class QuietDisplay : public ProgressDisplay {
 public:
  void Begin(const ProgressView&) override {}
  void ShowPosition(const ProgressView&) override {}
  void ShowSpin(const ProgressView&) override {}
  void End(const ProgressView&) override {}
};

/// A display that keeps what it is shown.
class RecordingDisplay : public QuietDisplay {
 public:
  void Begin(const ProgressView& view) override { text = view.text; }
  void ShowPosition(const ProgressView& view) override {
    fractions.push_back(view.fraction);
    if (texts.empty() || texts.back() != view.text) texts.push_back(view.text);
  }
  void ShowSpin(const ProgressView&) override { ADD_FAILURE() << "the length is known"; }
  std::chrono::milliseconds UpdateInterval() const noexcept override { return std::chrono::milliseconds(0); }

  std::string text;
  std::vector<double> fractions;
  std::vector<std::string> texts;
};

/// A display on which the user asks to stop at the k-th look.
class StoppingDisplay : public QuietDisplay {
 public:
  explicit StoppingDisplay(int stopAt) : stopAt_(stopAt) {}

  bool IsCancelRequested() const noexcept override { return ++asked_ >= stopAt_; }
  int Asked() const { return asked_; }

 private:
  int stopAt_;
  mutable std::atomic<int> asked_{0};
};

/// Does the work while a display watches it.
template <class Display = RecordingDisplay, class Work>
std::shared_ptr<Display> Shown(const Work& work, std::shared_ptr<Display> display = std::make_shared<Display>()) {
  NCProgress::SetDisplay(display);
  work();
  NCProgress::SetDisplay(nullptr);
  return display;
}

/// The text of the error that the work throws.
template <class Error = NCError, class Work>
std::string TextOf(const Work& work) {
  try {
    work();
  } catch (const Error& error) {
    return error.what();
  }
  return "no error";
}

template <class Work>
std::pair<NCError::Level, std::string> ErrorOf(const Work& work) {
  try {
    work();
  } catch (const NCError& error) {
    return {error.GetLevel(), error.what()};
  }
  return {NCError::Level::kCancel, "no error"};
}

/// Leaves no display and no number of threads to the tests that follow.
class ModelTest : public ::testing::Test {
 protected:
  void TearDown() override {
    NCProgress::SetDisplay(nullptr);
    NCMultiThreading::ThreadingControl::Reset();
  }
};

}  // namespace samples
