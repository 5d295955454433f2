#include "tools/voran/opls_fit.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "voran/models/pls.h"
#include "voran/orthogonal/opls.h"
#include "voran/orthogonal/opls_cross_validation.h"

namespace tool {
namespace {

using Matrix = NCDataMatrix<float>;

using Numbers = std::vector<double>;

double Product(const NCDataVector<float>& a, const Numbers& b) {
  double sum = 0.0;
  for (std::size_t k = 0; k < b.size(); ++k) sum += static_cast<double>(a[static_cast<int>(k) + 1]) * b[k];
  return sum;
}

// to -= factor * row
void Subtract(const NCDataVector<float>& row, double factor, Numbers& to) {
  for (std::size_t k = 0; k < to.size(); ++k) to[k] -= factor * static_cast<double>(row[static_cast<int>(k) + 1]);
}

Numbers AsNumbers(const NCDataVector<float>& row) {
  return {row.begin(), row.end()};
}

// A score, written as the product of the row of X with `onX`, and what it adds to the responses.
struct Term {
  Numbers onX;
  NCDataVector<float> c;
};

// The product with X as it was before the orthogonal component j was taken out, whose score is a product with `g`,
// instead of with X as it was afterwards.
void TakeBack(const NCDataVector<float>& po, const Numbers& g, Numbers& onX) {
  const double share = Product(po, onX);
  for (std::size_t k = 0; k < onX.size(); ++k) onX[k] -= share * g[k];
}

// The score of orthogonal component j as a product with X as it was before: that on what the weights leave of it.
Numbers OrthogonalScore(const NCDataVector<float>& wo, const Matrix& W) {
  Numbers g = AsNumbers(wo);
  for (int a = W.SizeRows(); a >= 1; --a) Subtract(W[a], Product(W[a], g) / W[a].GetSS(), g);
  for (double& value : g) value /= wo.GetSS();
  return g;
}

class OplsFitter : public OrthoFitter {
 public:
  OplsFitter(const RegressionData& data, const OrthoSettings& settings, const CvGroups* groups)
      : data_(data), model_(&data.x, &data.y, settings.components.value_or(0), settings.iterationLimit) {
    if (groups == nullptr) return;
    groupCount_ = groups->count;
    groupOfRow_ = groups->OfRows(data.x.SizeRows());
  }

  OrthoMatrices Next(NCProgress* progress) override {
    model_.NextComponent(progress);
    OrthoMatrices m = {
        *model_.GetTprim(),  *model_.GetUprim(),  *model_.GetWprim(),  *model_.GetPprim(),  *model_.GetCprim(),
        *model_.GetTOprim(), *model_.GetWOprim(), *model_.GetPOprim(), *model_.GetCOprim(), {}};
    for (std::size_t stage = 0; stage + 1 < model_.GetWMatrices()->size(); ++stage) {
      for (const auto* matrices : {model_.GetWMatrices(), model_.GetPMatrices(), model_.GetCMatrices()}) {
        m.earlierStages.push_back((*matrices)[stage]);
      }
    }
    return m;
  }

  Matrix NextOfGroups(NCProgress* progress) override {
    if (crossValidation_) {
      crossValidation_->NextComponent(progress);
    } else {
      crossValidation_.emplace(&data_.x, &data_.y, model_.SizeComponents(), groupCount_, progress, &groupOfRow_);
    }
    return *crossValidation_->GetYPred();
  }

  std::vector<Numbers> Coefficients(const OrthoMatrices& m) const override {
    std::vector<Term> terms;
    const Matrix stars = NCPLS::GetWStarPrim(m.W, m.P);
    for (int a = 1; a <= stars.SizeRows(); ++a) terms.push_back({AsNumbers(stars[a]), m.C[a]});
    for (int j = m.WO.SizeRows(); j >= 1; --j) {
      const Numbers g = OrthogonalScore(m.WO[j], m.earlierStages[3 * (static_cast<std::size_t>(j) - 1)]);
      for (Term& term : terms) TakeBack(m.PO[j], g, term.onX);
      terms.push_back({g, m.CO[j]});
    }
    std::vector<Numbers> coefficients(static_cast<std::size_t>(m.C.SizeColumns()), Numbers(terms.front().onX.size()));
    for (const Term& term : terms) {
      for (std::size_t r = 0; r < coefficients.size(); ++r) {
        const auto c = static_cast<double>(term.c[static_cast<int>(r) + 1]);
        for (std::size_t k = 0; k < term.onX.size(); ++k) coefficients[r][k] += c * term.onX[k];
      }
    }
    return coefficients;
  }

  std::optional<double> Angle(const NCDataVector<float>&) const override { return std::nullopt; }

 private:
  const RegressionData& data_;
  NCOPLS model_;
  int groupCount_ = 0;
  NCIntegralVector<int, -99> groupOfRow_;
  std::optional<OPLSCrossValidation> crossValidation_;
};

}  // namespace

std::unique_ptr<OrthoFitter> MakeOplsFitter(const RegressionData& data, const OrthoSettings& settings,
                                            const CvGroups* groups) {
  return std::make_unique<OplsFitter>(data, settings, groups);
}

int CommonDirections(const RegressionData& data, int iterationLimit) {
  NCOPLS model(&data.x, &data.y, 0, iterationLimit);
  model.NextComponent(nullptr);
  return model.SizeComponents();
}

}  // namespace tool
