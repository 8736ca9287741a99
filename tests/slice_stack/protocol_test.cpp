#include <SliceData/slice_stack/M2DSliceBasicContainer.h>

#include "support/Slices.h"

namespace {

using namespace testing_support;

TEST(BasicContainer, ListsBorderVectorsAndPointsButNoAreasAndKeepsTheSliceAlive) {
  M2DSliceBasicContainer container;
  M2DSlice slice(5);
  FillAllComponents(slice);
  container.AddSlice(&slice);
  M2DSliceConstDataItems items;
  container.GetSliceItems(items, 0);
  slice.Clear();
  ASSERT_EQ(items.items.size(), 3u);
  EXPECT_EQ(items.items[0].GetKind(), e2DSliceDataItemKind::Contour);
  EXPECT_EQ(items.items[0].GetContour()->GetNumPoints(), 3u) << "a source gives a slice of the list's own";
  EXPECT_EQ(items.items[0].GetVectorBlock(), nullptr);
  EXPECT_EQ(items.items[1].GetVectorBlock()->size(), 1u);
  EXPECT_NE(items.items[2].GetVectorTypeInfo(), nullptr);
  container.GetSliceItems(items, 0);
  EXPECT_TRUE(items.items.empty());
  EXPECT_EQ(items.slices.size(), 1u);
}

TEST(BasicContainer, RefusesSlicesAsATargetAndKnowsNoThickness) {
  M2DSliceBasicContainer container;
  ITarget2DSlices& target = container;
  M2DSlice slice(5);
  FillAllComponents(slice);
  EXPECT_TRUE(target.StartAddingSlices());
  EXPECT_EQ(target.AddSlice(slice), nullptr);
  EXPECT_EQ(target.AddSlice(slice, true), nullptr);
  EXPECT_FALSE(slice.IsEmpty()) << "what is refused stays with the caller";
  EXPECT_EQ(container.GetNumSlices(), 0u);
  EXPECT_EQ(container.GetSliceThickness(), -1);
  EXPECT_TRUE(container.GetXYArea().IsEmpty());

  M2DSliceZArea thick(5);
  thick.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 3});
  slice.SetZArea(thick);
  container.AddSlice(&slice);
  EXPECT_EQ(container.GetSliceZArea(0).GetTypeInfo().thickness, 0);
  EXPECT_EQ(container.GetXYArea().maxX, 310);
  std::vector<boost::shared_ptr<M2DSlice const>> slices(3);
  container.GetSlices(slices, 0);
  EXPECT_EQ(slices.size(), 1u);
}

TEST(DataItem, AnItemOfAnotherKindGivesNull) {
  M2DSliceDataItem item;
  EXPECT_EQ(item.GetVectorTypeInfo(), nullptr);
  item.SetContour(nullptr);
  EXPECT_EQ(item.GetKind(), e2DSliceDataItemKind::Contour);
  EXPECT_EQ(item.GetContour(), nullptr);
  M2DSlicePointBlock block;
  item.SetPointBlock(&block);
  EXPECT_EQ(item.GetPointBlock(), &block);
  EXPECT_EQ(item.GetVectorTypeInfo(), &block.GetVectorTypeInfo());
  item.Reset();
  EXPECT_EQ(item.GetPointBlock(), nullptr);
}

TEST(SliceParameters, DefaultsAndTheirKeepers) {
  MSliceFileParameters const file;
  EXPECT_EQ(file.scaledValueA, 3000);
  EXPECT_EQ(file.halfValueB, 1500);
  EXPECT_EQ(file.fileName, "part.sli");
  M2DSliceIOParameters io;
  EXPECT_EQ(io.sli3ds.secondValue, 3000);
  io.sli3ds.firstValue = 1;
  io.SetDefaults();
  EXPECT_EQ(io.sli3ds.firstValue, 1) << "the record as a whole keeps its values";
  io.sli3ds.SetDefaults();
  EXPECT_EQ(io.sli3ds.firstValue, 3000);
}

}  // namespace
