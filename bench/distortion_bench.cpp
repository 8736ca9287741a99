#include <SliceData/geometry/TransformationDistortion.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Report.h"

namespace {

using Point = MMPoint2d<double>;
using Table = M2DSliceUtilities::DistortionTable<double>;

constexpr int kLines = 100;
constexpr double kDistance = 1000;

double Line(int index) {
  return kDistance * index;
}
Point Sample(int x, int y) {
  return {Line(x) + (7 * x + 3 * y) % 11, Line(y) - (5 * x + 2 * y) % 13};
}

/// The grid as arrays, with a binary search for each axis and the arithmetic of a look-up.
class FlatTable {
 public:
  FlatTable() {
    for (int x = 0; x < kLines; ++x) {
      m_lines.push_back(Line(x));
      for (int y = 0; y < kLines; ++y) m_samples.push_back(Sample(x, y));
    }
  }

  void Transform(double& x, double& y) const {
    auto const [low_x, high_x] = Bracket(x);
    auto const [low_y, high_y] = Bracket(y);
    Point const low_low = At(low_x, low_y);
    Point const high_low = At(high_x, low_y);
    Point const low_high = At(low_x, high_y);
    Point const high_high = At(high_x, high_y);
    Point result = high_high;
    if (low_x == high_x && low_y != high_y) {
      result = Between(y, low_y, high_y, high_low, high_high);
    } else if (low_x != high_x) {
      result = Between(x, low_x, high_x, low_high, high_high);
      if (low_y != high_y) result = Between(y, low_y, high_y, Between(x, low_x, high_x, low_low, high_low), result);
    }
    x = result.x;
    y = result.y;
  }

 private:
  struct Indices {
    std::size_t low, high;
  };

  Indices Bracket(double coordinate) const {
    auto const found = std::lower_bound(m_lines.begin(), m_lines.end(), coordinate);
    if (found == m_lines.end()) return {m_lines.size() - 1, m_lines.size() - 1};
    auto const high = static_cast<std::size_t>(found - m_lines.begin());
    return {*found == coordinate || high == 0 ? high : high - 1, high};
  }
  Point At(std::size_t x, std::size_t y) const { return m_samples[x * m_lines.size() + y]; }
  Point Between(double coordinate, std::size_t low, std::size_t high, Point at_low, Point at_high) const {
    double const from_low = coordinate - m_lines[low];
    double const to_high = m_lines[high] - coordinate;
    double const width = m_lines[high] - m_lines[low];
    return {(from_low * at_high.x + to_high * at_low.x) / width, (from_low * at_high.y + to_high * at_low.y) / width};
  }

  std::vector<double> m_lines;
  std::vector<Point> m_samples;
};

/// A path in steps of a fifth of the grid's distance, as contours have it, or points all over the grid.
std::vector<Point> Points(bool path) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> on_grid(0, Line(kLines - 1));
  std::uniform_real_distribution<double> step(-kDistance / 5, kDistance / 5);
  std::vector<Point> points(100'000);
  Point previous{Line(kLines / 2), Line(kLines / 2)};
  for (Point& point : points) {
    point =
        path ? Point{previous.x + step(random), previous.y + step(random)} : Point{on_grid(random), on_grid(random)};
    previous = point;
  }
  return points;
}

template <class Mapping>
void MapPoints(benchmark::State& state, Mapping const& mapping) {
  std::vector<Point> const points = Points(state.range(0) != 0);
  for (auto _ : state) {
    for (Point point : points) {
      mapping.Transform(point.x, point.y);
      benchmark::DoNotOptimize(point);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(points.size()));
}

void DistortPoints(benchmark::State& state) {
  Table table;
  for (int x = 0; x < kLines; ++x) {
    for (int y = 0; y < kLines; ++y) table.Add({Line(x), Line(y)}, Sample(x, y));
  }
  M2DSliceUtilities::TransformationDistortion distortion;
  distortion.SetLookupTable(table);
  // As callers have it, so that the calls stay virtual.
  std::unique_ptr<M2DSliceUtilities::iTransformation const> const mapping(distortion._Clone());
  MapPoints(state, *mapping);
}

void DistortPointsFlat(benchmark::State& state) {
  MapPoints(state, FlatTable());
}

/// Imports the samples of a square grid, or of a diagonal, where every sample has two grid lines of its own.
void ImportCsv(benchmark::State& state, bool diagonal) {
  long const count = state.range(0);
  long side = 1;
  while (side * side < count) ++side;
  std::vector<std::string> rows;
  for (long i = 0; i < count; ++i) {
    std::string const x = std::to_string(125 * (diagonal ? i : i / side)) + ".5";
    std::string const y = std::to_string(125 * (diagonal ? i : i % side)) + ".5";
    rows.push_back(x + "," + y + "," + x + "," + y + "\n");
  }
  if (diagonal) std::shuffle(rows.begin(), rows.end(), std::mt19937(1));
  std::string text;
  for (std::string const& row : rows) text += row;
  for (auto _ : state) {
    std::stringstream csv(text);
    Table table;
    table.ImportFromCsv(csv);
    benchmark::DoNotOptimize(table);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void ImportGridCsv(benchmark::State& state) {
  ImportCsv(state, false);
}
void ImportDiagonalCsv(benchmark::State& state) {
  ImportCsv(state, true);
}

BENCHMARK(DistortPoints)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(DistortPointsFlat)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(ImportGridCsv)->RangeMultiplier(10)->Range(10'000, 1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(ImportDiagonalCsv)->RangeMultiplier(10)->Range(10'000, 1'000'000)->Unit(benchmark::kMillisecond);

bench::Register const scattered(bench::Ratio{"Distort scattered points by a 100 x 100 table / flat arrays",
                                             "DistortPoints/0", "DistortPointsFlat/0", "<= 2"});
bench::Register const on_path(bench::Ratio{"Distort points of a path by a 100 x 100 table / flat arrays",
                                           "DistortPoints/1", "DistortPointsFlat/1", "<= 2"});
bench::Register const grid(bench::Growth{
    "Import a distortion table, square grid", "ImportGridCsv", {10'000, 100'000, 1'000'000}});
bench::Register const diagonal(bench::Growth{
    "Import a distortion table, diagonal", "ImportDiagonalCsv", {10'000, 100'000, 1'000'000}});

}  // namespace
