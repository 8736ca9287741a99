#include <SliceData/disk_cache/M2DSliceStackCachingLock.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/MapContent.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <system_error>
#include <utility>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::HasSubstr;
using Caching = e2DSliceStackCachingType;

constexpr long kSlices = 12;
constexpr long kPoints = 20000;

class Faults : public ::testing::TestWithParam<Caching> {
 protected:
  Faults() : stack(GetParam()) { M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(5); }
  ~Faults() override { M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(100); }

  M2DSliceStackSlice& AddSlice(long i) {
    M2DSliceStackSlice& slice = *stack.AddSlicePosition(i * 70000);
    M2DSliceContour& contour = slice.GetBorderComponent().GetData().AddContour();
    for (long n = 0; n < kPoints; ++n) contour.AddPoint(i, n);
    return slice;
  }

  static bool IsWhole(M2DSliceContourLayer const& border, long i) {
    if (border.GetCount() != 1 || border.GetFirst()->GetNumPoints() != kPoints) return false;
    long n = 0;
    for (M2DSliceContourPoint const& point : border.GetFirst()->GetPoints()) {
      if (point.x != i || point.y != n++) return false;
    }
    return true;
  }

  /// Accesses a slice; the text of the error, if there is one.
  std::string Access(long i) {
    try {
      EXPECT_TRUE(IsWhole(stack.GetSlice(static_cast<unsigned long>(i))->GetBorder(), i)) << i;
    } catch (std::system_error const& error) {
      return error.what();
    }
    return "";
  }

  void ExpectAllIsThere() {
    for (int round = 0; round < 2; ++round) {
      for (long i = 0; i < kSlices; ++i) EXPECT_EQ(Access(i), "") << "slice " << i;
    }
  }

  std::string FirstFileInUse() {
    for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
      auto const& file = stack.GetSlice(i)->GetBorderComponent().GetTempFile();
      if (file != nullptr) return file->GetFileName();
    }
    return "";
  }

  Scratch scratch;
  M2DSliceStack stack;
};

/// What is done between slices 0 and 11, and whose content they hold then.
struct Transfer {
  char const* name;
  void (*run)(M2DSlice& a, M2DSlice& b);
  std::vector<long> in_a;
  std::vector<long> in_b;
};

Transfer const kTransfers[] = {
    {"move", [](M2DSlice& a, M2DSlice& b) { b.CopyFrom(a, true); }, {}, {0}},
    {"swap", [](M2DSlice& a, M2DSlice& b) { b.Swap(a); }, {11}, {0}},
    {"add, moving", [](M2DSlice& a, M2DSlice& b) { b.Add(a, true); }, {}, {11, 0}},
    {"add, copying", [](M2DSlice& a, M2DSlice& b) { b.Add(std::as_const(a)); }, {0}, {11, 0}},
    {"assign", [](M2DSlice& a, M2DSlice& b) { b = a; }, {0}, {0}},
};

std::vector<long> ContentOf(M2DSlice const& slice) {
  std::vector<long> of_border;
  std::vector<long> of_vectors;
  for (auto const& contour : slice.GetBorder()) of_border.push_back(contour.GetFirstPoint()->x);
  for (auto const& block : slice.GetVectors()) of_vectors.push_back(block[0].x1);
  EXPECT_EQ(of_border, of_vectors);
  return of_border;
}

TEST_P(Faults, ATransferThatFailsBetweenTwoKindsChangesNothingAndCanBeTriedAgain) {
  M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(2);
  for (Transfer const& transfer : kTransfers) {
    SCOPED_TRACE(transfer.name);
    M2DSliceStack own(GetParam());
    if (GetParam() == Caching::MultipleTempFiles) {
      static_cast<M2DSliceStackCachingStrategyMultipleTempFiles&>(*own._GetCachingStrategy()).SetCacheSizes(2, 2, 2, 2);
    }
    for (long i = 0; i < kSlices; ++i) {
      M2DSliceStackSlice& slice = *own.AddSlicePosition(i * 70000);
      slice.GetBorderComponent().GetData().AddContour().AddPoint(i, 0);
      slice.GetVectorsComponent().GetData().AddVectorBlock().resize(20000, {i, 0, 0, 0});
    }
    M2DSlice& a = *own.GetSlice(0);
    M2DSlice& b = *own.GetSlice(kSlices - 1);
    for (unsigned long i = 0; i < 7; ++i) ContentOf(*own.GetSlice(i));
    // Vectors, but no borders, are to be written before those of a and b come in.
    for (unsigned long i : {5, 6}) own.GetSlice(i)->GetVectorsUpdate()->GetFirst()->push_back({});
    {
      FullDisk const full(1);
      EXPECT_THROW(transfer.run(a, b), std::system_error);
    }
    EXPECT_THAT(ContentOf(a), ::testing::ElementsAre(0));
    EXPECT_THAT(ContentOf(b), ::testing::ElementsAre(11));
    transfer.run(a, b);
    EXPECT_EQ(ContentOf(a), transfer.in_a);
    EXPECT_EQ(ContentOf(b), transfer.in_b);
  }
}

