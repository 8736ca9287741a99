#include <SliceData/type_operations/ContourFilter.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/Split.h>
#include <SliceData/type_operations/VectorTypeFilter.h>
#include <SliceData/type_operations/VectorTypeFilterRange.h>

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <map>
#include <stdexcept>

#include "support/RandomSlices.h"

namespace {

using namespace M2DSliceUtilities;
using namespace testing_support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

using Type = e2DSliceVectorType;
using Index = e2DSliceVectorTypeIndex;
using Flag = e2DSliceVectorTypeFlag;

M2DSliceVectorTypeInfo Info(Type type, std::map<Index, long> const& indices = {},
                            std::map<Flag, bool> const& flags = {}) {
  M2DSliceVectorTypeInfo info(type);
  for (auto const& [index, value] : indices) info.SetIndex(index, value);
  for (auto const& [flag, value] : flags) info.SetFlag(flag, value);
  return info;
}

M2DSliceVectorTypeInfo RunTimeInfo() {
  M2DSliceVectorTypeInfo info;
  info.SetType("Sintering");
  info.SetIndex("IndexOfSintering", 2);
  info.SetFlag("IsSintering", true);
  return info;
}

TEST(VectorTypeFilter, AllowedAreThoseWithAnyHit) {
  VectorTypeFilterObjectGeneric filter(false);
  EXPECT_FALSE(filter.Matches(Info(Type::Border)));
  EXPECT_FALSE(filter.Matches(RunTimeInfo()));

  filter.EnableType(Type::Hatching);
  filter.EnableFlag(Flag::IsSupport);
  filter.EnableIndex(Index::IndexModel, 2);
  EXPECT_TRUE(filter.Matches(Info(Type::Hatching)));
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {}, {{Flag::IsSupport, true}})));
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 1}}, {{Flag::IsSupport, false}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 3}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, -7}})));
  EXPECT_FALSE(filter.Matches(RunTimeInfo()));
}

TEST(VectorTypeFilter, ExcludedAreThoseWithAnyMissAndADisabledFlagIsRequired) {
  VectorTypeFilterObjectGeneric filter(true);
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
  EXPECT_TRUE(filter.Matches(RunTimeInfo()));

  filter.DisableType(Type::Border);
  filter.DisableIndex(Index::IndexModel, 2);
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 3}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Hatching, {{Index::IndexModel, 2}})));
  EXPECT_TRUE(filter.Matches(Info(Type::Hatching, {{Index::IndexModel, 1}})));
  EXPECT_TRUE(filter.Matches(Info(Type::Hatching, {{Index::IndexModel, 3}})));
  EXPECT_TRUE(filter.Matches(Info(Type::Hatching)));
  EXPECT_TRUE(filter.Matches(RunTimeInfo()));

  filter.DisableFlag(Flag::IsSupport);
  EXPECT_FALSE(filter.Matches(Info(Type::Hatching)));
  EXPECT_TRUE(filter.Matches(Info(Type::Hatching, {}, {{Flag::IsSupport, true}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {}, {{Flag::IsSupport, true}})));

  filter.Reset(true);
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
}

TEST(VectorTypeFilter, ASmallerIndexValueForgetsTheLargerOnes) {
  VectorTypeFilterObjectGeneric filter(false);
  filter.EnableIndex(Index::IndexModel, 2);
  filter.EnableIndex(Index::IndexModel, 5);
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 5}})));
  filter.EnableIndex(Index::IndexModel, 2);
  filter.EnableIndex(Index::IndexModel, -1);
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 5}})));
  filter.DisableIndex(Index::IndexModel, 2);
  EXPECT_FALSE(filter.Matches(Info(Type::Border, {{Index::IndexModel, 2}})));
  filter.EnableIndex(Index::IndexModel, std::numeric_limits<long>::max());
  EXPECT_TRUE(filter.Matches(Info(Type::Border, {{Index::IndexModel, std::numeric_limits<long>::max()}})));
}

TEST(VectorTypeFilter, EnumeratorsBeyondTheVocabularyChangeNothing) {
  for (bool const default_value : {false, true}) {
    VectorTypeFilterObjectGeneric filter(default_value);
    for (int const beyond : {13, 100, -1}) {
      filter.EnableType(static_cast<Type>(beyond));
      filter.DisableType(static_cast<Type>(beyond));
      filter.EnableIndex(static_cast<Index>(beyond), 1);
      filter.DisableIndex(static_cast<Index>(beyond), 1);
      filter.EnableFlag(static_cast<Flag>(beyond));
      filter.DisableFlag(static_cast<Flag>(beyond));
    }
    EXPECT_EQ(filter.Matches(Info(Type::Border, {{Index::IndexModel, 1}})), default_value);
    EXPECT_EQ(filter.Matches(RunTimeInfo()), default_value);
  }
}

