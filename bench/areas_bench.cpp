#include <SliceData/geometry/M2DSliceOperatorDetermineAreas.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Report.h"

#ifdef BENCH_POLYCLIPPING
#include <polyclipping/clipper.hpp>
#endif

namespace {

using Polygon = std::vector<std::pair<long, long>>;
using Polygons = std::vector<Polygon>;

Polygon Round(long x, long y, long radius, int corners, double turn = 0) {
  Polygon polygon;
  for (int i = 0; i < corners; ++i) {
    double const angle = turn + 2 * 3.14159265358979 * i / corners;
    polygon.emplace_back(x + std::lround(static_cast<double>(radius) * std::cos(angle)),
                         y + std::lround(static_cast<double>(radius) * std::sin(angle)));
  }
  return polygon;
}

long SideFor(long count) {
  return static_cast<long>(std::sqrt(static_cast<double>(count))) + 1;
}

/// Struts of a lattice: many contours of 12 points side by side.
Polygons Lattice(long segments) {
  Polygons polygons;
  long const side = SideFor(segments / 12);
  for (long i = 0; i < segments / 12; ++i) polygons.push_back(Round(i % side * 10000, i / side * 10000, 3000, 12, 0.1));
  return polygons;
}

/// Solid parts with a hole, 500 points a contour.
Polygons Parts(long segments) {
  Polygons polygons;
  long const count = std::max(1l, segments / 1000);
  long const side = SideFor(count);
  auto const corners = static_cast<int>(segments / count / 2);
  for (long i = 0; i < count; ++i) {
    long const x = i % side * 250000;
    long const y = i / side * 250000;
    polygons.push_back(Round(x, y, 100000, corners));
    polygons.push_back(Round(x, y, 80000, corners));
    std::reverse(polygons.back().begin(), polygons.back().end());
  }
  return polygons;
}

/// Hexagons all over each other: every segment meets several others.
Polygons Overlaps(long segments) {
  std::mt19937 random(1);
  std::uniform_int_distribution<long> place(0, SideFor(segments) * 1000);
  std::uniform_real_distribution<double> turn(0, 3);
  Polygons polygons;
  for (long i = 0; i < segments / 6; ++i)
    polygons.push_back(Round(place(random), place(random), 2500, 6, turn(random)));
  return polygons;
}

void Areas(benchmark::State& state, Polygons const& polygons) {
  M2DSliceContourLayer layer;
  for (Polygon const& polygon : polygons) {
    M2DSliceContour& contour = layer.AddContour();
    for (auto const& [x, y] : polygon) contour.AddPoint(x, y);
  }
  for (auto _ : state) {
    M2DSliceOperatorDetermineAreas areas;
    areas.DetermineAreas(&layer);
    benchmark::DoNotOptimize(areas.GetAreas());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void AreasOfLattice(benchmark::State& state) {
  Areas(state, Lattice(state.range(0)));
}
void AreasOfParts(benchmark::State& state) {
  Areas(state, Parts(state.range(0)));
}
void AreasOfOverlaps(benchmark::State& state) {
  Areas(state, Overlaps(state.range(0)));
}

BENCHMARK(AreasOfLattice)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreasOfParts)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreasOfOverlaps)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK(AreasOfOverlaps)->Arg(1000000)->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond);

bench::Register const lattice_growth(bench::Growth{
    "Areas of a lattice", "AreasOfLattice", {1000, 10000, 100000, 1000000}});
bench::Register const parts_growth(bench::Growth{"Areas of parts", "AreasOfParts", {1000, 10000, 100000, 1000000}});
bench::Register const overlaps_growth(bench::Growth{
    "Areas of overlaps", "AreasOfOverlaps", {1000, 10000, 100000, 1000000}});

#ifdef BENCH_POLYCLIPPING

void Union(benchmark::State& state, Polygons const& polygons) {
  ClipperLib::Paths paths;
  for (Polygon const& polygon : polygons) {
    ClipperLib::Path& path = paths.emplace_back();
    for (auto const& [x, y] : polygon) path.emplace_back(x, y);
  }
  for (auto _ : state) {
    ClipperLib::Clipper clipper;
    ClipperLib::Paths result;
    clipper.AddPaths(paths, ClipperLib::ptSubject, true);
    clipper.Execute(ClipperLib::ctUnion, result, ClipperLib::pftPositive, ClipperLib::pftPositive);
    benchmark::DoNotOptimize(result);
  }
}

void UnionOfLattice(benchmark::State& state) {
  Union(state, Lattice(state.range(0)));
}
void UnionOfParts(benchmark::State& state) {
  Union(state, Parts(state.range(0)));
}
void UnionOfOverlaps(benchmark::State& state) {
  Union(state, Overlaps(state.range(0)));
}

BENCHMARK(UnionOfLattice)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(UnionOfParts)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(UnionOfOverlaps)->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond);

bool RegisterRatios() {
  for (std::string const kind : {"Lattice", "Parts", "Overlaps"}) {
    for (long const size : {1000, 10000, 100000, 1000000}) {
      std::string const argument = "/" + std::to_string(size);
      bench::Register(
          bench::Ratio{"Areas of " + kind + ", " + std::to_string(size) + " segments / libpolyclipping union",
                       "AreasOf" + kind + argument, "UnionOf" + kind + argument,
                       size <= 10000        ? "<= 3"
                       : kind == "Overlaps" ? "<= 0.8"
                                            : "<= 2"});
    }
  }
  return true;
}

[[maybe_unused]] bool const ratios = RegisterRatios();

#endif

}  // namespace
