#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePoint.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <list>
#include <malloc.h>
#include <memory>
#include <vector>

#include "Report.h"

namespace {

constexpr long kPoints = 20'000'000;
constexpr long kPointsOfContour = 100;
/// What fits into the chunks that the shared block pool keeps when nothing uses them.
constexpr long kPointsOfWarmRound = 100'000;

/// Times one call, without what comes before and after it.
template <class Function>
double Seconds(Function&& function) {
  auto const start = std::chrono::steady_clock::now();
  function();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void AppendTo(M2DSliceContourLayer& layer, long points) {
  for (long i = 0; i < points; i += kPointsOfContour) {
    M2DSliceContour& contour = layer.AddContour();
    for (long j = 0; j < kPointsOfContour; ++j) contour.AddPoint(i + j, j);
  }
}

template <class Container>
void AppendTo(Container& container, long points) {
  for (long i = 0; i < points; i += kPointsOfContour) {
    for (long j = 0; j < kPointsOfContour; ++j) container.push_back({i + j, j});
  }
}

/// Appends all points in rounds, each to a new container; emptying a container is not timed. One round comes first
/// without being timed: the first use of a page since the machine started can cost many times a later one. What the
/// heap has kept from other benchmarks goes back to the system before a round of all points, which is to get fresh
/// memory.
template <class Container>
void AppendInRounds(benchmark::State& state, long points_of_round) {
  for (auto _ : state) {
    AppendTo(*std::make_unique<Container>(), points_of_round);
    if (points_of_round == kPoints) malloc_trim(0);
    double seconds = 0;
    for (long done = 0; done < kPoints; done += points_of_round) {
      auto container = std::make_unique<Container>();
      seconds += Seconds([&] { AppendTo(*container, points_of_round); });
      benchmark::DoNotOptimize(container.get());
    }
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void AppendContourPointsFresh(benchmark::State& state) {
  AppendInRounds<M2DSliceContourLayer>(state, kPoints);
}
void AppendContourPointsWarm(benchmark::State& state) {
  AppendInRounds<M2DSliceContourLayer>(state, kPointsOfWarmRound);
}
void AppendVector(benchmark::State& state) {
  AppendInRounds<std::vector<M2DSlicePoint>>(state, kPoints);
}
void AppendVectorWarm(benchmark::State& state) {
  AppendInRounds<std::vector<M2DSlicePoint>>(state, kPointsOfWarmRound);
}
void AppendListWarm(benchmark::State& state) {
  AppendInRounds<std::list<M2DSlicePoint>>(state, kPointsOfWarmRound);
}

BENCHMARK(AppendContourPointsFresh)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AppendContourPointsWarm)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AppendVector)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AppendVectorWarm)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AppendListWarm)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

bench::Register const fresh(bench::Ratio{"append 20 M contour points, fresh memory / std::vector push_back",
                                         "AppendContourPointsFresh", "AppendVector", "<= 1.5"});
bench::Register const warm(bench::Ratio{"append 20 M contour points, kept chunks / std::vector push_back",
                                        "AppendContourPointsWarm", "AppendVector", "<= 0.6"});
bench::Register const warm_both(bench::Ratio{"the same, the vector in rounds of 100,000 too", "AppendContourPointsWarm",
                                             "AppendVectorWarm", ""});
bench::Register const list(bench::Ratio{"append 20 M contour points, kept chunks / std::list push_back",
                                        "AppendContourPointsWarm", "AppendListWarm", "<= 0.4"});

/// A layer of 20 million points that several benchmarks look at.
M2DSliceContourLayer& LargeLayer() {
  static auto* const layer = [] {
    auto* const filled = new M2DSliceContourLayer;
    AppendTo(*filled, kPoints);
    return filled;
  }();
  return *layer;
}

void RemoveLastOfEach(M2DSliceContourLayer& layer, long contours) {
  for (M2DSliceContour& contour : layer) {
    if (contours-- == 0) return;
    contour.RemovePoint(contour.GetFirstPoint()->previous);
  }
}

void AddLastOfEach(M2DSliceContourLayer& layer, long contours) {
  for (M2DSliceContour& contour : layer) {
    if (contours-- == 0) return;
    contour.AddPoint(0, 0);
  }
}

void RemoveAndAddAgain(benchmark::State& state) {
  M2DSliceContourLayer& layer = LargeLayer();
  auto const& pool = *layer.GetFirst()->GetPool();
  unsigned long const before = pool.GetNumBlocks();
  for (auto _ : state) {
    RemoveLastOfEach(layer, state.range(0));
    AddLastOfEach(layer, state.range(0));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  bench::AddFigure("removing and adding again " + std::to_string(state.range(0)) +
                   " of 20 M points, any number of times: " + std::to_string(pool.GetNumBlocks() - before) +
                   " blocks more (goal: at most 1)");
}
BENCHMARK(RemoveAndAddAgain)->Arg(74)->Arg(10'000)->Arg(200'000)->Iterations(10)->Unit(benchmark::kMicrosecond);

/// The first allocation after 74 of 20 million points went, which has to find them.
void AllocateAfter74Went(benchmark::State& state) {
  M2DSliceContourLayer& layer = LargeLayer();
  for (auto _ : state) {
    RemoveLastOfEach(layer, 74);
    state.SetIterationTime(Seconds([&] { layer.GetFirst()->AddPoint(0, 0); }));
    layer.GetFirst()->RemovePoint(layer.GetFirst()->GetFirstPoint()->previous);
    AddLastOfEach(layer, 74);
  }
}
BENCHMARK(AllocateAfter74Went)->Iterations(20)->UseManualTime()->Unit(benchmark::kMicrosecond);

void WalkAllPoints(benchmark::State& state) {
  for (auto _ : state) {
    long sum = 0;
    for (M2DSliceContour const& contour : LargeLayer()) {
      for (M2DSliceContourPoint const& point : contour.GetPoints()) sum += point.x;
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(WalkAllPoints)->Iterations(1)->Unit(benchmark::kMicrosecond);

bench::Register const gather(bench::Ratio{"the allocation after 74 of 20 M points went / a walk over all of them",
                                          "AllocateAfter74Went", "WalkAllPoints", "far below 1"});

}  // namespace
