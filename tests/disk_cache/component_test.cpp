#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/Transform.h>

#include <boost/make_shared.hpp>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;

M2DSliceUtilities::TransformationMatrix Translation(double dx, double dy) {
  M2DSliceUtilities::TransformationMatrix matrix;
  matrix.MakeTranslation(dx, dy);
  return matrix;
}

class Components : public ::testing::Test {
 protected:
  long FileSize() { return file->InitForWriting(); }
  /// Pages a component out.
  template <class Component>
  bool Out(Component& component) {
    return component.ValidateDiskState(file);
  }

  Scratch scratch;
  M2DSlice slice{77};
  boost::shared_ptr<M2DSliceTempFile> file = boost::make_shared<M2DSliceTempFile>(0, 0, "");
  M2DSliceComponentContours& border = slice.GetBorderComponent();
  M2DSliceComponentVectors& vectors = slice.GetVectorsComponent();
  M2DSliceComponentPoints& points = slice.GetPointsComponent();
};

std::string ToBytes(std::string const& tag, std::initializer_list<std::int32_t> values) {
  std::string bytes = tag;
  for (std::int32_t const value : values) bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
  return bytes;
}

TEST_F(Components, ARecordIsTagZAndCoordinates) {
  AddContour(border.GetData(), {{1, 2}, {3, 4}, {5, -6}});
  AddVectors(vectors.GetData(), {{1, 2, 3, 4}});
  AddPoints(points.GetData(), {{4294967296 + 8, -9}});
  EXPECT_TRUE(Out(border));
  EXPECT_TRUE(Out(vectors));
  EXPECT_TRUE(Out(points));
  EXPECT_FALSE(Out(slice.GetAreasComponent())) << "nothing in it, nothing written";
  EXPECT_TRUE(slice.GetAreasComponent().IsDataValid());
  EXPECT_EQ(border.GetFilePosition(), 0);
  EXPECT_EQ(vectors.GetFilePosition(), 36);
  EXPECT_EQ(FileSize(), 36 + 27 + 18);
  ASSERT_TRUE(file->GetFile().FLUSH());
  std::ifstream stream(file->GetFileName(), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), ToBytes("Contours", {77, 1, 2, 3, 4, 5, -6}) +
                                                                         ToBytes("Vectors", {77, 1, 3, 2, 4}) +
                                                                         ToBytes("Points", {77, 8, -9}));
}

TEST_F(Components, OnlyARealChangeIsWrittenAgain) {
  FillAllComponents(slice);
  auto const page_all_out = [&] {
    M2DSlice::ForEachRow([&](auto row) { Out(decltype(row)::Component(slice)); });
    EXPECT_FALSE(border.IsDataValid() || vectors.IsDataValid() || points.IsDataValid());
    return FileSize();
  };
  long const size = page_all_out();
  Counts(slice);
  EXPECT_EQ(page_all_out(), size) << "read back";
  slice.GetBorderUpdate();
  slice.GetVectorsUpdate();
  slice.GetPointsUpdate();
  slice.GetAreasUpdate();
  EXPECT_FALSE(border.IsDiskStateValid());
  EXPECT_EQ(page_all_out(), size) << "opened for a change that did not come";
  M2DSliceUtilities::Transform(slice, Translation(3, 0), {});
  Counts(slice);
  slice.GetBorderUpdate();
  EXPECT_EQ(page_all_out(), size) << "the mapping is applied to the record";

  slice.GetBorderUpdate()->GetFirst()->SetIsOuter(false);
  EXPECT_EQ(page_all_out(), size + 36) << "flags are no part of the file, but of the record";
  slice.GetBorderUpdate()->GetFirst()->SetVectorTypeInfo(e2DSliceVectorType::Border);
  EXPECT_EQ(page_all_out(), size + 2 * 36);
  slice.GetVectorsUpdate()->GetFirst()->front().y2 += 1;
  EXPECT_EQ(page_all_out(), size + 2 * 36 + 27);
  slice.GetPointsUpdate()->AddPointBlock();
  EXPECT_EQ(page_all_out(), size + 2 * 36 + 27 + 6 + 4 + 16);
  EXPECT_EQ(slice.GetVectors().GetFirst()->front().y2, 11);
}

