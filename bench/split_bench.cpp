#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/type_operations/ElementQueries.h>
#include <SliceData/type_operations/Split.h>
#include <SliceData/type_operations/VectorTypeFilter.h>
#include <SliceData/type_operations/VectorTypeFilterRange.h>

#include <vector>

#include "Support.h"

namespace {

/// Contours of four points, every other one support. Made once and put back by `Add`, so that rounds are alike.
void Fill(M2DSliceContourLayer& layer, long count) {
  for (long i = 0; i < count; ++i) {
    M2DSliceContour& contour = layer.AddContour();
    for (long j = 0; j < 4; ++j) contour.AddPoint(i + j, j);
    contour.SetVectorTypeInfo(bench::Prototype());
    contour.GetVectorTypeInfo().SetFlag(e2DSliceVectorTypeFlag::IsSupport, i % 2 == 0);
  }
}

void SplitContours(benchmark::State& state, bool move) {
  M2DSlice slice;
  Fill(*slice.GetBorderUpdate(), state.range(0));
  for (auto _ : state) {
    std::vector<M2DSlice> parts;
    Split(slice, parts, M2DSliceUtilities::VectorTypeFilterBySupportFlag(), move);
    state.PauseTiming();
    if (move) {
      for (M2DSlice& part : parts) slice.Add(part, true);
    }
    parts.clear();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void SplitByMove(benchmark::State& state) {
  SplitContours(state, true);
}
void SplitByCopy(benchmark::State& state) {
  SplitContours(state, false);
}

/// Takes half of the contours to another layer.
void RemoveContours(benchmark::State& state) {
  M2DSliceContourLayer layer;
  Fill(layer, state.range(0));
  M2DSliceUtilities::VectorTypeFilterObjectGeneric filter(false);
  filter.EnableFlag(e2DSliceVectorTypeFlag::IsSupport);
  for (auto _ : state) {
    std::vector<M2DSliceContour*> found;
    M2DSliceContourLayer target;
    M2DSliceUtilities::QueryContours(layer, found, filter);
    M2DSliceUtilities::RemoveContours(layer, found, &target);
    state.PauseTiming();
    layer.Add(target, true);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(SplitByMove)->RangeMultiplier(10)->Range(1000, 1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(SplitByCopy)->RangeMultiplier(10)->Range(1000, 1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(RemoveContours)->RangeMultiplier(10)->Range(1000, 1'000'000)->Unit(benchmark::kMicrosecond);

bench::Register const split_growth(bench::Growth{
    "Split by move, a contour", "SplitByMove", {1000, 10'000, 100'000, 1'000'000}});
bench::Register const copy_growth(bench::Growth{
    "Split by copy, a contour", "SplitByCopy", {1000, 10'000, 100'000, 1'000'000}});
bench::Register const remove_growth(bench::Growth{
    "Query and remove half of a layer, a contour of the layer", "RemoveContours", {1000, 10'000, 100'000, 1'000'000}});

}  // namespace
