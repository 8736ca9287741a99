#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <stdexcept>

#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<long> Heights(M2DSliceStack const& stack) {
  std::vector<long> heights;
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) heights.push_back(stack.GetSliceZPosition(i));
  return heights;
}

/// Made before the library's own static objects, where it is linked statically.
M2DSliceStack g_stack_of_a_host;

TEST(SliceStack, AHostsStaticStackWorks) {
  g_stack_of_a_host.AddSlicePosition(5)->GetBorderUpdate()->AddContour();
  EXPECT_EQ(g_stack_of_a_host.GetZMin(), 5);
  EXPECT_EQ(M2DSliceVectorTypeInfo(), g_stack_of_a_host.GetSlice(0)->GetBorder().GetFirst()->GetVectorTypeInfo());
}

M2DSlice FilledSlice(long z, long shift) {
  M2DSlice slice(z);
  FillAllComponents(slice, shift);
  return slice;
}

/// A source that makes its slices when asked and counts how often it is.
class CountingSource : public M2DSliceBasicContainer {
 public:
  explicit CountingSource(std::vector<long> heights) : m_heights(std::move(heights)) {}
  mutable int fetched = 0;
  bool fails = false;

 protected:
  unsigned long _OnGetNumSlices() const override { return m_heights.size(); }
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override { return M2DSliceZArea(m_heights[index]); }
  using M2DSliceBasicContainer::_OnGetSlice;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override {
    ++fetched;
    if (fails) throw std::runtime_error("the source is gone");
    slice = FilledSlice(m_heights[index], static_cast<long>(index) * 1000);
  }

 private:
  std::vector<long> m_heights;
};

TEST(SliceStack, PositionsAreOrderedByZAndAnExistingOneStays) {
  M2DSliceStack stack;
  M2DSliceZArea thick(20);
  thick.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 5});
  M2DSliceStackSlice* const slice = stack.AddSlicePosition(thick);
  stack.AddSlicePosition(30);
  EXPECT_EQ(stack.GetSlice(1)->GetZArea().GetZ(), 30);
  stack.AddSlicePosition(10);
  EXPECT_THAT(Heights(stack), ElementsAre(10, 20, 30)) << "the index follows an insertion below the top";
  EXPECT_EQ(stack.AddSlicePosition(20), slice);
  EXPECT_EQ(slice->GetZArea().GetBottom(), 15) << "the area that was given first stays";
  EXPECT_EQ(stack.GetSliceZArea(1).GetTypeInfo().thickness, 0) << "as a source it tells z alone";

  EXPECT_EQ(stack.GetSliceAtPosition(25), nullptr);
  EXPECT_EQ(stack.GetSliceAtPosition(25, false), nullptr);
  EXPECT_EQ(stack.GetSliceAtPosition(25, true)->GetParent(), &stack);
  EXPECT_TRUE(stack.RemoveSlicePosition(10));
  EXPECT_FALSE(stack.RemoveSlicePosition(10));
  EXPECT_THAT(Heights(stack), ElementsAre(20, 25, 30));
  EXPECT_EQ(stack.GetZMin(), 20);
  EXPECT_EQ(stack.GetZMax(), 30);
  stack.GetSlice(0)->GetZArea().SetZ(99);
  EXPECT_EQ(stack.GetZMin(), 20) << "the position answers, and not what the slice says now";
}

/// Reading by index between changes all over the stack, at its ends and near each other; and long runs without reading.
TEST(SliceStack, TheIndexFollowsEveryChange) {
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  std::set<long> heights;
  std::minstd_rand random(7);
  for (int i = 0; i < 4000; ++i) {
    long const z = i % 3 == 0 ? i : static_cast<long>(random() % 3000);
    if (random() % 5 < 3) {
      stack.AddSlicePosition(z);
      heights.insert(z);
    } else if (auto const near = heights.lower_bound(z); near != heights.end()) {
      auto const index = static_cast<unsigned long>(std::distance(heights.begin(), near));
      boost::weak_ptr<M2DSlice const> const removed = static_cast<ISource2DSlices const&>(stack).GetSlice(index);
      ASSERT_TRUE(stack.RemoveSlicePosition(*near));
      ASSERT_TRUE(removed.expired()) << "nothing holds what has left the stack";
      heights.erase(near);
    }
    if (i % 1000 > 500) continue;
    ASSERT_THAT(Heights(stack), ElementsAreArray(heights)) << "after step " << i;
  }
}