TEST(VectorTypeFilter, TheTwoWaysAgreeOnTypesAndIndices) {
  Random random(testing::UnitTest::GetInstance()->random_seed());
  for (int round = 0; round < 200; ++round) {
    VectorTypeFilterObjectGeneric by_type(false);
    VectorTypeFilterObjectGeneric without_others(true);
    for (int type = 0; type < 12; ++type) {
      bool const is_enabled = Draw(random, 0, 1) == 0;
      if (is_enabled) by_type.EnableType(static_cast<Type>(type));
      if (!is_enabled) without_others.DisableType(static_cast<Type>(type));
    }
    VectorTypeFilterObjectGeneric by_index(false);
    VectorTypeFilterObjectGeneric without_index(true);
    auto const index = static_cast<Index>(Draw(random, 0, 12));
    long const value = Draw(random, 0, 3);
    by_index.EnableIndex(index, value);
    without_index.DisableIndex(index, value);

    VectorTypeFilterObjectGeneric by_flag(false);
    VectorTypeFilterObjectGeneric with_flag(true);
    auto const flag = static_cast<Flag>(Draw(random, 0, 9));
    by_flag.EnableFlag(flag);
    with_flag.DisableFlag(flag);

    auto const info = RandomTypeInfo(random);
    EXPECT_EQ(by_flag.Matches(info), with_flag.Matches(info)) << TextOf(info);
    EXPECT_EQ(by_flag.Matches(info), info.GetFlag(flag)) << TextOf(info);
    EXPECT_EQ(by_type.Matches(info), without_others.Matches(info)) << TextOf(info);
    EXPECT_EQ(by_index.Matches(info), !without_index.Matches(info)) << TextOf(info);
    EXPECT_EQ(by_index.Matches(info), info.GetIndex(index) == value) << TextOf(info);
  }
}

TEST(ElementQueries, FindInOrderAndMoveInTheOrderOfTheList) {
  Random random(3);
  M2DSliceContourLayer layer;
  FillRandomly(layer, random, 30);
  VectorTypeFilterObjectGeneric filter(false);
  filter.EnableFlag(Flag::IsSupport);
  filter.EnableType(Type::Border);
  filter.EnableType(Type::Hatching);

  std::vector<M2DSliceContour*> found = {nullptr};
  QueryContours(layer, found, filter);
  ASSERT_GT(found.size(), 2u);
  std::vector<M2DSliceContour const*> found_const;
  QueryContours(std::as_const(layer), found_const, filter);
  EXPECT_THAT(found_const, ElementsAreArray(found));
  std::vector<std::string> wanted;
  for (auto const& contour : layer) {
    if (filter.Matches(contour.GetVectorTypeInfo())) wanted.push_back(TextOf(contour));
  }

  M2DSliceContourLayer target;
  AddContour(target, {{1, 1}});
  std::reverse(found.begin(), found.end());
  // What is in no layer is taken as well.
  found.push_back(layer._CreateNewContour().release());
  found.back()->AddPoint(7, 7);
  auto const list = found;
  RemoveContours(layer, found, &target);
  EXPECT_EQ(found, list);
  EXPECT_EQ(layer.GetCount() + wanted.size(), 30u);
  EXPECT_EQ(static_cast<std::size_t>(std::distance(layer.begin(), layer.end())), layer.GetCount());
  auto moved = TextsOf(target);
  ASSERT_EQ(moved.size(), wanted.size() + 2);
  EXPECT_THAT(std::vector(moved.rbegin() + 1, moved.rend() - 1), ElementsAreArray(wanted));
  QueryContours(layer, found, filter);
  EXPECT_THAT(found, IsEmpty());
}

