#include <SliceData/geometry/Transform.h>
#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <memory>
#include <stdexcept>

#include "persistence/StackDocuments.h"
#include "support/RandomSlices.h"
#include "support/Slices.h"

// Stacks through documents and back, wherever their data is on either side.

namespace {

using namespace testing_support;

/// Some of it is mapped, and some more than goes through in one piece.
void FillStack(M2DSliceStack& stack, Random& random) {
  for (long count = Draw(random, 0, 24); count != 0; --count) {
    M2DSliceZArea area(10'000 * Draw(random, 0, 39) - 100'000);
    area.SetTypeInfo({static_cast<e2DSliceZAreaType>(Draw(random, 0, 2)),
                      static_cast<e2DSliceZAreaEffectiveType>(Draw(random, 0, 2)), Draw(random, 1, 300)});
    M2DSlice& slice = *stack.AddSlicePosition(area);
    FillRandomly(slice, random, 3);
    if (Draw(random, 0, 7) == 0) {
      M2DSliceContour& contour = slice.GetBorderUpdate()->AddContour();
      M2DSliceVectorBlock& vectors = slice.GetVectorsUpdate()->AddVectorBlock();
      M2DSlicePointBlock& points = slice.GetPointsUpdate()->AddPointBlock();
      for (long i = Draw(random, 3000, 9000); i != 0; --i) {
        contour.AddPoint(i, -i);
        vectors.push_back({i, -i, 2 * i, 5});
        points.push_back({-i, i});
      }
    }
    if (Draw(random, 0, 2) == 0) {
      M2DSliceUtilities::TransformationMatrix matrix;
      matrix.a = static_cast<double>(Draw(random, -1, 1)) / 2;  // points are mapped often: they stay near
      matrix.b = 0.25;
      matrix.tx = static_cast<double>(Draw(random, 0, 999)) - 500.5;
      M2DSliceUtilities::Transform(
          *stack.GetSlice(static_cast<unsigned long>(Draw(random, 0, static_cast<long>(stack.GetSize()) - 1))), matrix);
    }
  }
  stack.SetSliceThickness(Draw(random, 0, 99));
}

std::vector<bool> WhatIsInMemory(M2DSliceStack const& stack) {
  std::vector<bool> valid;
  for (unsigned long i = 0; i < stack.GetSize(); ++i) {
    M2DSlice::ForEachRow(
        [&](auto row) { valid.push_back(decltype(row)::Component(*stack.GetSlice(i)).IsDataValid()); });
  }
  return valid;
}

TEST_F(StackDocuments, EveryPlaceWritesTheSameBytesAndGivesThemBack) {
  bool has_paged_out = false;
  for (unsigned seed = 0; seed < 12; ++seed) {
    for (CachingType const written : kAllCachingTypes) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", written " + std::to_string(static_cast<int>(written)));
      M2DSliceStack stack(written);
      Random random(seed);
      FillStack(stack, random);
      auto const in_memory = WhatIsInMemory(stack);
      has_paged_out |= std::find(in_memory.begin(), in_memory.end(), false) != in_memory.end();
      Save(stack);
      EXPECT_EQ(WhatIsInMemory(stack), in_memory);
      std::string const bytes = document.GetBytes();

      M2DSliceStack copy(CachingType::NoTempFiles);
      M2DSliceStackUtilities::ConvertSourceToSliceStack(stack, copy);
      Save(copy);
      ASSERT_TRUE(document.GetBytes() == bytes) << "from memory alone";

      std::string const content = DescribeWhole(copy);
      for (CachingType const read : kAllCachingTypes) {
        SCOPED_TRACE("read " + std::to_string(static_cast<int>(read)));
        M2DSliceStack back(read);
        ASSERT_EQ(Load(back), "");
        EXPECT_EQ(back.GetSliceThickness(), stack.GetSliceThickness());
        Save(back);
        ASSERT_TRUE(document.GetBytes() == bytes) << "as it was read";
        ASSERT_EQ(DescribeWhole(back), content);
      }
    }
  }
  EXPECT_TRUE(has_paged_out);
}

TEST_F(StackDocuments, WhatCanBePushedIsReadStraightToDisk) {
  M2DSliceStack stack(CachingType::NoTempFiles);
  for (long z = 0; z < 20; ++z) FillAllComponents(*stack.AddSlicePosition(z));
  Save(stack);
  auto const num_in_memory = [&](CachingType type) {
    M2DSliceStack back(type);
    EXPECT_EQ(Load(back), "");
    auto const in_memory = WhatIsInMemory(back);
    return std::count(in_memory.begin(), in_memory.end(), true);
  };
  EXPECT_EQ(num_in_memory(CachingType::NoTempFiles), 80);
  EXPECT_EQ(num_in_memory(CachingType::MultipleTempFiles), 0);
  EXPECT_EQ(num_in_memory(CachingType::SingleTempFile), 20) << "areas are not pushed there";
  EXPECT_EQ(num_in_memory(CachingType::ZRange), 80);
}

