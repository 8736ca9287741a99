#include <SliceData/geometry/ContourVectorConversion.h>
#include <SliceData/geometry/NextPointFunctors.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>
#include <vector>

#include "Report.h"

namespace {

using namespace M2DSliceUtilities;

constexpr long kPoints = 1'000'000;
constexpr long kPointsOfContour = 100;

M2DSliceContourLayer const& Contours() {
  static auto const* const layer = [] {
    auto* const filled = new M2DSliceContourLayer;
    for (long i = 0; i < kPoints; i += kPointsOfContour) {
      M2DSliceContour& contour = filled->AddContour();
      for (long j = 0; j < kPointsOfContour; ++j) contour.AddPoint(i + j, 1000 * j);
    }
    return filled;
  }();
  return *layer;
}

void ContoursToVectors(benchmark::State& state, ContextContoursToVectors const& prototype) {
  Contours();
  for (auto _ : state) {
    ContextContoursToVectors context = prototype;
    M2DSliceVectorLayer vectors;
    AddContoursToVectorLayer(Contours(), vectors, context);
    benchmark::DoNotOptimize(vectors.GetFirst()->data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

/// All in one block.
void ContoursToOneBlock(benchmark::State& state) {
  ContoursToVectors(state, {});
}

void ContoursToABlockEach(benchmark::State& state) {
  ContextContoursToVectors context;
  context.options.mergeEqualTypes = false;
  ContoursToVectors(state, context);
}

/// With a call to a functor for each point.
void ContoursToVectorsClockwise(benchmark::State& state) {
  ContextContoursToVectors context;
  context.nextPointFunctor = boost::make_shared<NextPointFunctorClock>(true);
  ContoursToVectors(state, context);
}

/// The same vectors into one array whose size is known from the start.
void CoordinatesToFlatArray(benchmark::State& state) {
  Contours();
  for (auto _ : state) {
    std::vector<M2DSliceVector> vectors;
    vectors.reserve(kPoints);
    for (M2DSliceContour const& contour : Contours()) {
      for (M2DSliceContourPoint const& point : contour.GetPoints()) {
        vectors.push_back({point.x, point.next->x, point.y, point.next->y});
      }
    }
    benchmark::DoNotOptimize(vectors.data());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void VectorsToContours(benchmark::State& state) {
  M2DSliceVectorLayer vectors;
  AddContoursToVectorLayer(Contours(), vectors);
  for (auto _ : state) {
    M2DSliceContourLayer contours;
    ConvertVectorsToContours(vectors, contours);
    benchmark::DoNotOptimize(contours.GetFirst());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void AddPointsToContours(benchmark::State& state) {
  for (auto _ : state) {
    M2DSliceContourLayer contours;
    for (long i = 0; i < kPoints; i += kPointsOfContour) {
      M2DSliceContour& contour = contours.AddContour();
      for (long j = 0; j < kPointsOfContour; ++j) contour.AddPoint(i + j, 1000 * j);
    }
    benchmark::DoNotOptimize(contours.GetFirst());
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

BENCHMARK(ContoursToOneBlock)->Unit(benchmark::kMicrosecond);
BENCHMARK(ContoursToABlockEach)->Unit(benchmark::kMicrosecond);
BENCHMARK(ContoursToVectorsClockwise)->Unit(benchmark::kMicrosecond);
BENCHMARK(CoordinatesToFlatArray)->Unit(benchmark::kMicrosecond);
BENCHMARK(VectorsToContours)->Unit(benchmark::kMicrosecond);
BENCHMARK(AddPointsToContours)->Unit(benchmark::kMicrosecond);

bench::Register const one_block(bench::Ratio{
    "1,000,000 contour points to one vector block / coordinates to a flat array", "ContoursToOneBlock",
    "CoordinatesToFlatArray", "<= 2"});
bench::Register const blocks(bench::Ratio{"1,000,000 contour points to a block a contour / coordinates to a flat array",
                                          "ContoursToABlockEach", "CoordinatesToFlatArray", "<= 2"});
bench::Register const clockwise(bench::Ratio{"1,000,000 contour points to vectors by a functor / flat array",
                                             "ContoursToVectorsClockwise", "CoordinatesToFlatArray", ""});
bench::Register const back(bench::Ratio{"1,000,000 vectors to contours / AddPoint of as many points",
                                        "VectorsToContours", "AddPointsToContours", ""});

}  // namespace