TEST(ElementQueries, WithoutATargetTheElementsAreDeletedAndTheirPlacesEmptied) {
  M2DSliceVectorLayer vectors;
  M2DSlicePointLayer points;
  for (long i = 0; i < 4; ++i) {
    AddVectors(vectors, {{i, i, i, i}});
    AddPoints(points, {{i, i}});
  }
  VectorTypeFilterObjectGeneric const all(true);
  std::vector<M2DSliceVectorBlock*> vector_blocks;
  QueryVectorBlocks(vectors, vector_blocks, all);
  vector_blocks.erase(vector_blocks.begin());
  RemoveVectorBlocks(vectors, vector_blocks, nullptr);
  EXPECT_THAT(vector_blocks, ElementsAre(nullptr, nullptr, nullptr));
  RemoveVectorBlocks(vectors, vector_blocks, &vectors);  // there is nothing left to take
  EXPECT_EQ(vectors.GetCount(), 1u);
  EXPECT_EQ(vectors.GetFirst(), vectors.GetLast());

  // What is in no layer is deleted as well, and what stands in the list twice is gone once.
  auto* const stranger = vectors._CreateNewVectorBlock().release();
  vector_blocks = {stranger, vectors.GetFirst(), stranger, vectors.GetFirst()};
  RemoveVectorBlocks(vectors, vector_blocks, nullptr);
  EXPECT_THAT(vector_blocks, ElementsAre(nullptr, nullptr, nullptr, nullptr));
  EXPECT_TRUE(vectors.IsEmpty());

  std::vector<M2DSlicePointBlock*> point_blocks;
  QueryPointBlocks(points, point_blocks, all);
  point_blocks.resize(2);
  RemovePointBlocks(points, point_blocks, &points);  // to the end of the same layer
  EXPECT_THAT(TextsOf(points), ElementsAre("General |  2,2", "General |  3,3", "General |  0,0", "General |  1,1"));
  point_blocks.push_back(point_blocks.front());
  RemovePointBlocks(points, point_blocks, &points);  // the last time counts
  EXPECT_THAT(TextsOf(points), ElementsAre("General |  2,2", "General |  3,3", "General |  1,1", "General |  0,0"));
  M2DSlicePointLayer others;
  RemovePointBlocks(points, point_blocks, &others);
  EXPECT_THAT(TextsOf(others), ElementsAre("General |  0,0", "General |  1,1"));
}

/// All elements of a slice, each with its component, sorted.
std::vector<std::string> ContentOf(std::vector<M2DSlice> const& slices) {
  std::vector<std::string> content;
  for (M2DSlice const& slice : slices) {
    M2DSlice::ForEachRow([&](auto row) {
      for (auto const& text : TextsOf(row.Get(slice))) content.push_back(std::to_string(row.kIndex) + ' ' + text);
    });
  }
  std::sort(content.begin(), content.end());
  return content;
}

TEST(Split, LosesAndInventsNothingAndKeepsTheOrder) {
  Random random(testing::UnitTest::GetInstance()->random_seed());
  for (int round = 0; round < 100; ++round) {
    std::vector<M2DSlice> source(1);
    FillRandomly(source[0], random, 12);
    auto const before = ContentOf(source);
    VectorTypeFilterRangeByComponentIndex const range(source[0]);

    std::vector<M2DSlice> copies(7);
    Split(source[0], copies, range, false);
    EXPECT_EQ(copies.size(), range.GetNumTypes());
    EXPECT_EQ(ContentOf(source), before);
    EXPECT_EQ(ContentOf(copies), before);

    M2DSliceContour const* const first = source[0].GetBorder().GetFirst();
    std::vector<M2DSlice> parts;
    Split(source[0], parts, range, true);
    if (first != nullptr) {
      auto const part = static_cast<std::size_t>(range.GetTypeIndex(first->GetVectorTypeInfo()));
      EXPECT_EQ(parts[part].GetBorder().GetFirst(), first) << "the contours themselves move";
    }
    EXPECT_TRUE(ContentOf(source).empty());
    ASSERT_EQ(parts.size(), copies.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
      M2DSlice::ForEachRow([&](auto row) {
        EXPECT_EQ(TextsOf(row.Get(parts[i])), TextsOf(row.Get(copies[i])));
        for (auto const& element : row.Get(parts[i])) {
          EXPECT_EQ(range.GetTypeIndex(element.GetVectorTypeInfo()), static_cast<long>(i));
        }
      });
    }
  }
}

