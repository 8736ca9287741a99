#include <SliceData/interchange/M2DSliceConversions.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <utility>
#include <vector>

#include "support/RandomSlices.h"
#include "support/Scratch.h"

namespace {

using namespace testing_support;
using namespace M2DSliceConversions;

/// Everything of each contour that a border can hold.
template <class Layer>
std::vector<std::string> ContentsOf(Layer const& layer) {
  std::vector<std::string> contents;
  for (auto const& contour : layer) {
    std::ostringstream text;
    text << contour.GetIsClosed() << contour.GetIsOuter() << int{contour.GetUserByte1()} << int{contour.GetUserByte2()}
         << ' ' << contour.GetUserWord();
    for (auto const& point : contour.GetPoints()) text << ' ' << point.x << ',' << point.y << ',' << point.z;
    contents.push_back(text.str());
  }
  return contents;
}

TEST(BorderConversion, ARoundTripKeepsAllButTypeRecordsAndInfoWords) {
  Border border;
  M2DSliceContourLayer back;
  M2DSliceVectorTypeInfo const type(e2DSliceVectorType::BorderUp);
  back.SetDefaultVectorTypeInfo(type);
  for (unsigned seed = 0; seed < 20; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    M2DSliceContourLayer source;
    FillRandomly(source, random, Draw(random, 0, 6));  // some without points
    for (M2DSliceContour& contour : source) {
      contour.SetUserByte1(static_cast<unsigned char>(Draw(random, 0, 255)));
      contour.SetUserByte2(static_cast<unsigned char>(Draw(random, 0, 255)));
      contour.SetUserWord(~0ul - static_cast<unsigned long>(Draw(random, 0, 255)));
      for (M2DSliceContourPoint& point : contour.GetPoints()) {
        point.z = (1L << 40) + Draw(random, 0, 99);
        point.info = &source;
      }
    }
    // Both targets hold what the last round left in them.
    Convert(source, border);
    Convert(border, back);
    EXPECT_EQ(ContentsOf(border), ContentsOf(source));
    EXPECT_EQ(ContentsOf(back), ContentsOf(source));
    for (M2DSliceContour const& contour : back) {
      EXPECT_EQ(TextOf(contour.GetVectorTypeInfo()), TextOf(type));
      for (M2DSliceContourPoint const& point : contour.GetPoints()) EXPECT_EQ(point.info, nullptr);
    }
  }
}

TEST(BorderConversion, APagedOutSliceGivesAndTakesItsBorderAlone) {
  Scratch const scratch;
  M2DSliceStack stack(e2DSliceStackCachingType::MultipleTempFiles);
  M2DSlice& slice = *stack.AddSlicePosition(0);
  FillAllComponents(slice);
  auto const page_out = [&](long first_z) {
    for (long z = first_z; z < first_z + 20; ++z) FillAllComponents(*stack.AddSlicePosition(z));
    ASSERT_FALSE(std::as_const(slice).GetBorderComponent().IsDataValid());
  };
  page_out(1);
  Border border;
  QuerySlice(slice, border);
  ASSERT_EQ(border.GetCount(), 1u);
  for (auto& point : border.GetFirst()->GetPoints()) point.x += 1000;
  page_out(100);
  slice.GetXYArea();
  SetSlice(slice, border);
  EXPECT_EQ(slice.GetXYArea().maxX, 1010) << "the change is noted";
  page_out(200);
  EXPECT_EQ(Starts(slice), (std::vector<long>{1000, 100, 200, 300}));

  SetSlice(slice, border, false);
  EXPECT_EQ(border.GetCount(), 1u);
  SetSlice(slice, border, true);
  EXPECT_TRUE(border.IsEmpty());
  EXPECT_EQ(slice.GetBorder().GetCount(), 1u);
}

}  // namespace