TEST_P(Faults, MappingAStackGoesOnWhereTheDiskWasFull) {
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  M2DSliceUtilities::TransformationMatrix shift;
  shift.MakeTranslation(kSlices, 0);
  unsigned long num_mapped = 0;
  {
    FullDisk const full(100000);
    for (int i = 0; i < 2; ++i) {
      EXPECT_THROW(M2DSliceUtilities::MapContent(stack, shift, num_mapped), std::system_error);
    }
    M2DSliceStackCachingLock lock;
    lock.Add(&stack);  // its end tries once more, and swallows the failure
  }
  EXPECT_GT(num_mapped, 0u);
  M2DSliceUtilities::MapContent(stack, shift, num_mapped);
  for (long i = 0; i < kSlices; ++i) {
    EXPECT_TRUE(IsWhole(stack.GetSlice(static_cast<unsigned long>(i))->GetBorder(), i + kSlices)) << i;
  }
  EXPECT_EQ(stack.GetXYArea(), (M2DSliceXYArea{kSlices, 2 * kSlices - 1, 0, kPoints - 1}));
}

TEST_P(Faults, ACutFileIsAnErrorForWhatWasCutAlone) {
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  for (long i = 0; i < kSlices; ++i) EXPECT_EQ(Access(i), "");
  stack.GetSlice(0)->GetBorderComponent().GetTempFile()->InitForReading(0);  // flushes
  std::string const path = FirstFileInUse();
  ASSERT_EQ(::truncate(path.c_str(), 200000), 0);  // one record and a part of the next
  int lost = 0;
  for (int round = 0; round < 2; ++round) {
    lost = 0;
    EXPECT_EQ(Access(0), "") << "its record lies before the cut";
    for (long i = 1; i < kSlices; ++i) {
      std::string const error = Access(i);
      if (error.empty()) continue;
      EXPECT_THAT(error, HasSubstr(path));
      EXPECT_THAT(error, HasSubstr("someone else has cut it"));
      EXPECT_FALSE(std::as_const(stack).GetSlice(static_cast<unsigned long>(i))->GetBorderComponent().IsDataValid());
      ++lost;
    }
  }
  EXPECT_GT(lost, 0);
  EXPECT_LT(lost, kSlices - 1) << "what is in memory is unharmed";
  stack.Clear();
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  ExpectAllIsThere();
}

TEST_P(Faults, ADeletedFileIsNotUsedForMore) {
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  for (long i = 0; i < kSlices; ++i) EXPECT_EQ(Access(i), "");
  std::string const path = FirstFileInUse();
  ASSERT_EQ(::unlink(path.c_str()), 0);
  ExpectAllIsThere();  // as long as it is open, all of it can be read
  std::vector<boost::shared_ptr<M2DSliceTempFile>> others;
  for (int i = 0; i < 20; ++i) others.push_back(boost::make_shared<M2DSliceTempFile>(0, 0, ""));
  long lost = 0;
  for (long i = 0; i < kSlices; ++i) {
    std::string const error = Access(i);
    if (error.empty()) continue;
    EXPECT_THAT(error, HasSubstr(path));
    ++lost;
  }
  EXPECT_GT(lost, 0);
  EXPECT_LT(lost, kSlices) << "what is in memory is unharmed";
  stack.Clear();
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  ExpectAllIsThere();
}

TEST_P(Faults, APreparationForPushingThatFailsChangesNothing) {
  for (long i = 0; i < kSlices; ++i) AddSlice(i);
  for (long i = 0; i < kSlices; ++i) Access(i);
  auto& component = stack.GetSlice(0)->GetBorderComponent();
  ASSERT_FALSE(component.IsDataValid());
  auto const before = component.GetTempFile();
  ASSERT_EQ(::unlink(before->GetFileName().c_str()), 0);  // a new file has to be begun
  if (GetParam() == Caching::ZRange) {
    EXPECT_FALSE(component.PrepareForPushingData()) << "not its business";
    return;
  }
  {
    NoDescriptors const none;
    EXPECT_THROW(component.PrepareForPushingData(), std::system_error);
  }
  EXPECT_EQ(component.GetTempFile(), before) << "still the record that it was";
  EXPECT_EQ(component.GetNumContours(), 1u);
  ASSERT_TRUE(component.PrepareForPushingData());
  EXPECT_NE(component.GetTempFile(), before);
  component.PushContour();
  component.PushContourPoint(1, 2);
  EXPECT_EQ(stack.GetSlice(0)->GetBorder().GetFirst()->GetNumPoints(), 1u);
}

std::string NameOf(::testing::TestParamInfo<Caching> const& type) {
  static char const* const names[] = {"NoTempFiles", "MultipleTempFiles", "SingleTempFile", "ZRange"};
  return names[static_cast<std::size_t>(type.param)];
}

INSTANTIATE_TEST_SUITE_P(CachingTypes, Faults,
                         ::testing::Values(Caching::MultipleTempFiles, Caching::SingleTempFile, Caching::ZRange),
                         NameOf);

}  // namespace
