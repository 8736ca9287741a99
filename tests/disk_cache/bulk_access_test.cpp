#include <SliceData/disk_cache/M2DSliceTempFile.h>

#include <boost/make_shared.hpp>
#include <cstdint>
#include <cstring>

#include "support/Scratch.h"
#include "support/Slices.h"

// Many items at a time, against one by one.

namespace {

using namespace testing_support;

constexpr long kValues = 40'000;  // more than goes through in one piece

std::int32_t ValueAt(long i) {
  return static_cast<std::int32_t>(i * 7919 - 100'000'000);
}

std::string Stored() {
  std::string bytes;
  for (long i = 0; i < kValues; ++i) {
    std::int32_t const value = ValueAt(i);
    bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
  }
  return bytes;
}

template <class Component>
std::string Visited(Component const& component, unsigned long index) {
  std::string bytes;
  component.VisitStoredItems(index, [&](char const* piece, std::size_t size) { bytes.append(piece, size); });
  return bytes;
}

/// Pushes an element of one item, looks at it, and then pushes another by `push`.
template <class Component, class BeginElement, class PushItems>
void PushTwo(Component& component, BeginElement const& begin_element, PushItems const& push) {
  component.InitForOnDiskCaching(boost::make_shared<M2DSliceTempFile>(0, 0, ""));
  begin_element(component);
  component.PushStoredItems(Stored().data(), 1);
  begin_element(component);
  Visited(component, 0);
  push(component);
}

template <class Component, class BeginElement, class PushItems>
void ExpectSame(Component& bulk, Component& single, BeginElement const& begin_element, PushItems const& one_by_one,
                unsigned long num_items) {
  std::string const bytes = Stored();
  PushTwo(bulk, begin_element, [&](Component& component) { component.PushStoredItems(bytes.data(), num_items); });
  PushTwo(single, begin_element, one_by_one);
  M2DSliceXYArea box;
  M2DSliceXYArea single_box;
  bulk.GetBoundingBox(1, box);
  single.GetBoundingBox(1, single_box);
  EXPECT_EQ(box, single_box);
  EXPECT_EQ(bulk.GetNumItems(1), num_items);
  EXPECT_EQ(single.GetNumItems(1), num_items);
  EXPECT_TRUE(Visited(bulk, 1) == bytes);
  EXPECT_TRUE(Visited(single, 1) == bytes);
  ASSERT_TRUE(bulk.ValidateData());
  EXPECT_TRUE(Visited(bulk, 1) == bytes) << "from memory";
}

TEST(BulkAccess, IsWhatOneByOneIs) {
  Scratch const scratch;
  M2DSlice a(1);
  M2DSlice b(2);
  ExpectSame(
      a.GetBorderComponent(), b.GetBorderComponent(), [](auto& component) { component.PushContour(); },
      [](auto& component) {
        for (long i = 0; i < kValues; i += 2) component.PushContourPoint(ValueAt(i), ValueAt(i + 1));
      },
      kValues / 2);
  ExpectSame(
      a.GetVectorsComponent(), b.GetVectorsComponent(), [](auto& component) { component.PushVectorBlock(); },
      [](auto& component) {
        for (long i = 0; i < kValues; i += 4)
          component.PushVector(ValueAt(i), ValueAt(i + 1), ValueAt(i + 2), ValueAt(i + 3));
      },
      kValues / 4);
  ExpectSame(
      a.GetPointsComponent(), b.GetPointsComponent(), [](auto& component) { component.PushPointBlock(); },
      [](auto& component) {
        for (long i = 0; i < kValues; i += 2) component.PushPoint(ValueAt(i), ValueAt(i + 1));
      },
      kValues / 2);
}

}  // namespace
