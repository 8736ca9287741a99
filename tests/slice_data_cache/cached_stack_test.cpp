#include <SliceData/platform/common/StringID.h>

#include <limits>
#include <locale>
#include <stdexcept>

#include "slice_data_cache/CachedStacks.h"

// Keys, and slices that come and go at other positions.

namespace {

using namespace testing_support;
using namespace SliceDataCaching;
using ::testing::ElementsAre;
using ::testing::SizeIs;
using ID = CachedSliceStackKeyInfo::ID;

MMTransformMatrix Position(double x, double y, double z) {
  MMTransformMatrix matrix;
  matrix.MakeTranslation(x, y, z);
  return matrix;
}

std::vector<MMTransformMatrix const*> UsedPositions(CachedSliceStack const& entry) {
  std::vector<MMTransformMatrix const*> positions(7);
  entry.GetUsedPositions(positions);
  return positions;
}

TEST(CachedKey, IdentitiesAreEqualWhateverTheirLetterCase) {
  struct {
    ID a, b;
    bool are_equal;
  } const cases[] = {
      {{"ABC", "r1"}, {"abc", "R1"}, true}, {{"abc", "r1"}, {"abc", "r2"}, false}, {{"abc", "r"}, {"abd", "r"}, false},
      {{"", ""}, {"", ""}, true},           {{"ab", "r"}, {"abc", "r"}, false},    {{"abc", "r"}, {"abc", ""}, false},
      {{"[", "r"}, {"{", "r"}, false},      {{"a", "b"}, {"b", "a"}, false},
  };
  for (auto const& [a, b, are_equal] : cases) {
    EXPECT_EQ(a == b, are_equal) << a.m_global << ' ' << b.m_global;
    EXPECT_EQ(b == a, are_equal) << a.m_global << ' ' << b.m_global;
  }

  struct Letters : std::ctype<char> {
    char do_tolower(char c) const override { return c == '1' ? '2' : c; }
  };
  std::locale const before = std::locale::global(std::locale(std::locale(), new Letters));
  EXPECT_TRUE((ID{"p1", "r1"} == ID{"p2", "r2"}));
  EXPECT_FALSE((ID{"P", "r"} == ID{"p", "r"}));
  std::locale::global(before);
}

TEST(CachedKey, InitTakesWhatItIsGivenAndLeavesTheRest) {
  MStlRevisionSystem::MIDCard const part;
  MStlRevisionSystem::MIDCard revised = part;
  revised.MakeNewRevision();
  CachedSliceStackKeyInfo key = MakeKey("p", 1, 2, 3);
  key.m_properties.SetProperty<long>("Own", 5);
  key.m_properties.FindProperty(PropertyNameCacheType)->SetDeleted(true);
  key.Init("own type", revised, nullptr, {e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 50});
  EXPECT_EQ(key.m_transform.GetElement(2, 3), 3);
  EXPECT_EQ(key.m_z_info, (M2DSliceZAreaTypeInfo{e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 50}));
  EXPECT_THAT(key.m_properties.GetAll(), SizeIs(2));
  EXPECT_EQ(*key.m_properties.GetValue<std::string>("TypeSliceDataCache"), "own type");

  ID const of_part{VelAM::GetStringIDGlobal(part), VelAM::GetStringIDRevision(part)};
  EXPECT_EQ(key.m_id.m_global, of_part.m_global) << "the same part";
  EXPECT_NE(key.m_id, of_part) << "in another revision";
  EXPECT_THAT(of_part.m_revision, SizeIs(36)) << "a UUID";
  EXPECT_NE(of_part.m_global, VelAM::GetStringIDGlobal(MStlRevisionSystem::MIDCard()));
}

TEST(CachedStack, WithoutStacksSaysSo) {
  CachedSliceStack entry(MakeKey("p"));
  M2DSlice slice;
  auto const expect_error = [](auto const& operation) {
    try {
      operation();
      ADD_FAILURE();
    } catch (std::runtime_error const& error) {
      EXPECT_STREQ(error.what(), "No slice stack inside SliceDataCaching::CachedSliceStack");
    }
  };
  expect_error([&] { entry.GetStack(); });
  expect_error([&] { std::as_const(entry).GetStack(); });
  expect_error([&] { entry.GetSlice(slice, M2DSliceZArea(0), nullptr); });
  expect_error([&] { entry.SetSlice(slice, M2DSliceZArea(0), nullptr); });
  EXPECT_THAT(entry.m_data, SizeIs(0));
  EXPECT_THAT(entry.GetStacks(), SizeIs(0));
  EXPECT_TRUE(entry.ValidateLoadedData(true));
}

TEST(CachedStack, SharesTheStacksThatItIsGiven) {
  CachedSliceStack entry(MakeKey("p", 1000));
  SetStack(entry, 0);
  auto const first = MakeStack(10);
  auto const second = MakeStack(20);
  MMTransformMatrix const elsewhere = Position(5, 5, 5);
  entry.SetSliceStack({first, second}, {e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 1}, &elsewhere);
  EXPECT_EQ(&entry.GetStack(), first.get());
  EXPECT_THAT(entry.GetStacks(), ElementsAre(first, second));
  EXPECT_EQ(entry.m_z_info, MakeKey("p").m_z_info);
  EXPECT_EQ(entry.m_transform, MakeKey("p", 1000).m_transform);
  ASSERT_THAT(UsedPositions(entry), SizeIs(1));
  EXPECT_EQ(*UsedPositions(entry)[0], MMTransformMatrix());
}

TEST(CachedStack, GivesSlicesWhereThePartStands) {
  CachedSliceStack entry(MakeKey("p", 1000.5, -20.5, 95.5));
  SetStack(entry, 0);
  struct {
    double x, y, z;
    long dx, dy, dz;
  } const cases[] = {{1011.4, -20.5, 95.5, 10, 0, 0}, {989.6, -30.2, 95.5, -10, -9, 0}, {1001, 0.4, 100.5, 0, 20, 5}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.x);
    MMTransformMatrix const position = Position(c.x, c.y, c.z);
    M2DSlice slice;
    ASSERT_TRUE(entry.GetSlice(slice, M2DSliceZArea(300 + c.dz), &position));
    EXPECT_THAT(Starts(slice), ElementsAre(c.dx, 100 + c.dx, c.dx, 300)) << "points are placed, areas stay";
    EXPECT_EQ(slice.GetBorder().GetFirst()->GetFirstPoint()->y, c.dy);
    EXPECT_FALSE(entry.GetSlice(slice, M2DSliceZArea(301 + c.dz), &position));
    EXPECT_THAT(Starts(slice), ElementsAre(c.dx, 100 + c.dx, c.dx, 300)) << "untouched";
    MMTransformMatrix difference = Position(1, 2, 3);
    entry.GetAdditionalTransformation(&position, difference);
    EXPECT_EQ(difference, Position(static_cast<double>(c.dx), static_cast<double>(c.dy), static_cast<double>(c.dz)));
  }
  MMTransformMatrix difference = Position(1, 2, 3);
  entry.GetAdditionalTransformation(nullptr, difference);
  EXPECT_EQ(difference, MMTransformMatrix());
  EXPECT_THAT(Starts(entry.GetStack().GetSlice(1ul)[0]), ElementsAre(0, 100, 200, 300)) << "as it was stored";
}

