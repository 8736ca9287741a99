#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <boost/make_shared.hpp>
#include <stdexcept>

#include "support/Slices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::ElementsAre;
using Caching = e2DSliceStackCachingType;

constexpr long kSlices = 120;

/// Moves by 1000, and throws for whatever lies beyond a limit.
class MoveUpTo final : public iTransformation {
 public:
  explicit MoveUpTo(double limit) : m_limit(limit) {}
  MoveUpTo* _Clone() const override { return new MoveUpTo(*this); }
  void _Transform(double& x, double&) const override {
    if (x > m_limit) throw std::runtime_error("outside the table");
    x += 1000;
  }

 private:
  double m_limit;
};

class MapContentOf : public ::testing::TestWithParam<Caching> {
 protected:
  void Fill(M2DSliceStack& stack) {
    for (long i = 0; i < kSlices; ++i) FillAllComponents(*stack.AddSlicePosition(i * 20000), i);
  }
  void ExpectStarts(M2DSliceStack& stack, long shift) {
    for (long i = 0; i < kSlices; ++i) {
      long const x = i + shift;
      ASSERT_THAT(Starts(*stack.GetSlice(static_cast<unsigned long>(i))), ElementsAre(x, x + 100, x + 200, x + 300));
    }
  }
};

TEST_P(MapContentOf, AStackMapsEachPointOnceAndLeavesTheExtentsRight) {
  M2DSliceStack stack(GetParam());
  Fill(stack);
  unsigned long num_mapped = 0;
  MapContent(stack, MoveUpTo(1e9), num_mapped);
  EXPECT_EQ(num_mapped, static_cast<unsigned long>(kSlices));
  EXPECT_EQ(stack.GetXYArea(), (M2DSliceXYArea{1000, 1310 + kSlices - 1, 0, 10}));
  ExpectStarts(stack, 1000);

  TransformationMatrix up;
  up.MakeTranslation(0, 500);
  Transform(stack, up);
  MapContent(stack, TransformationMatrix(), num_mapped = 0);
  EXPECT_EQ(stack.GetXYArea().minY, 500) << "the extents that a mapping on disk left behind";
}

TEST_P(MapContentOf, AStackOverASourceGoesOnAfterAFailure) {
  auto const source = boost::make_shared<M2DSliceStack>(Caching::NoTempFiles);
  Fill(*source);
  M2DSliceStack stack(GetParam());
  stack.InitFromSourceSlices(source);
  unsigned long num_mapped = 0;
  EXPECT_THROW(MapContent(stack, MoveUpTo(375), num_mapped), std::runtime_error);
  EXPECT_EQ(num_mapped, 66u) << "areas end at 310 and the number of the slice";
  EXPECT_EQ(Starts(*stack.GetSlice(65))[3], 1365);
  EXPECT_THAT(Starts(*stack.GetSlice(66)), ElementsAre(66, 166, 266, 366)) << "no part of the slice is mapped";
  MapContent(stack, MoveUpTo(1e9), num_mapped);
  ExpectStarts(stack, 1000);
  EXPECT_EQ(stack.GetXYArea(), (M2DSliceXYArea{1000, 1310 + kSlices - 1, 0, 10}));
}

INSTANTIATE_TEST_SUITE_P(AllCaching, MapContentOf,
                         ::testing::Values(Caching::NoTempFiles, Caching::MultipleTempFiles, Caching::SingleTempFile,
                                           Caching::ZRange));

}  // namespace