TEST_F(StackDocuments, TagsStandInTheirOrder) {
  M2DSliceStack stack(CachingType::NoTempFiles);
  M2DSliceZArea area(700);
  area.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 300});
  M2DSliceStackSlice& slice = *stack.AddSlicePosition(area);
  stack.AddSlicePosition(900);
  M2DSliceVectorTypeInfo info;
  info.SetType("Scan <path>");
  info.SetNumber("Power", 0.1234567);
  M2DSliceContour& contour = AddContour(*slice.GetBorderUpdate(), {{2147483648, -1}, {4294967296, 5}}, false);
  contour.SetVectorTypeInfo(info);
  AddContour(*slice.GetBorderUpdate(), {}).SetIsOuter(false);
  AddVectors(*slice.GetVectorsUpdate(), {{1, 2, 3, 4}});
  AddPoints(*slice.GetPointsUpdate(), {{5, 6}});
  AddContour(*slice.GetAreasUpdate(), {{7, 8}}).SetVectorTypeInfo(e2DSliceVectorType::Hatching);
  stack.SetSliceThickness(300);
  stack.GetXYArea();
  Save(stack);
  EXPECT_FALSE(slice.IsXYAreaValid()) << "computed anew at its next use";
  std::string const general = "<VectorTypeInfo><VectorType>General</VectorType></VectorTypeInfo>";
  EXPECT_EQ(document.GetText(),
            "<Label>Name</Label><NumSlices>2</NumSlices>"
            "<Slice><Height>700</Height>"
            "<AreaZ><Z>700</Z><TypeInfo><Thickness>300</Thickness><Type>Below</Type><TypeEffective>Top</TypeEffective>"
            "</TypeInfo></AreaZ>"
            "<Border><Contour><Points><Dim>2</Dim><DataType>long</DataType><Count>2</Count>"
            "<Data>-2147483648 -1 0 5</Data></Points><Closed>0</Closed><Outer>1</Outer>"
            "<VectorTypeInfo><VectorType>Scan <path></VectorType><Numbers Power=\"0.123457\"></Numbers>"
            "</VectorTypeInfo></Contour>"
            "<Contour><Points><Dim>2</Dim><DataType>long</DataType><Count>0</Count><Data></Data></Points>"
            "<Closed>1</Closed><Outer>0</Outer>" +
                general +
                "</Contour></Border>"
                "<Vectors><VectorBlock><Coordinates><Dim>1</Dim><DataType>long</DataType><Count>1</Count>"
                "<Data>1 3 2 4</Data></Coordinates>" +
                general +
                "</VectorBlock></Vectors>"
                "<Points><PointBlock><Coordinates><Dim>1</Dim><DataType>long</DataType><Count>1</Count>"
                "<Data>5 6</Data></Coordinates>" +
                general +
                "</PointBlock></Points>"
                "<Areas><Contour><Points><Dim>2</Dim><DataType>long</DataType><Count>1</Count><Data>7 8</Data></Points>"
                "<Closed>1</Closed><Outer>1</Outer><VectorTypeInfo><VectorType>Hatching</VectorType></VectorTypeInfo>"
                "</Contour></Areas></Slice>"
                "<Slice><Height>900</Height><AreaZ><Z>900</Z><TypeInfo><Thickness>0</Thickness><Type>Above</Type>"
                "<TypeEffective>Middle</TypeEffective></TypeInfo></AreaZ><Border></Border></Slice>"
                "<Properties><Property><Name>SliceThickness</Name><Type>long</Type><Value>300</Value></Property>"
                "</Properties>");
}

TEST_F(StackDocuments, AreasWithoutATypeOrAThicknessAreMadeUp) {
  M2DSliceStack stack(CachingType::NoTempFiles);
  stack.AddSlicePosition(1000)->GetZArea().SetCustomRange(900, 1300);
  stack.AddSlicePosition(2000);
  M2DSliceZArea symmetric(3000);
  symmetric.SetTypeInfo({e2DSliceZAreaType::Symmetric, e2DSliceZAreaEffectiveType::Bottom, 500});
  stack.AddSlicePosition(symmetric);
  Save(stack);
  M2DSliceStack back(CachingType::NoTempFiles);
  EXPECT_EQ(Load(back), "");
  EXPECT_EQ(DescribeWhole(back),
            "1000..1400 1200 400 21 z 1000\n"  // a range of its own has no text: above z, as every new slice
            "1400..2000 2000 600 33 z 2000\n"  // from the slice below
            "2750..3250 2750 500 12 z 3000\n");
}

