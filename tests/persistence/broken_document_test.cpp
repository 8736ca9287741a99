#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/persistence/MSaxM2DSliceContour.h>
#include <SliceData/persistence/MSaxM2DSlicePointBlock.h>
#include <SliceData/persistence/MSaxM2DSliceVectorBlock.h>

#include "persistence/StackDocuments.h"
#include "support/Slices.h"

// Documents that no stack has written, element by element.

namespace {

using namespace testing_support;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string Contour(std::string const& count, std::string const& data) {
  return "<Contour><Points><Count>" + count + "</Count><Data>" + data + "</Data></Points></Contour>";
}
std::string Block(std::string const& name, std::string const& count, std::string const& data) {
  return "<" + name + "><Coordinates><Count>" + count + "</Count><Data>" + data + "</Data></Coordinates></" + name +
         ">";
}

TEST_F(StackDocuments, AFailureInTheMiddleLeavesTheSliceIncompleteAndTheStackFree) {
  struct {
    std::string tag, content, expected;
  } const cases[] = {{"Border", Contour("5", "1 2 3"), "[General] 1,2\n"},
                     {"Vectors", Block("VectorBlock", "5", "1 2 3 4 5 6"), "vectors [General] 1,2-3,4"},
                     {"Points", Block("PointBlock", "5", "1 2 3"), "points [General] 1,2"},
                     {"Areas", Contour("5", "1 2 3"), "[General] 1,2\n"}};
  for (CachingType const type : kAllCachingTypes) {
    for (auto const& [tag, content, expected] : cases) {
      SCOPED_TRACE(tag + " under " + std::to_string(static_cast<int>(type)));
      document.SetText("<Slice><Height>10</Height></Slice><Slice><Height>20</Height><" + tag + ">" + content + "</" +
                       tag + "></Slice><Slice><Height>30</Height></Slice>");
      M2DSliceStack stack(type);
      EXPECT_THAT(Load(stack), HasSubstr("fewer than its tags tell"));
      EXPECT_FALSE(IsLocked(stack));
      ASSERT_EQ(stack.GetSize(), 2u);
      EXPECT_TRUE(stack.GetSlice(0)->IsComplete());
      EXPECT_FALSE(stack.GetSlice(1)->IsComplete());
      EXPECT_THAT(Describe(stack), HasSubstr(expected)) << "what the bytes give";
    }
  }
}

TEST_F(StackDocuments, TheStackIsLockedWhileASliceIsRead) {
  M2DSliceStack stack(CachingType::NoTempFiles);
  {
    MSaxM2DSlice element(stack.GetSharedReference(), nullptr);
    EXPECT_FALSE(IsLocked(stack));
    element.StartReadingSlice(10);
    EXPECT_TRUE(IsLocked(stack));
    element.StartReadingSlice(20);
    EXPECT_TRUE(IsLocked(stack));
    element.ReadingFinished();
    EXPECT_FALSE(IsLocked(stack));
    element.StartReadingSlice(30);
  }
  EXPECT_FALSE(IsLocked(stack));
  EXPECT_FALSE(stack.GetSlice(0)->IsComplete());
  EXPECT_TRUE(stack.GetSlice(1)->IsComplete());
  EXPECT_FALSE(stack.GetSlice(2)->IsComplete());
}

TEST_F(StackDocuments, HeightsComeInAnyNumber) {
  std::string const border = "<Border>" + Contour("1", "1 2") + "</Border>";
  std::string const points = "<Points>" + Block("PointBlock", "1", "3 4") + "</Points>";
  document.SetText("<NumSlices>77</NumSlices><Slice>" + border +
                   "</Slice>"  // none
                   "<Slice><Height>10</Height>" +
                   border + "<Height>20</Height>" + points +
                   "</Slice>"  // two
                   "<Slice><Height>30</Height>" +
                   border + points +
                   "</Slice>"  // and again
                   "<Slice><Height>30</Height><Border>" +
                   Contour("1", "5 6") + "</Border></Slice>");
  for (CachingType const type : kAllCachingTypes) {
    SCOPED_TRACE(static_cast<int>(type));
    M2DSliceStack stack(type);
    EXPECT_THAT(Load(stack), HasSubstr("'Slice/Border'"));
    EXPECT_FALSE(IsLocked(stack));
    ASSERT_EQ(stack.GetSize(), 3u);
    EXPECT_FALSE(stack.GetSlice(0)->IsComplete());
    EXPECT_THAT(Counts(*stack.GetSlice(0)), ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(Counts(*stack.GetSlice(1)), ElementsAre(0, 0, 1, 0));
    EXPECT_THAT(Counts(*stack.GetSlice(2)), ElementsAre(1, 0, 1, 0)) << "the later one adds what it does not replace";
    EXPECT_THAT(PointsOf(*stack.GetSlice(2)->GetBorder().GetFirst()), ElementsAre(XY(5, 6)));
  }
}

TEST_F(StackDocuments, WordsThatDoNotFitAreRefusedAndTheRestIsTaken) {
  document.SetText(
      "<Points><Dim>1</Dim><DataType>int</DataType><Count></Count><Count>2</Count><Closed>0</Closed><Data>1 2 3 "
      "4</Data>"
      "</Points><Closed></Closed><Outer>0</Outer><Colour>5</Colour>");
  M2DSliceContour contour(nullptr);
  contour.AddPoint(9, 9);
  MSaxM2DSliceContour element(&contour, nullptr);
  EXPECT_THAT(document.Read(element),
              AllOf(HasSubstr("'Points/Dim'"), HasSubstr("'Points/DataType'"), HasSubstr("'Points/Count'"),
                    HasSubstr("'Points/Closed'"), HasSubstr("'Closed'"), HasSubstr("'Colour'")));
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(1, 2), XY(3, 4)));
  EXPECT_TRUE(contour.GetIsClosed());
  EXPECT_FALSE(contour.GetIsOuter());

