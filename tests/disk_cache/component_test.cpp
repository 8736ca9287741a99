#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/Transform.h>

#include <boost/make_shared.hpp>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;

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
  slice.GetBorderUpdate()->GetFirst()->SetIsClosed(false);
  EXPECT_EQ(page_all_out(), size + 2 * 36);
  slice.GetBorderUpdate()->GetFirst()->SetVectorTypeInfo(e2DSliceVectorType::Border);
  EXPECT_EQ(page_all_out(), size + 3 * 36);
  slice.GetVectorsUpdate()->GetFirst()->front().y2 += 1;
  EXPECT_EQ(page_all_out(), size + 3 * 36 + 27);
  slice.GetPointsUpdate()->AddPointBlock();
  EXPECT_EQ(page_all_out(), size + 3 * 36 + 27 + 6 + 4 + 16);
  EXPECT_EQ(slice.GetVectors().GetFirst()->front().y2, 11);
}

TEST_F(Components, CursorsReadWhatTheWholeRecordGives) {
  constexpr long kPoints = 100'000;  // more than the buffer of a file
  M2DSliceContour& contour = border.GetData().AddContour();
  for (long i = 0; i < kPoints; ++i) contour.AddPoint(i, -i);
  AddVectors(vectors.GetData(), {{1, 2, 3, 4}});
  Out(border);
  std::vector<boost::shared_ptr<M2DSliceTempFile>> others;
  XY point;
  for (long i = 0; i < kPoints; ++i) {
    while (i == kPoints / 2 && file->IsOpen()) others.push_back(boost::make_shared<M2DSliceTempFile>(0, 0, ""));
    border.GetContourPoint(0, static_cast<unsigned long>(i), point.first, point.second);
    ASSERT_EQ(point, XY(i, -i));
  }
  EXPECT_FALSE(border.IsDataValid());
  long value;
  EXPECT_THROW(vectors.GetVector(0, 1, value, value, value, value), std::out_of_range);
}

TEST_F(Components, APushThatFailedIsRepeatedWithoutAShift) {
  border.InitForOnDiskCaching(file);
  border.PushContour();
  constexpr long kPoints = 100'000;  // more than the buffer of a file
  int failures = 0;
  for (long i = 0; i < kPoints; ++i) {
    bool pushed = false;
    if (failures == 0) {
      FullDisk const full(1);
      try {
        border.PushContourPoint(i, -i);
        pushed = true;
      } catch (std::system_error const&) {
        ++failures;
      }
    }
    if (!pushed) border.PushContourPoint(i, -i);
  }
  EXPECT_EQ(failures, 1);
  ASSERT_EQ(border.GetNumPoints(0), static_cast<unsigned long>(kPoints));
  long i = 0;
  for (M2DSliceContourPoint const& point : slice.GetBorder().GetFirst()->GetPoints()) {
    ASSERT_EQ(point.x, i);
    ASSERT_EQ(point.y, -i++);
  }
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
