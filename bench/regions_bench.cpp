#include <SliceData/geometry/M2DSliceRegion.h>
#include <SliceData/geometry/OrientBorder.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <array>
#include <boost/geometry/algorithms/correct.hpp>
#include <boost/geometry/algorithms/within.hpp>
#include <boost/geometry/geometries/point_xy.hpp>
#include <boost/geometry/geometries/polygon.hpp>
#include <cmath>
#include <random>
#include <string>

#include "Support.h"

namespace {

using Random = std::mt19937;
using BoostPoint = boost::geometry::model::d2::point_xy<long>;
using BoostPolygon = boost::geometry::model::polygon<BoostPoint>;

constexpr double kPi = 3.14159265358979323846;
constexpr long kRadius = 1'000'000;
constexpr std::size_t kProbes = 1024;

long Draw(Random& random, long first, long last) {
  return std::uniform_int_distribution<long>(first, last)(random);
}

/// A wavy outline with a rough edge, as a contour and as a polygon of the peer, and probes in the square around it.
struct Outline {
  explicit Outline(long points) {
    Random random(1);
    M2DSliceContour& contour = layer.AddContour();
    for (long i = 0; i < points; ++i) {
      double const angle = 2 * kPi * static_cast<double>(i) / static_cast<double>(points);
      double const radius =
          kRadius * (0.75 + 0.2 * std::sin(7 * angle) + 0.00005 * static_cast<double>(Draw(random, 0, 1000)));
      long const x = std::lround(radius * std::cos(angle));
      long const y = std::lround(radius * std::sin(angle));
      contour.AddPoint(x, y);
      polygon.outer().emplace_back(x, y);
    }
    boost::geometry::correct(polygon);
    for (BoostPoint& probe : probes) {
      probe = BoostPoint(Draw(random, -kRadius, kRadius), Draw(random, -kRadius, kRadius));
    }
  }

  M2DSliceContourLayer layer;
  BoostPolygon polygon;
  std::array<BoostPoint, kProbes> probes;
};

template <class Ask>
void AskInTurn(benchmark::State& state, Outline const& outline, Ask ask) {
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(ask(outline.probes[i++ % kProbes]));
}

void Position(benchmark::State& state) {
  Outline const outline(state.range(0));
  M2DSliceRegion const region(&outline.layer);
  AskInTurn(state, outline, [&](BoostPoint const& probe) {
    return region.GetPosition(static_cast<double>(probe.x()), static_cast<double>(probe.y()));
  });
}

void PositionOutside(benchmark::State& state) {
  Outline const outline(state.range(0));
  M2DSliceRegion const region(&outline.layer);
  AskInTurn(state, outline, [&](BoostPoint const& probe) {
    return region.GetPosition(static_cast<double>(probe.x() + 3 * kRadius), static_cast<double>(probe.y()));
  });
}

void BoostWithin(benchmark::State& state) {
  Outline const outline(state.range(0));
  AskInTurn(state, outline, [&](BoostPoint const& probe) { return boost::geometry::within(probe, outline.polygon); });
}

void BoostWithinOutside(benchmark::State& state) {
  Outline const outline(state.range(0));
  AskInTurn(state, outline, [&](BoostPoint const& probe) {
    return boost::geometry::within(BoostPoint(probe.x() + 3 * kRadius, probe.y()), outline.polygon);
  });
}

void AddOctagon(M2DSliceContourLayer& layer, long x, long y, long reach) {
  M2DSliceContour& contour = layer.AddContour();
  long const half = reach / 2;
  for (auto const& [dx, dy] : {std::pair(-reach, -half),
                               {-half, -reach},
                               {half, -reach},
                               {reach, -half},
                               {reach, half},
                               {half, reach},
                               {-half, reach},
                               {-reach, half}}) {
    contour.AddPoint(x + dx, y + dy);
  }
}

/// Orients octagons in random order of their directions; they are turned back before each round.
template <class Fill>
void Orient(benchmark::State& state, Fill fill) {
  M2DSliceContourLayer layer;
  fill(layer, state.range(0));
  Random random(1);
  for (auto _ : state) {
    for (M2DSliceContour& contour : layer) {
      if (Draw(random, 0, 1)) contour.ReverseDirection();
    }
    state.SetIterationTime(bench::Seconds([&] { M2DSliceUtilities::OrientBorder(layer); }));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void OrientSideBySide(benchmark::State& state) {
  Orient(state, [](M2DSliceContourLayer& layer, long count) {
    long const columns = std::lround(std::sqrt(static_cast<double>(count)));
    for (long i = 0; i < count; ++i) AddOctagon(layer, i % columns * 1000 + i / columns, i / columns * 1000, 400);
  });
}

void OrientNested(benchmark::State& state) {
  Orient(state, [](M2DSliceContourLayer& layer, long count) {
    for (long i = 0; i < count; ++i) AddOctagon(layer, 0, 0, 1000 * (i + 1));
  });
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(1'000, 100'000)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK(Position)->RangeMultiplier(10)->Range(10, 100'000);
BENCHMARK(BoostWithin)->RangeMultiplier(10)->Range(10, 100'000);
BENCHMARK(PositionOutside)->Arg(1'000);
BENCHMARK(BoostWithinOutside)->Arg(1'000);
BENCHMARK(OrientSideBySide)->Apply(Sizes);
BENCHMARK(OrientNested)->Apply(Sizes);

/// Ratios for all sizes of `Position`.
struct RegisterPosition {
  RegisterPosition() {
    for (long points = 10; points <= 100'000; points *= 10) {
      std::string const size = "/" + std::to_string(points);
      bench::Register const ratio(bench::Ratio{"GetPosition, " + size.substr(1) + " points / boost::geometry::within",
                                               "Position" + size, "BoostWithin" + size,
                                               points < 100'000 ? "<= 0.83" : "<= 1.4"});
    }
  }
} const position;
bench::Register const outside(bench::Ratio{"The same outside the extremes, 1000 points", "PositionOutside/1000",
                                           "BoostWithinOutside/1000", "<= 0.1"});
bench::Register const growth(bench::Growth{
    "OrientBorder, octagons side by side", "OrientSideBySide", {1'000, 10'000, 100'000}});
bench::Register const growth_nested(bench::Growth{
    "OrientBorder, nested octagons", "OrientNested", {1'000, 10'000, 100'000}});

}  // namespace