TEST_F(StackDocuments, ReadingReplacesWhatTheSlicesHeldWhereverThatWas) {
  constexpr long kSlices = 30;
  auto const source = boost::make_shared<M2DSliceStack>(CachingType::NoTempFiles);
  M2DSliceStack other(CachingType::NoTempFiles);
  for (long i = 0; i < kSlices; ++i) {
    M2DSliceZArea area(100'000 * i);
    area.SetTypeInfo({e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 100});
    FillAllComponents(*other.AddSlicePosition(area), i);
    FillAllComponents(*source->AddSlicePosition(area), i + 5);
  }
  Save(other);
  for (CachingType const type : kAllCachingTypes) {
    SCOPED_TRACE(static_cast<int>(type));
    M2DSliceStack filled(type);
    M2DSliceStackUtilities::ConvertSourceToSliceStack(*source, filled);
    M2DSliceStack waiting(type);
    waiting.InitFromSourceSlices(source);
    waiting.GetSlice(7)->GetPoints();
    for (M2DSliceStack* const stack : {&filled, &waiting}) {
      for (int repeat = 0; repeat < 2; ++repeat) {
        ASSERT_EQ(Load(*stack), "");
        ASSERT_EQ(DescribeWhole(*stack), DescribeWhole(other));
        ASSERT_EQ(DescribeWhole(*stack), DescribeWhole(other)) << "again, when all of it has been paged out meanwhile";
      }
    }
  }
}

TEST_F(StackDocuments, OptionsLeaveGeometryAndPropertiesOut) {
  MSax2DSliceOptions no_geometry;
  no_geometry.skipGeometry = true;
  MSax2DSliceOptions no_properties;
  no_properties.skipProperties = true;
  M2DSliceStack stack(CachingType::NoTempFiles);
  FillAllComponents(*stack.AddSlicePosition(500));
  stack.GetSlice(0)->GetPointsUpdate()->Clear();
  stack.SetSliceThickness(20);
  Save(stack);

  M2DSliceStack back(CachingType::NoTempFiles);
  EXPECT_THAT(Load(back, no_geometry), ::testing::HasSubstr("'Slice/Areas'"));
  EXPECT_FALSE(back.GetSlice(0)->IsComplete());
  EXPECT_THAT(Counts(*back.GetSlice(0)), ::testing::Each(0u));
  EXPECT_EQ(back.GetSlice(0)->GetZArea().GetTop(), 500);
  EXPECT_EQ(back.GetSliceThickness(), 20);
  back.SetSliceThickness(7);
  EXPECT_THAT(Load(back, no_properties), ::testing::HasSubstr("'Properties'"));
  EXPECT_TRUE(back.GetSlice(0)->IsComplete());
  EXPECT_THAT(Counts(*back.GetSlice(0)), ::testing::ElementsAre(1, 1, 0, 1));
  EXPECT_EQ(back.GetSliceThickness(), 7);

  MSaxM2DSliceStack element(&stack);
  element.SetOptions(no_geometry);
  document.Write(element);
  EXPECT_THAT(document.GetText(), ::testing::HasSubstr("</AreaZ><Border></Border><Vectors></Vectors><Areas></Areas>"));
}

TEST_F(StackDocuments, AStackThatHasEndedIsAnErrorAndNoEmptyDocument) {
  M2DSliceStack stack(CachingType::NoTempFiles);
  stack.AddSlicePosition(1);
  Save(stack);
  auto ended = std::make_unique<M2DSliceStack>();
  MSaxM2DSliceStack element(ended->GetSharedReference());
  EXPECT_EQ(element.GetObjectReference(), ended.get());
  ended.reset();
  EXPECT_EQ(element.GetObjectReference(), nullptr);
  EXPECT_THAT(document.Read(element), ::testing::HasSubstr("'Slice/AreaZ'"));
  EXPECT_THROW(document.Write(element), std::runtime_error);
  MSaxM2DSliceStack nobodys{M2DSliceStackReference()};
  EXPECT_THROW(document.Write(nobodys), std::runtime_error);
}

TEST_F(StackDocuments, WhatWasDeclaredStaleWhileItWasOutIsNotWritten) {
  M2DSliceStack stack(CachingType::MultipleTempFiles);
  for (long z = 0; z < 12; ++z) FillAllComponents(*stack.AddSlicePosition(z));
  stack.GetSlice(0)->_OnChangedPoints();
  Save(stack);
  M2DSliceStack back(CachingType::NoTempFiles);
  EXPECT_EQ(Load(back), "");
  EXPECT_THAT(Counts(*back.GetSlice(0)), ::testing::ElementsAre(1, 1, 0, 1));
}

}  // namespace