TEST(SliceStack, TheGridIsHalfOpen) {
  M2DSliceStack stack;
  EXPECT_EQ(stack.GetSliceThickness(), 0);
  stack.GetProperties()._AddProperty<double>("SliceThickness", true) = 4;
  EXPECT_EQ(stack.GetSliceThickness(), 0) << "only a long counts";
  stack.GetProperties().RemoveProperties("SliceThickness");
  stack.SetSliceThickness(4);
  stack.AdjustSizeFor(10, 20);
  EXPECT_THAT(Heights(stack), ElementsAre(12, 16));
  stack.Clear();
  stack.AdjustSizeFor(-10, 4);
  EXPECT_THAT(Heights(stack), ElementsAre(-8, -4, 0));
  EXPECT_EQ(stack.GetZMin(), -8);
}

TEST(SliceStack, AddSliceReplacesAndAddSliceStackMerges) {
  M2DSliceStack stack;
  stack.AddSlice(FilledSlice(10, 0));
  M2DSlice again = FilledSlice(10, 500);
  M2DSlice* const stored = stack.AddSlice(again, true);
  EXPECT_EQ(stored, stack.GetSlice(0));
  EXPECT_TRUE(again.IsEmpty());
  EXPECT_THAT(Counts(*stack.GetSlice(0)), Each(1u));
  EXPECT_THAT(Starts(*stack.GetSlice(0)), ElementsAre(500, 600, 700, 800));

  M2DSliceStack other;
  other.AddSlice(FilledSlice(10, 0));
  other.AddSlice(FilledSlice(20, 0));
  stack.AddSliceStack(other, true);
  EXPECT_THAT(Heights(stack), ElementsAre(10, 20));
  EXPECT_THAT(Counts(*stack.GetSlice(0)), Each(2u));
  EXPECT_TRUE(other.GetSlice(0)->IsEmpty());
  EXPECT_EQ(other.GetNumSlices(), 2u);
}

TEST(SliceStack, ACopyHasTheGeometryButNoThickness) {
  M2DSliceStack stack(e2DSliceStackCachingType::SingleTempFile);
  M2DSliceZArea thick(20);
  thick.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 5});
  FillAllComponents(*stack.AddSlicePosition(thick));
  stack.SetSliceThickness(5);
  M2DSliceStack copy(stack);
  EXPECT_EQ(copy.GetSliceThickness(), 5);
  EXPECT_THAT(Counts(*copy.GetSlice(0)), Each(1u));
  EXPECT_EQ(copy.GetSlice(0)->GetZArea().GetTypeInfo().thickness, 0);
  EXPECT_EQ(copy.GetXYArea(), stack.GetXYArea());
  EXPECT_NE(copy._GetCachingStrategy(), stack._GetCachingStrategy());
  copy = *&copy;
  EXPECT_EQ(copy.GetNumSlices(), 1u);
}

TEST(SliceStack, TheXYAreaFollowsChangesOfSlices) {
  M2DSliceStack stack;
  EXPECT_TRUE(stack.GetXYArea().IsEmpty());
  stack.AddSlice(FilledSlice(10, 0));
  EXPECT_EQ(stack.GetXYArea().maxX, 310);
  M2DSliceStackSlice* const slice = stack.GetSliceAtPosition(10);
  stack.GetXYArea();
  slice->GetVectorsUpdate()->GetFirst()->front().x2 = 999;
  EXPECT_EQ(stack.GetXYArea().maxX, 999);
}

TEST(SliceStack, SwapExchangesSlicesAndTellsThemTheirStack) {
  M2DSliceStack a;
  M2DSliceStack b;
  a.AddSlice(FilledSlice(10, 0));
  a.SetSliceThickness(3);
  auto const held = static_cast<ISource2DSlices const&>(a).GetSlice(0);
  a.SwapWith(b);
  EXPECT_EQ(a.GetNumSlices(), 0u);
  EXPECT_EQ(b.GetSliceThickness(), 3);
  EXPECT_EQ(held->GetParent(), &b);
  EXPECT_EQ(b.GetSlice(0), held.get());
  EXPECT_EQ(b.GetSharedReference().GetSliceStack(), &b);
}

TEST(SliceStack, ASliceThatIsStillHeldOutlivesItsStack) {
  boost::shared_ptr<M2DSlice const> held;
  {
    M2DSliceStack stack;
    stack.AddSlice(FilledSlice(10, 0));
    held = static_cast<ISource2DSlices const&>(stack).GetSlice(0);
  }
  EXPECT_EQ(held->GetParent(), nullptr);
  auto& slice = const_cast<M2DSlice&>(*held);
  FillAllComponents(slice);
  EXPECT_THAT(Counts(slice), Each(1u)) << "the stack cleared it on its way out";
}

