#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePoint.h>

#include <benchmark/benchmark.h>
#include <vector>

#include "Report.h"

namespace {

constexpr long kPointsOfContour = 100;

/// Turns back and forth over the rounds, so that coordinates stay where they are.
M2DSliceUtilities::TransformationMatrix Matrix(bool back) {
  M2DSliceUtilities::TransformationMatrix matrix;
  matrix.MakeRotation(back ? -30 : 30);
  matrix.tx = back ? -1000 : 1000;
  return matrix;
}

void Fill(M2DSliceContourLayer& layer, long points) {
  for (long i = 0; i < points; i += kPointsOfContour) {
    M2DSliceContour& contour = layer.AddContour();
    for (long j = 0; j < kPointsOfContour; ++j) contour.AddPoint(i + j, 1000 * j);
  }
}

void TransformContours(benchmark::State& state) {
  M2DSliceContourLayer layer;
  Fill(layer, state.range(0));
  bool back = false;
  for (auto _ : state) {
    M2DSliceUtilities::Transform(layer, Matrix(back), M2DSliceUtilities::TransformOptions());
    back = !back;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The same arithmetic over an array: of the points of the contours as they are, or of their coordinates alone.
template <class Point>
void TransformFlat(benchmark::State& state) {
  std::vector<Point> points;
  for (long i = 0; i < state.range(0); ++i) {
    Point& point = points.emplace_back();
    point.x = i;
    point.y = 1000 * (i % kPointsOfContour);
  }
  bool back = false;
  for (auto _ : state) {
    M2DSliceUtilities::TransformationMatrix const m = Matrix(back);
    for (Point& point : points) {
      double const x = static_cast<double>(point.x);
      double const y = static_cast<double>(point.y);
      point.x = static_cast<long>(m.a * x + m.b * y + m.tx);
      point.y = static_cast<long>(m.c * x + m.d * y + m.ty);
    }
    benchmark::ClobberMemory();
    back = !back;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void TransformFlatArray(benchmark::State& state) {
  TransformFlat<M2DSliceContourPoint>(state);
}
void TransformFlatCoordinates(benchmark::State& state) {
  TransformFlat<M2DSlicePoint>(state);
}

/// A mapping that is no matrix, so that each point costs a virtual call.
void TransformContoursByChain(benchmark::State& state) {
  M2DSliceContourLayer layer;
  Fill(layer, state.range(0));
  M2DSliceUtilities::TransformationVector chain;
  chain.AddTransformation(Matrix(false));
  chain.AddTransformation(Matrix(true));
  for (auto _ : state) M2DSliceUtilities::Transform(layer, chain, M2DSliceUtilities::TransformOptions());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(TransformContours)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(TransformFlatArray)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(TransformFlatCoordinates)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(TransformContoursByChain)->Arg(10'000)->Unit(benchmark::kMicrosecond);

bench::Register const in_cache(bench::Ratio{"Transform 10,000 contour points by a matrix / flat array of the points",
                                            "TransformContours/10000", "TransformFlatArray/10000", "<= 2.5"});
bench::Register const in_memory(bench::Ratio{
    "Transform 1,000,000 contour points by a matrix / flat array of the points", "TransformContours/1000000",
    "TransformFlatArray/1000000", "<= 2.5"});
bench::Register const bare(bench::Ratio{"Transform 10,000 contour points by a matrix / flat array of x and y",
                                        "TransformContours/10000", "TransformFlatCoordinates/10000", ""});
bench::Register const bare_large(bench::Ratio{"Transform 1,000,000 contour points by a matrix / flat array of x and y",
                                              "TransformContours/1000000", "TransformFlatCoordinates/1000000", ""});
bench::Register const chain(bench::Ratio{
    "Transform 10,000 contour points by a chain of two (virtual calls) / flat array", "TransformContoursByChain/10000",
    "TransformFlatArray/10000", ""});

}  // namespace