  document.SetText("<Coordinates><Dim>2</Dim><Count>3</Count><Count>-1</Count></Coordinates><Closed>0</Closed>");
  M2DSlicePointBlock block;
  MSaxM2DSlicePointBlock block_element(&block, nullptr);
  EXPECT_THAT(document.Read(block_element),
              AllOf(HasSubstr("'Coordinates/Dim'"), HasSubstr("'Coordinates/Count'"), HasSubstr("'Closed'")));
  EXPECT_THAT(PointsOf(block), ElementsAre(XY(0, 0), XY(0, 0), XY(0, 0))) << "the number alone makes room";
}

TEST_F(StackDocuments, ANumberAloneTakesNoMoreThanSomeMemory) {
  for (std::string const count : {"1000000000000", "9223372036854775807"}) {
    document.SetText("<Coordinates><Count>" + count + "</Count><Data>1 2 3 4</Data></Coordinates>");
    M2DSlicePointBlock points;
    MSaxM2DSlicePointBlock points_element(&points, nullptr);
    EXPECT_THAT(document.Read(points_element), HasSubstr("fewer than its tags tell"));
    EXPECT_EQ(points[1], (M2DSlicePoint{3, 4}));
    M2DSliceVectorBlock vectors;
    MSaxM2DSliceVectorBlock vectors_element(&vectors, nullptr);
    EXPECT_THAT(document.Read(vectors_element), HasSubstr("fewer than its tags tell"));
    EXPECT_EQ(vectors[0], (M2DSliceVector{1, 3, 2, 4}));
  }
  M2DSlicePointBlock points;
  for (long i = 0; i < 1'100'000; ++i) points.push_back({i, -i});
  document.Write(MSaxM2DSlicePointBlock(&points, nullptr));
  M2DSlicePointBlock back;
  MSaxM2DSlicePointBlock element(&back, nullptr);
  EXPECT_EQ(document.Read(element), "");
  EXPECT_TRUE(PointsOf(back) == PointsOf(points)) << "a large block that is all there";
}

TEST_F(StackDocuments, ASliceOfTheCallersIsWrittenAndReadByItself) {
  M2DSlice slice(5);
  FillAllComponents(slice, 7);
  document.Write(MSaxM2DSlice(&slice, nullptr));
  M2DSlice back(99);
  MSaxM2DSlice element(&back, nullptr);
  EXPECT_EQ(document.Read(element), "");
  EXPECT_EQ(DescribeWhole(back), DescribeWhole(slice));

  document.SetText("<AreaZ><Z>40</Z></AreaZ>");
  EXPECT_EQ(document.Read(element), "");
  EXPECT_EQ(back.GetZArea().GetZ(), 40);
  EXPECT_EQ(back.GetZArea().GetTop(), 5) << "computed only when a recipe has been read";
  document.SetText(
      "<AreaZ><Z></Z><TypeInfo><Thickness>6</Thickness><Type>Beside</Type><TypeEffective>Bottom</TypeEffective>"
      "</TypeInfo></AreaZ>");
  EXPECT_THAT(document.Read(element), HasSubstr("'AreaZ/Z'"));
  EXPECT_EQ(back.GetZArea().GetTop(), 46) << "an unknown word leaves the type";
  EXPECT_EQ(back.GetZArea().GetEffectiveZ(), 40);
}

}  // namespace