TEST(CachedStack, KeepsSlicesAtItsOwnPosition) {
  CachedSliceStack entry(MakeKey("p", 50));
  entry.SetSliceStack({MakeStack(1000)}, {}, nullptr);
  MMTransformMatrix const position = Position(60, 0, 7);
  M2DSliceZArea area(307);
  area.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 40});
  M2DSlice slice;
  FillAllComponents(slice);
  ASSERT_TRUE(entry.SetSlice(slice, area, &position));
  area.SetZ(507);
  ASSERT_TRUE(entry.SetSlice(slice, area, &position));

  M2DSliceStack& stack = entry.GetStack();
  ASSERT_EQ(stack.GetSize(), 3u);
  EXPECT_THAT(Counts(*stack.GetSliceAtPosition(300)), ElementsAre(1, 1, 1, 1)) << "in place of the one before";
  EXPECT_THAT(Starts(*stack.GetSliceAtPosition(300)), ElementsAre(-10, 90, -10, 300));
  EXPECT_EQ(stack.GetSliceAtPosition(500)->GetZArea().GetBottom(), 460) << "with the recipe given";
  M2DSlice again;
  ASSERT_TRUE(entry.GetSlice(again, M2DSliceZArea(507), &position));
  EXPECT_EQ(again.GetBorder().GetFirst()->GetFirstPoint()->x, 0);
  EXPECT_EQ(again.GetVectors().GetFirst()->front().x1, 100);
}

TEST(CachedStack, NoPositionDoesHarm) {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  for (double const x : {1e300, -1e300, kInfinite, -kInfinite, std::numeric_limits<double>::quiet_NaN()}) {
    SCOPED_TRACE(x);
    CachedSliceStack entry(MakeKey("p"));
    SetStack(entry, 0);
    entry.m_transform = Position(x, x, x);
    MMTransformMatrix const own;
    MMTransformMatrix difference;
    entry.GetAdditionalTransformation(&own, difference);
    M2DSlice slice;
    FillAllComponents(slice);
    EXPECT_TRUE(entry.SetSlice(slice, M2DSliceZArea(1000), &own));
    M2DSlice again;
    EXPECT_TRUE(entry.GetSlice(again, M2DSliceZArea(1000), &own));
    EXPECT_EQ(again.GetVectors().GetFirst()->front().x1, 100);
    EXPECT_FALSE(entry.GetSlice(slice, M2DSliceZArea(std::numeric_limits<long>::min()), &own));
  }
}

TEST(UsedPositionsOfACachedStack, AreNotedOnceEach) {
  CachedSliceStack entry(MakeKey("p"));
  EXPECT_THAT(UsedPositions(entry), SizeIs(0));
  entry.AddUsedPosition(Position(1, 2, 3));
  entry.AddUsedPosition(Position(1, 2, 3 - 0.0000005));
  EXPECT_THAT(UsedPositions(entry), SizeIs(1));
  MMTransformMatrix turned = Position(1, 2, 3);
  turned.SetElement(3, 0, 0.000002);
  entry.AddUsedPosition(turned);
  ASSERT_THAT(UsedPositions(entry), SizeIs(2));
  EXPECT_EQ(UsedPositions(entry)[0]->GetElement(2, 3), 3) << "the first one stays as it is";

  turned.SetElement(3, 0, std::numeric_limits<double>::quiet_NaN());
  entry.AddUsedPosition(turned);
  EXPECT_THAT(UsedPositions(entry), SizeIs(2)) << "what is no number is no difference";

  entry.GetProperties().FindProperty("UsedPositions")->SetDeleted(true);
  EXPECT_THAT(UsedPositions(entry), SizeIs(0));
  entry.AddUsedPosition(Position(1, 2, 3));
  EXPECT_THAT(UsedPositions(entry), SizeIs(2)) << "back again";

  CachedSliceStack other(MakeKey("p"));
  other.GetProperties().SetProperty<long>("UsedPositions", 1);
  other.AddUsedPosition(Position(1, 2, 3));
  EXPECT_THAT(UsedPositions(other), SizeIs(0)) << "something else has the name";
}

}  // namespace