TEST(SliceStack, RemovesEmptyLayersAtBothEndsOnly) {
  M2DSliceStack stack;
  for (long z : {1, 2, 3, 4, 5}) stack.AddSlicePosition(z);
  FillAllComponents(*stack.GetSliceAtPosition(2));
  FillAllComponents(*stack.GetSliceAtPosition(4));
  stack.GetSliceAtPosition(5)->GetBorderUpdate()->AddContour();
  stack.RemoveEmptyLayersAtFrontAndEnd();
  EXPECT_THAT(Heights(stack), ElementsAre(2, 3, 4));
  for (long z : {2, 4}) stack.GetSliceAtPosition(z)->Clear();
  EXPECT_EQ(stack.GetSlice(0)->GetZArea().GetZ(), 2) << "a cleared slice of a stack keeps its place";
  stack.RemoveEmptyLayersAtFrontAndEnd();
  EXPECT_EQ(stack.GetNumSlices(), 0u);
}

TEST(SliceStack, ClosedAndInvertLookAtBorders) {
  M2DSliceStack stack;
  EXPECT_TRUE(stack.GetIsClosed());
  stack.AddSlice(FilledSlice(10, 0));
  AddContour(*stack.GetSlice(0)->GetAreasUpdate(), {{0, 0}}, false);
  EXPECT_TRUE(stack.GetIsClosed());
  stack.Invert();
  EXPECT_THAT(PointsOf(*stack.GetSlice(0)->GetBorder().GetFirst()), ElementsAre(XY(0, 0), XY(10, 10), XY(10, 0)));
  AddContour(*stack.GetSlice(0)->GetBorderUpdate(), {{0, 0}}, false);
  EXPECT_FALSE(stack.GetIsClosed());
}

TEST(SliceStack, AnUnknownCachingTypeMakesPlainSlices) {
  M2DSliceStack stack(static_cast<e2DSliceStackCachingType>(4));
  EXPECT_EQ(stack._GetCachingStrategy(), nullptr);
  stack.AddSlice(FilledSlice(10, 0));
  EXPECT_EQ(stack.GetSlice(0)->GetParent(), &stack);
  EXPECT_FALSE(stack.GetSlice(0)->_PrepareBorderForCaching());
  EXPECT_EQ(M2DSliceStack(stack).GetNumSlices(), 1u);
}

TEST(InitialSource, IsNotReadBeforeASliceIsTouchedAndOnceThen) {
  auto const source = boost::make_shared<CountingSource>(std::vector<long>{10, 20, 30});
  M2DSliceStack stack;
  stack.InitFromSourceSlices(source);
  EXPECT_THAT(Heights(stack), ElementsAre(10, 20, 30));
  M2DSliceBaseInfo info;
  stack.GetSlice(1)->GetBaseInfo(info);
  EXPECT_TRUE(info.border.contours.empty());
  EXPECT_EQ(source->fetched, 0);

  EXPECT_TRUE(stack.GetXYArea().IsEmpty());
  EXPECT_THAT(Starts(*stack.GetSlice(1)), ElementsAre(1000, 1100, 1200, 1300));
  EXPECT_EQ(stack.GetXYArea().maxX, 1310) << "what is loaded counts";
  EXPECT_THAT(Counts(*stack.GetSlice(1)), Each(1u));
  EXPECT_EQ(source->fetched, 1);
  EXPECT_NE(stack.GetSlice(1)->GetInitialSource(), nullptr) << "reading keeps the source";
  EXPECT_TRUE(stack.GetSlice(1)->_SetInInitialSourceState());
  EXPECT_FALSE(stack.GetSlice(1)->GetBorderComponent().IsDataValid());
  EXPECT_THAT(Counts(*stack.GetSlice(1)), Each(1u));
  EXPECT_EQ(source->fetched, 2);
}

TEST(InitialSource, AChangeLoadsAllComponentsAndDropsTheSourceAndAClearReadsNothing) {
  auto const source = boost::make_shared<CountingSource>(std::vector<long>{10, 20});
  M2DSliceStack stack;
  stack.InitFromSourceSlices(source);
  M2DSliceStackSlice* const changed = stack.GetSlice(0);
  changed->_OnChangedPoints();
  EXPECT_EQ(source->fetched, 1);
  EXPECT_EQ(changed->GetBorderComponent().GetNumContours(), 1u);
  EXPECT_FALSE(changed->_SetInInitialSourceState());

  M2DSliceStackSlice* const cleared = stack.GetSlice(1);
  cleared->Clear();
  EXPECT_EQ(source->fetched, 1);
  EXPECT_TRUE(cleared->GetZArea().IsValid());
  EXPECT_TRUE(cleared->IsEmpty());
}