TEST_F(Components, MappingsAreAppliedWhenTheRecordIsReadAndBoxesStay) {
  AddContour(border.GetData(), {{0, 0}, {10, 10}});
  AddPoints(points.GetData(), {{0, 0}, {5, 5}, {10, 10}});
  Out(border);
  Out(points);
  slice.RecalculateArea();
  M2DSliceUtilities::TransformationMatrix half;
  half.a = half.d = 0.5;
  M2DSliceUtilities::Transform(slice, Translation(-0.9, 1), {});
  M2DSliceUtilities::Transform(slice, half, {});
  EXPECT_FALSE(slice.IsXYAreaValid());
  EXPECT_THAT(PointsOf(*slice.GetBorder().GetFirst()), ElementsAre(XY(0, 0), XY(4, 5)))
      << "one chain in doubles, truncated towards zero once";
  EXPECT_THAT(PointsOf(*slice.GetPoints().GetFirst()), ElementsAre(XY(0, 0), XY(2, 3), XY(4, 5)))
      << "one pass, unlike in memory";
  EXPECT_EQ(slice.GetXYArea().maxY, 5) << "summaries look at the data, where that is valid";
  M2DSliceXYArea box;
  border.GetBoundingBox(0, box);
  EXPECT_EQ(box.maxX, 10) << "and at the record for an element";

  M2DSliceUtilities::Transform(slice, Translation(10, 0), {});
  EXPECT_THAT(PointsOf(*slice.GetPoints().GetFirst()), ElementsAre(XY(30, 0), XY(32, 3), XY(34, 5)));
  AddContour(*slice.GetBorderUpdate(), {{100, 100}});
  Out(border);
  border.GetBoundingBox(0, box);
  EXPECT_EQ(box, (M2DSliceXYArea{10, 14, 0, 5})) << "a new record has a new box";
  EXPECT_THAT(PointsOf(*slice.GetBorder().GetFirst()), ElementsAre(XY(10, 0), XY(14, 5))) << "and no mappings";
}

TEST_F(Components, TheFileKeepsNoZNoInfoAndThirtyTwoBits) {
  M2DSliceContour& contour = AddContour(border.GetData(), {{4294967296, -4294967297}, {7, 8}}, false);
  contour.GetFirstPoint()->z = 5;
  contour.GetFirstPoint()->info = &contour;
  contour.SetIsOuter(false);
  AddVectors(vectors.GetData(), {{4294967296, 1, 2, 3}});
  Out(border);
  Out(vectors);
  M2DSliceXYArea box;
  border.GetBoundingBox(0, box);
  EXPECT_EQ(box, (M2DSliceXYArea{0, 7, -1, 8})) << "of what is stored";
  vectors.GetBoundingBox(0, box);
  EXPECT_EQ(box.maxX, 4294967296) << "of what was there";
  M2DSliceContour const& read = *slice.GetBorder().GetFirst();
  EXPECT_THAT(PointsOf(read), ElementsAre(XY(0, -1), XY(7, 8)));
  EXPECT_EQ(read.GetFirstPoint()->z, 0);
  EXPECT_EQ(read.GetFirstPoint()->info, nullptr);
  EXPECT_FALSE(read.GetIsClosed());
  EXPECT_FALSE(read.GetIsOuter());
}

TEST_F(Components, CountsGoByTheDataAndFactsOfAnElementByTheRecord) {
  AddContour(border.GetData(), {{0, 0}, {1, 1}});
  Out(border);
  EXPECT_EQ(border.GetNumContours(), 1u);
  EXPECT_EQ(border.GetNumPoints(0), 2u);
  border.SetIsClosed(0, false);
  border.SetTypeInfo(0, e2DSliceVectorType::Border);
  EXPECT_FALSE(border.GetIsClosed());
  EXPECT_TRUE(border.IsDiskStateValid());
  EXPECT_EQ(slice.GetBorder().GetFirst()->GetVectorTypeInfo(), e2DSliceVectorType::Border);

  // Both are valid now. Behind their back the data changes.
  border.GetData().AddContour();
  border.GetData().GetFirst()->AddPoint(2, 2);
  EXPECT_EQ(border.GetNumContours(), 2u);
  EXPECT_EQ(border.GetNumPoints(0), 2u);
  M2DSliceBaseInfoBorder info;
  border.GetBaseInfo(info);
  EXPECT_EQ(info.contours.size(), 2u);
  EXPECT_EQ(info.xyArea.maxX, 2);
  border.SetIsClosed(0, true);
  EXPECT_TRUE(border.GetData().GetFirst()->GetIsClosed()) << "both copies";

  border.GetTypeInfo(0) = e2DSliceVectorType::Hatching;
  EXPECT_FALSE(border.IsDataValid()) << "the record has the last word";
  EXPECT_FALSE(border.IsDataEmpty());
  EXPECT_EQ(slice.GetBorder().GetFirst()->GetVectorTypeInfo(), e2DSliceVectorType::Hatching);
  EXPECT_EQ(slice.GetBorder().GetCount(), 1u);
}

TEST_F(Components, CursorsReadWhatTheWholeRecordGives) {
  for (long i = 0; i < 3; ++i) {
    M2DSliceContour& contour = border.GetData().AddContour();
    for (long n = 0; n < 9000; ++n) contour.AddPoint(i * 100000 + n, -n);
  }
  AddVectors(vectors.GetData(), {{1, 2, 3, 4}, {5, 6, 7, 8}});
  AddPoints(points.GetData(), {{1, 2}, {3, 4}});
  Out(border);
  Out(vectors);
  Out(points);
  M2DSliceUtilities::Transform(slice, Translation(0.5, -0.5), {});
  auto const read_all = [&] {
    std::vector<XY> read;
    XY a;
    XY b;
    for (unsigned long contour : {2u, 0u, 1u}) {
      for (unsigned long point = 0; point < 9000; ++point) {
        border.GetContourPoint(contour, point, a.first, a.second);
        read.push_back(a);
      }
    }
    for (unsigned long i = 0; i < 2; ++i) {
      vectors.GetVector(0, i, a.first, a.second, b.first, b.second);
      read.push_back(a);
      read.push_back(b);
    }
    for (unsigned long i = 0; i < 2; ++i) {
      points.GetPoint(0, i, a.first, a.second);
      read.push_back(a);
    }
    return read;
  };
  auto const from_disk = read_all();
  EXPECT_FALSE(border.IsDataValid());
  Counts(slice);
  EXPECT_TRUE(read_all() == from_disk);
  long value;
  EXPECT_THROW(vectors.GetVector(0, 2, value, value, value, value), std::out_of_range);
  border.GetContourPoint(0, 8999, value, value);
  border.GetContourPoint(0, 0, value, value);
  EXPECT_EQ(value, 0);
}

