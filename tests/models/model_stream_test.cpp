#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/models/model_samples.h"
#include "tests/models/stream_suite.h"
#include "voran/models/pls_cross_validation.h"

namespace samples {
namespace {

using Matrices = std::vector<FloatMatrix>;

static_assert(std::is_base_of_v<VStreamBase, PLSCrossValidation>);

// What the two models differ in: the identity, the matrices in the order of their entries, and the numbers behind them.

template <class Kind>
struct ModelKind : StreamableKind {
  static Entries MadeEntries() { return EntriesOf(Kind::Golden(), {123, 7}); }
  static std::vector<Entries> Misfits() {
    std::vector<Entries> misfits = MisfitsOf(Kind::Golden(), {123, 7});
    misfits.push_back(EntriesOf(Kind::Golden(), {123, -1}));  // iterations below none
    return misfits;
  }
};

struct PcaKind : ModelKind<PcaKind> {
  using Model = NCPCA;
  static constexpr const char* kName = "NCPCA";
  static constexpr unsigned short kSlots = 5;

  static std::unique_ptr<Model> Make(const XY& data) { return std::make_unique<NCPCA>(&data.x, 123); }
  static Matrices Of(const Model& m) { return {*m.GetPprim(), *m.GetTprim(), *m.GetResiduals()}; }
  static std::unique_ptr<Model> GoOn(const Matrices& m) { return std::make_unique<NCPCA>(&m[2], &m[0], &m[1], 123); }
  static Matrices Golden() { return Made({{2, 4}, {2, 3}, {3, 4}}); }
};

struct PlsKind : ModelKind<PlsKind> {
  using Model = NCPLS;
  static constexpr const char* kName = "NCPLS";
  static constexpr unsigned short kSlots = 9;

  static std::unique_ptr<Model> Make(const XY& data) { return std::make_unique<NCPLS>(&data.x, &data.y, 123); }
  static Matrices Of(const Model& m) {
    return {*m.GetCprim(), *m.GetPprim(),      *m.GetWprim(),     *m.GetUprim(),
            *m.GetTprim(), *m.GetXResiduals(), *m.GetYResiduals()};
  }
  static std::unique_ptr<Model> GoOn(const Matrices& m) {
    return std::make_unique<NCPLS>(&m[5], &m[6], &m[0], &m[1], &m[2], &m[3], &m[4], 123);
  }
  static Matrices Golden() { return Made({{2, 2}, {2, 4}, {2, 4}, {2, 3}, {2, 3}, {3, 4}, {3, 2}}); }
};

using Kinds = ::testing::Types<PcaKind, PlsKind>;
INSTANTIATE_TYPED_TEST_SUITE_P(Models, StoredModel, Kinds);

template <class Kind>
class ModelStream : public ::testing::Test {};
TYPED_TEST_SUITE(ModelStream, Kinds);

TYPED_TEST(ModelStream, AModelComesBackAndGoesOn) {
  const XY data = Related(7, 4, 2, 3);
  const auto model = TypeParam::Make({WithGaps(data.x, 2), data.y});
  Fit(*model, 2);
  const std::string bytes = Written<TypeParam>(*model);
  EXPECT_EQ(bytes, Composed<TypeParam>(EntriesOf(TypeParam::Of(*model), {123, model->GetIterations()})));
  typename TypeParam::Model read;
  ASSERT_TRUE(IsRead<TypeParam>(bytes, read));
  EXPECT_TRUE(TypeParam::Of(read) == TypeParam::Of(*model));
  EXPECT_EQ(read.GetIterations(), model->GetIterations());
  EXPECT_EQ(read.GetComponents(), 0) << "the count is not in the stream";
  EXPECT_EQ(read.GetVStreamVersionNumber(), 2);
  EXPECT_EQ(Written<TypeParam>(read), bytes);

  const auto rest = TypeParam::GoOn(TypeParam::Of(read));
  Fit(*rest, 1);
  Fit(*model, 1);
  EXPECT_TRUE(TypeParam::Of(*rest) == TypeParam::Of(*model));

  ASSERT_TRUE(IsRead<TypeParam>(Written<TypeParam>(typename TypeParam::Model()), *rest)) << "an empty model is one";
  EXPECT_EQ(rest->GetPprim()->SizeRows(), 0);
}

}  // namespace
}  // namespace samples
