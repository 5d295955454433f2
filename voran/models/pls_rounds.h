#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "voran/containers/data_matrix.h"
#include "voran/containers/data_vector.h"

inline namespace voran {
namespace detail {

/// The rounds of a PLS component of few responses, X and Y without gaps, on numbers that two readings of X give.
///
/// Every u is a mixture Y a of the responses, so that all weights are mixtures of the columns of S = X'Y: with
/// w = S a / |S a|, Y't = S'w, and t't is that of X S. A round runs on matrices of responses x responses, in double; it
/// leaves the same components as one that reads X, to the rounding of float elements.
///
/// Same bits at any number of threads. Scratch memory is less than half of X.
class PlsRounds {
 public:
  /// Whether two readings for all responses promise less work than two in every round.
  static bool IsWorthwhile(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, int iterationLimit);

  /// Reads X twice. `shares` are those of the responses in the u to start from.
  PlsRounds(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y, std::vector<double> shares);

  /// Whether u and its weights are more than nothing, and finite.
  bool IsRegular() const;
  /// |u| |w| / |X|, with u as it is and w before it is brought to unit length.
  double Correlation() const;
  /// One round: u becomes Y c / c'c by way of w, t and c. Returns its relative squared change; nothing, and u is as it
  /// was, if t or c is nothing or not finite.
  std::optional<double> Next();
  /// Those of the last round, of unit length.
  void GetWeights(NCDataVector<float>& w) const;

 private:
  using Vector = std::vector<double>;

  /// A symmetric matrix of responses x responses.
  class Square {
   public:
    explicit Square(std::size_t size) : size_(size), elements_(size * size) {}

    double& operator()(std::size_t i, std::size_t j) { return elements_[i * size_ + j]; }
    double operator()(std::size_t i, std::size_t j) const { return elements_[i * size_ + j]; }
    Vector Times(const Vector& v) const;
    /// v'Mv
    double Form(const Vector& v) const;
    void Add(const Square& other);

   private:
    std::size_t size_;
    Vector elements_;
  };

  void ReadForProducts(const NCDataMatrix<float>& X, const NCDataMatrix<float>& Y);
  void ReadForScores(const NCDataMatrix<float>& X);

  std::size_t responses_;
  std::vector<Vector> S_;  // X'Y, by response
  Vector norms_;           // of the columns of S
  Square ofS_;             // S'S
  Square ofY_;             // Y'Y
  Square ofScores_;        // (XU)'XU, with U the columns of S at unit length
  double squaresOfX_ = 0.0;
  Vector shares_;   // u = Y a
  Vector started_;  // the a that the last round began with
};

}  // namespace detail
}  // namespace voran