TEST(InitialSource, AFailureReachesTheCallerAndIsNotTriedAgain) {
  auto const source = boost::make_shared<CountingSource>(std::vector<long>{10});
  source->fails = true;
  M2DSliceStack stack;
  stack.InitFromSourceSlices(source);
  EXPECT_THROW(stack.GetSlice(0)->GetBorder(), std::runtime_error);
  source->fails = false;
  EXPECT_TRUE(stack.GetSlice(0)->GetBorder().IsEmpty());
  EXPECT_EQ(source->fetched, 1);
  FillAllComponents(*stack.GetSlice(0));
  EXPECT_EQ(std::as_const(*stack.GetSlice(0)).GetBorderComponent().GetNumContours(), 1u) << "it takes new content";
}

TEST(StackUtilities, ConvertingASourceKeepsWholeZAreasAndMergesEqualHeights) {
  M2DSliceBasicContainer source;
  M2DSlice low = FilledSlice(10, 0);
  M2DSlice same_height = FilledSlice(10, 50);
  M2DSliceZArea thick(10);
  thick.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 5});
  low.SetZArea(thick);
  source.AddSlice(&low);
  source.AddSlice(&same_height);
  source.GetProperties().SetProperty<long>("n", 4);
  source.GetSliceParameters().fileName = "other.sli";
  M2DSliceStack stack;
  EXPECT_TRUE(M2DSliceStackUtilities::ConvertSourceToSliceStack(source, stack));
  ASSERT_EQ(stack.GetNumSlices(), 1u);
  EXPECT_THAT(Counts(*stack.GetSlice(0)), Each(2u));
  EXPECT_EQ(stack.GetSlice(0)->GetZArea().GetBottom(), 5);
  EXPECT_EQ(*stack.GetProperties().GetValue<long>("n"), 4);
  EXPECT_EQ(stack.GetSliceParameters().fileName, "other.sli");
}

TEST(StackUtilities, StoredDataItemsAreAdded) {
  M2DSliceBasicContainer source;
  M2DSlice slice = FilledSlice(10, 0);
  source.AddSlice(&slice);
  M2DSliceConstDataItems items;
  source.GetSliceItems(items, 0);
  M2DSlice target(10);
  FillAllComponents(target);
  EXPECT_TRUE(M2DSliceStackUtilities::StoreDataItemsInM2DSlice(items, target));
  EXPECT_THAT(Counts(target), ElementsAre(2, 2, 2, 1)) << "area contours are not in the list";
  EXPECT_EQ(target.GetBorder().GetLast()->GetNumPoints(), 3u);
}

TEST(StackUtilities, UndefinedZRangesReachDownToTheSliceBelow) {
  M2DSliceStack stack;
  for (long z : {10, 20, 30}) stack.AddSlicePosition(z);
  M2DSliceZArea thick(40);
  thick.SetTypeInfo({e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Top, 5});
  stack.AddSlicePosition(thick);
  stack.AddSlicePosition(50);
  M2DSliceStackUtilities::InitializeUndefinedZRanges(stack);
  std::vector<std::pair<long, long>> ranges;
  for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
    ranges.emplace_back(stack.GetSlice(i)->GetZArea().GetBottom(), stack.GetSlice(i)->GetZArea().GetTop());
  }
  EXPECT_THAT(ranges, ElementsAre(std::pair(0, 10), std::pair(10, 20), std::pair(20, 30), std::pair(40, 45),
                                  std::pair(45, 50)));

  M2DSliceStack single;
  single.AddSlicePosition(7);
  M2DSliceStackUtilities::InitializeUndefinedZRanges(single);
  EXPECT_EQ(single.GetSlice(0)->GetZArea().GetBottom(), 7 - 10000);
}

TEST(StackUtilities, TheBoxOfAStackReachesFromTheFirstBottomToTheLastTop) {
  M2DSliceStack stack;
  long box[6];
  M2DSliceStackUtilities::GetBoundingBox3D(stack, box[0], box[1], box[2], box[3], box[4], box[5]);
  EXPECT_THAT(box, ElementsAre(std::numeric_limits<long>::max(), std::numeric_limits<long>::max(),
                               std::numeric_limits<long>::max(), std::numeric_limits<long>::min(),
                               std::numeric_limits<long>::min(), std::numeric_limits<long>::min()));
  M2DSliceZArea area(10);
  area.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 5});
  FillAllComponents(*stack.AddSlicePosition(area));
  M2DSliceStackUtilities::GetBoundingBox3D(stack, box[0], box[1], box[2], box[3], box[4], box[5]);
  EXPECT_THAT(box, ElementsAre(0, 0, 5, 310, 10, 10));
}

}  // namespace