TEST_F(Components, PushingFillsARecordWithoutMemory) {
  AddContour(border.GetData(), {{9, 9}});
  border.InitForOnDiskCaching(file);
  EXPECT_FALSE(border.IsDataEmpty()) << "stale, but there";
  EXPECT_EQ(border.PushContour(), 0u);
  for (long i = 0; i < 3; ++i) border.PushContourPoint(i, 4294967296);
  EXPECT_EQ(border.PushContour(), 1u);
  border.PushContourPoint(5, 6);
  border.SetIsOuter(1, false);
  M2DSliceXYArea box;
  border.GetBoundingBox(0, box);
  EXPECT_EQ(box.maxY, 4294967296) << "of what was pushed";
  EXPECT_EQ(FileSize(), 12 + 4 * 8);
  EXPECT_EQ(slice.GetBorder().GetCount(), 2u);
  EXPECT_THAT(PointsOf(*border.GetData().GetFirst()), ElementsAre(XY(0, 0), XY(1, 0), XY(2, 0)));
  EXPECT_FALSE(border.GetData().GetLast()->GetIsOuter());
  Out(border);
  EXPECT_EQ(FileSize(), 12 + 4 * 8);
}

TEST_F(Components, BlocksAreAlsoPushedToMemoryOrNowhere) {
  EXPECT_FALSE(border.PrepareForPushingData());
  EXPECT_TRUE(vectors.PrepareForPushingData());
  EXPECT_TRUE(points.PrepareForPushingData());
  points.PushPoint(1, 2);
  EXPECT_TRUE(points.IsDataEmpty()) << "there is no block to put it into";
  EXPECT_EQ(vectors.PushVectorBlock(), 0u);
  EXPECT_EQ(vectors.PushVectorBlock(), 1u);
  vectors.PushVector(1, 2, 3, 4);
  EXPECT_EQ(vectors.GetNumVectors(1), 1u);
  EXPECT_EQ(vectors.GetData().GetLast()->front(), (M2DSliceVector{1, 3, 2, 4}));
  EXPECT_EQ(points.PushPointBlock(), 0u);
  points.PushPoint(1, 2);
  M2DSliceXYArea box{0, 0, 0, 0};
  points.GetBoundingBox(0, box);
  EXPECT_TRUE(box.IsEmpty()) << "never measured in memory";
  M2DSliceBaseInfoPointBlock info;
  points.GetBaseInfo(0, info);
  EXPECT_EQ(info.xyArea.maxY, 2);
  Out(points);
  points.GetBoundingBox(0, box);
  EXPECT_EQ(box.maxY, 2);

  vectors.InvalidateData();
  EXPECT_EQ(vectors.PushVectorBlock(), 0u);
  vectors.PushVector(1, 2, 3, 4);
  EXPECT_TRUE(vectors.IsDataEmpty());
}

TEST_F(Components, PushingToAnOldRecordHarmsNoOther) {
  AddPoints(points.GetData(), {{1, 1}});
  Out(points);
  AddVectors(vectors.GetData(), {{1, 2, 3, 4}});
  Out(vectors);
  long x;
  points.GetPoint(0, 0, x, x);  // the file stands between the two records
  EXPECT_EQ(points.PushPointBlock(), 1u);
  points.PushPoint(2, 2);
  points.PushPoint(3, 3);
  EXPECT_EQ(slice.GetVectors().GetFirst()->front(), (M2DSliceVector{1, 2, 3, 4}));
  EXPECT_THAT(PointsOf(*slice.GetPoints().GetLast()), ElementsAre(XY(2, 2), XY(3, 3)));
}

TEST_F(Components, ThereIsNoWayBackWithoutAFileButNoHarm) {
  AddPoints(points.GetData(), {{1, 1}});
  Out(points);
  points.Clear();
  EXPECT_EQ(points.GetTempFile(), nullptr);
  EXPECT_EQ(points.GetFilePosition(), 0xFFFFFFFF);
  AddPoints(points.GetData(), {{1, 1}});
  Out(points);
  EXPECT_EQ(points.GetFilePosition(), 18) << "the old record is no longer known";
  slice._OnChangedPoints();
  EXPECT_TRUE(slice.GetPoints().IsEmpty()) << "declared stale while it was the only copy";
}

}  // namespace
