#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <boost/make_shared.hpp>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Support.h"

// What stays in memory of data that is on disk: all of it for a stack of several gigabytes, and the records of single
// contours. Each figure comes from a process of its own.

namespace {

using bench::Format;
using bench::Gigabytes;
using bench::Megabytes;
using bench::Seconds;

constexpr long kPointsOfContour = 100;
constexpr long kBytesOfPoint = sizeof(M2DSliceContourPoint);

long SumOf(long x, long y) {
  return x + 3 * y;
}

long SumOf(M2DSliceContourLayer const& border) {
  long sum = 0;
  for (M2DSliceContour const& contour : border) {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) sum += SumOf(point.x, point.y);
  }
  return sum;
}

long BytesOnDisk(M2DSliceStack const& stack) {
  auto const& file = stack.GetSlice(0)->GetBorderComponent().GetTempFile();
  long bytes = 0;
  for (auto const& entry :
       std::filesystem::directory_iterator(std::filesystem::path(file->GetFileName()).parent_path())) {
    bytes += static_cast<long>(entry.file_size());
  }
  return bytes;
}

/// Fills a stack of 250 mm with 4 GB of contours, walks it, changes all of it, and walks it again.
template <e2DSliceStackCachingType caching_type>
std::string WorkOnLargeStack() {
  constexpr long slices = 1000;
  constexpr long contours_of_slice = 720;
  constexpr long thickness = 2500;
  constexpr long points = slices * contours_of_slice * kPointsOfContour;
  double const gigabytes = Gigabytes(points * kBytesOfPoint);
  constexpr long limit = 300'000'000;
  // A slice of this stack takes 4 MB; the 100 that this strategy keeps by itself would not fit.
  M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(20);

  M2DSliceStack stack(caching_type);
  long expected = 0;
  M2DSliceVectorTypeInfo const& prototype = bench::Prototype();
  double const filling = Seconds([&] {
    for (long i = 0; i < slices; ++i) {
      auto border = stack.AddSlicePosition(i * thickness)->GetBorderUpdate();
      for (long j = 0; j < contours_of_slice; ++j) {
        M2DSliceContour& contour = border->AddContour();
        contour.SetVectorTypeInfo(prototype);
        for (long k = 0; k < kPointsOfContour; ++k) contour.AddPoint(1000 * j + 7 * k, i + 100 * k);
      }
      expected += SumOf(*border);
    }
  });

  auto const walk = [&] {
    long sum = 0;
    for (unsigned long i = 0; i < stack.GetSize(); ++i) sum += SumOf(std::as_const(stack).GetSlice(i)->GetBorder());
    if (sum != expected) throw std::runtime_error("the walk did not find what was put in");
  };
  double const first_walk = Seconds(walk);

  double const changing = Seconds([&] {
    M2DSliceUtilities::TransformationMatrix shift;
    shift.MakeTranslation(-5000, 300);
    M2DSliceUtilities::Transform(stack, shift, M2DSliceUtilities::TransformOptions());
    expected += points * SumOf(-5000, 300);
    for (unsigned long i = 0; i < stack.GetSize(); ++i) {
      auto border = stack.GetSlice(i)->GetBorderUpdate();
      for (M2DSliceContour& contour : *border) ++contour.GetFirstPoint()->x;
    }
    expected += slices * contours_of_slice * SumOf(1, 0);
  });
  double const second_walk = Seconds(walk);

  long const records = slices * contours_of_slice * static_cast<long>(sizeof(M2DSliceComponentContours::ContourOnDisk));
  long const peak = bench::PeakResidentBytes();
  if (peak - records > limit) {
    throw std::runtime_error(
        Format("%.0f MB were resident, %.0f MB of them records", Megabytes(peak), Megabytes(records)));
  }
  return Format(
      "%.1f GB of contours: peak %.0f MB resident, %.0f MB of them records (the rest: goal below 300); fill "
      "%.1f GB/s, walk %.1f, map and edit all %.1f, walk %.1f; %.2f GB on disk",
      gigabytes, Megabytes(peak), Megabytes(records), gigabytes / filling, gigabytes / first_walk, gigabytes / changing,
      gigabytes / second_walk, Gigabytes(BytesOnDisk(stack)));
}

long AllocatedBytes() {
  struct mallinfo2 const info = mallinfo2();
  return static_cast<long>(info.uordblks + info.hblkhd);
}

/// What a million contours on disk leave in memory, their slices included: paged out, or pushed. The number in a slice
/// is just above a power of two, which makes arrays that double look at their worst.
template <bool pushed>
std::string MeasureRecords() {
  constexpr long slices = 960;
  constexpr long contours_of_slice = 1040;
  M2DSliceVectorTypeInfo const& prototype = bench::Prototype();
  auto file = boost::make_shared<M2DSliceTempFile>(0, 0, std::string());
  std::vector<std::unique_ptr<M2DSlice>> made;
  long const before = AllocatedBytes();
  for (long i = 0; i < slices; ++i) {
    made.push_back(std::make_unique<M2DSlice>(i));
    M2DSliceComponentContours& component = made.back()->GetBorderComponent();
    if constexpr (pushed) {
      component.InitForOnDiskCaching(file);
      for (long j = 0; j < contours_of_slice; ++j) {
        unsigned long const contour = component.PushContour();
        component.SetTypeInfo(contour, prototype);
        for (long k = 0; k < 4; ++k) component.PushContourPoint(j, k);
      }
    } else {
      for (long j = 0; j < contours_of_slice; ++j) {
        M2DSliceContour& contour = component.GetData().AddContour();
        contour.SetVectorTypeInfo(prototype);
        for (long k = 0; k < 4; ++k) contour.AddPoint(j, k);
      }
      component.ValidateDiskState(file);
    }
  }
  return Format("%.1f bytes of heap (goal: below 130)",
                static_cast<double>(AllocatedBytes() - before) / (slices * contours_of_slice));
}

bench::Child const children[] = {
    {"a stack larger than memory, multiple", WorkOnLargeStack<e2DSliceStackCachingType::MultipleTempFiles>},
    {"a stack larger than memory, single, 20 slices", WorkOnLargeStack<e2DSliceStackCachingType::SingleTempFile>},
    {"a stack larger than memory, zrange", WorkOnLargeStack<e2DSliceStackCachingType::ZRange>},
    {"a contour on disk, paged out", MeasureRecords<false>},
    {"a contour on disk, pushed", MeasureRecords<true>},
};

BENCH_CHILD(LargeStackMultiple, "a stack larger than memory, multiple");
BENCH_CHILD(LargeStackSingle, "a stack larger than memory, single, 20 slices");
BENCH_CHILD(LargeStackZRange, "a stack larger than memory, zrange");
BENCH_CHILD(RecordsPagedOut, "a contour on disk, paged out");
BENCH_CHILD(RecordsPushed, "a contour on disk, pushed");

}  // namespace
