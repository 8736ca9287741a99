#include <SliceData/interchange/M2DSliceConversions.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <benchmark/benchmark.h>

#include "Report.h"

namespace {

/// Fits into the memory that the pools keep for the next user.
M2DSliceContourLayer const& LargeContours() {
  static auto const* const layer = [] {
    auto* const filled = new M2DSliceContourLayer;
    for (long i = 0; i < 10; ++i) {
      M2DSliceContour& contour = filled->AddContour();
      for (long j = 0; j < 10'000; ++j) contour.AddPoint(i + j, j);
    }
    return filled;
  }();
  return *layer;
}

void ConvertLayerToBorder(benchmark::State& state) {
  M2DSliceConversions::Border target;
  for (auto _ : state) M2DSliceConversions::Convert(LargeContours(), target);
}
BENCHMARK(ConvertLayerToBorder)->Unit(benchmark::kMicrosecond);

void ConvertBorderToLayer(benchmark::State& state) {
  M2DSliceConversions::Border source;
  M2DSliceConversions::Convert(LargeContours(), source);
  M2DSliceContourLayer target;
  for (auto _ : state) M2DSliceConversions::Convert(source, target);
}
BENCHMARK(ConvertBorderToLayer)->Unit(benchmark::kMicrosecond);

void AssignContours(benchmark::State& state) {
  M2DSliceContourLayer target;
  for (auto _ : state) {
    target.Clear();
    target.Add(LargeContours());
  }
}
BENCHMARK(AssignContours)->Unit(benchmark::kMicrosecond);

bench::Register const to_border(bench::Ratio{"10 contours of 10,000 points to the general border / their assignment",
                                             "ConvertLayerToBorder", "AssignContours", "near 1"});
bench::Register const from_border(bench::Ratio{"the same back / their assignment", "ConvertBorderToLayer",
                                               "AssignContours", "near 1"});

}  // namespace
