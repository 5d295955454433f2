#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/stream_suite.h"
#include "voran/orthogonal/y_orthogonal_pls.h"
#include "voran/platform/nc_error.h"

namespace samples {
namespace {

/// Two components of three observations and four variables, and one of Y; numbers are those of components and of the
/// iterations allowed.
struct YoplsKind : StreamableKind {
  using Model = NCYOrthogonalPLS;
  static constexpr const char* kName = "YOPLS";
  static constexpr unsigned short kSlots = 8;

  static std::vector<FloatMatrix> Matrices() {
    std::vector<FloatMatrix> matrices;
    float next = 1.0f;
    const std::pair<int, int> sizes[] = {{2, 4}, {2, 4}, {2, 3}, {3, 4}, {3, 1}, {1, 1}};
    for (const auto& [rows, columns] : sizes) {
      matrices.emplace_back(rows, columns, 0.5f);
      for (int i = 1; i <= rows; ++i) matrices.back()(i, 1 + i % columns, next++);
    }
    matrices[3](2, 2, kGap);
    return matrices;
  }
  static Entries MadeEntries() { return EntriesOf(Matrices(), {2, 123}); }
  static std::vector<Entries> Misfits() {
    std::vector<Entries> misfits = MisfitsOf(Matrices(), {2, 123});
    for (const int components : {1, -2}) misfits.push_back(EntriesOf(Matrices(), {components, 123}));
    const FloatMatrix none;  // principal scores of no observation
    misfits.push_back(EntriesOf({none, none, none, none, none, none}, {0, 123}));
    return misfits;
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Yopls, StoredModel, YoplsKind);

class YoplsStream : public StoredModel<YoplsKind> {};

TEST_F(YoplsStream, TheMatricesAreInTheirPlaces) {
  const auto matrices = YoplsKind::Matrices();
  EXPECT_TRUE(*model_.GetPprim() == matrices[0]);
  EXPECT_TRUE(*model_.GetWprim() == matrices[1]);
  EXPECT_TRUE(*model_.GetTprim() == matrices[2]);
  EXPECT_TRUE(*model_.GetXResiduals() == matrices[3]);
  EXPECT_EQ(model_.GetComponents(), 2);
  EXPECT_EQ(model_.GetVStreamVersionNumber(), 2);
}

TEST_F(YoplsStream, AModelComesBackAndGoesOn) {
  const XY data = Related(12, 6, 2, 3);
  const FloatMatrix x = WithGaps(data.x, 4);
  NCYOrthogonalPLS filter(&x, &data.y, 20, 0);
  filter.NextComponent(false);
  const std::string bytes = Written<YoplsKind>(filter);
  NCYOrthogonalPLS other(&x, &data.y, 3, 1);  // its limits must not outlive the reading, nor its Y
  NCYOrthogonalPLS empty;
  filter.NextComponent(false);
  const FloatVector y = data.y.GetColumn(1);
  for (NCYOrthogonalPLS* read : {&other, &empty}) {
    ASSERT_TRUE(IsRead<YoplsKind>(bytes, *read));
    EXPECT_EQ(read->GetY(), nullptr);
    EXPECT_EQ(Written<YoplsKind>(*read), bytes);
    EXPECT_EQ(read->GetYAngle(&y), filter.GetYAngle(&y));
    read->NextComponent(false);
    EXPECT_EQ(Written<YoplsKind>(*read), Written<YoplsKind>(filter));
  }
}

TEST_F(YoplsStream, WithoutPrincipalScoresAModelCannotGoOn) {
  const XY data = Related(12, 6, 2, 3);
  const NCYOrthogonalPLS fresh(&data.x, &data.y, 20, 0);
  const FloatVector y = data.y.GetColumn(1);
  for (const std::string& bytes : {Written<YoplsKind>(fresh), Written<YoplsKind>(NCYOrthogonalPLS())}) {
    ASSERT_TRUE(IsRead<YoplsKind>(bytes, model_));
    EXPECT_EQ(Written<YoplsKind>(model_), bytes);
    EXPECT_THROW(model_.NextComponent(false), NCError);
    EXPECT_THROW(model_.GetYAngle(&y), NCError);
  }
  EXPECT_TRUE(*fresh.GetY() == data.y) << "writing changes nothing";
}

}  // namespace
}  // namespace samples