TEST(Split, AddsToTheSlicesThatAreThere) {
  M2DSlice source(5);
  FillAllComponents(source);
  source.GetVectorsUpdate()->GetFirst()->GetVectorTypeInfo().SetFlag(Flag::IsSupport, true);
  std::vector<M2DSlice> out(3);
  out[1].SetZArea(M2DSliceZArea(9));
  FillAllComponents(out[1], 1000);
  Split(source, out, VectorTypeFilterBySupportFlag(), true);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_THAT(Counts(out[0]), ElementsAre(0, 1, 0, 0));
  EXPECT_THAT(Counts(out[1]), ElementsAre(2, 1, 2, 2));
  EXPECT_THAT(Starts(out[1]), ElementsAre(1000, 1100, 1200, 1300));
  EXPECT_EQ(out[1].GetXYArea().minX, 0) << "the box is measured anew";
  EXPECT_FALSE(out[0].GetZArea().IsValid());
  EXPECT_EQ(out[1].GetZArea().GetZ(), 9);
}

TEST(Split, RangesDifferInWhatHasNoIndex) {
  M2DSlice slice;
  FillAllComponents(slice);
  slice.GetPointsUpdate()->GetFirst()->GetVectorTypeInfo() =
      Info(Type::General, {{Index::IndexModel, 4}, {Index::IndexAssemblyItem, 4}});
  slice.GetAreasUpdate()->GetFirst()->GetVectorTypeInfo() =
      Info(Type::General, {{Index::IndexModel, 2}, {Index::IndexAssemblyItem, 2}});
  VectorTypeFilterRangeByModelIndex const by_model(slice);
  VectorTypeFilterRangeByComponentIndex const by_component(slice);
  EXPECT_EQ(by_model.GetNumTypes(), 3u) << "point blocks do not count";
  EXPECT_EQ(VectorTypeFilterRangeByModelIndex(M2DSlice()).GetNumTypes(), 1u);
  EXPECT_EQ(by_component.GetNumTypes(), 5u);
  EXPECT_EQ(by_model.GetTypeIndex(Info(Type::Border)), -1);
  EXPECT_EQ(by_component.GetTypeIndex(Info(Type::Border)), 0);

  // No place for most of them: nothing may be lost on the way to the error.
  std::vector<M2DSlice> out(1);
  EXPECT_THROW(Split(slice, out, by_model, true), std::out_of_range);
  EXPECT_THAT(Counts(slice), ElementsAre(1, 1, 1, 1));
  EXPECT_EQ(out.size(), 1u);
  EXPECT_THAT(Counts(out[0]), ElementsAre(0, 0, 0, 0));
}

TEST(ContourFilter, MeasuresTheClosingEdgeOfClosedContoursOnly) {
  M2DSliceContourLayer layer;
  M2DSliceContour& square = AddContour(layer, {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  EXPECT_EQ(_GetLength(square), 40.0);
  square.SetIsClosed(false);
  EXPECT_EQ(_GetLength(square), 30.0);
  EXPECT_EQ(_GetLength(AddContour(layer, {{3, 4}})), 0.0);
  EXPECT_EQ(_GetLength(AddContour(layer, {})), 0.0);
  EXPECT_EQ(_GetLength(AddContour(layer, {}, false)), 0.0);
  EXPECT_EQ(_GetLength(AddContour(layer, {{0, 0}, {1, 1}}, false)), std::sqrt(2.0));
}

TEST(ContourFilter, DeletesWhatIsShorterThanTheThresholdOfItsKind) {
  // Lengths 20 to 60 in each kind; the thresholds let 40, 50 and 60 through and what is above.
  M2DSliceContourLayer layer;
  for (long side : {20, 40, 50, 60}) {
    for (int kind = 0; kind < 3; ++kind) {
      M2DSliceContour& contour = AddContour(layer, {{0, 0}, {side, 0}}, kind != 2);
      if (kind != 2) contour.GetFirstPoint()->next->x = side / 2;
      contour.SetIsOuter(kind == 0);
    }
  }
  ContourFilterObjectLengthBased filter;
  FilterContourLayer(layer, filter);
  EXPECT_EQ(layer.GetCount(), 12u);
  filter.SetTreshold(40, 50, 60);
  FilterContourLayer(layer, filter);
  std::vector<double> lengths;
  for (auto const& contour : layer) lengths.push_back(_GetLength(contour));
  EXPECT_THAT(lengths, ElementsAre(40, 50, 50, 60, 60, 60));
  filter.SetTreshold(100, 100, 100);
  FilterContourLayer(layer, filter);
  EXPECT_TRUE(layer.IsEmpty());
}

}  // namespace
