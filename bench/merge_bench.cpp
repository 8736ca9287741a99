#include <SliceData/slice_stack/M2DSliceSourceVector.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

#include "Report.h"

namespace {

constexpr long kSources = 8;

/// Heights without slices.
class Heights final : public ISource2DSlices {
 public:
  std::vector<long> heights;

 protected:
  long _OnGetSliceThickness() const override { return 0; }
  PersistentProperties const& _OnGetProperties() const override { return m_properties; }
  MSliceFileParameters const& _OnGetSliceParameters() const override { return m_parameters; }
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override { return m_io_parameters; }
  M2DSliceXYArea _OnGetXYArea() const override { return {}; }
  bool _AllowsRandomAccess() const override { return true; }
  unsigned long _OnGetNumSlices() const override { return heights.size(); }
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override { return M2DSliceZArea(heights[index]); }
  void _OnGetSlice(M2DSlice&, unsigned long) const override {}

 private:
  PersistentProperties m_properties;
  MSliceFileParameters m_parameters;
  M2DSliceIOParameters m_io_parameters;
};

/// As many slices in all, in sources with steps of their own, so that some heights meet and most do not.
std::vector<Heights> MakeSources(long num_slices) {
  std::vector<Heights> sources(kSources);
  for (long s = 0; s < kSources; ++s) {
    for (long i = 0; i < num_slices / kSources; ++i)
      sources[static_cast<std::size_t>(s)].heights.push_back(i * (300 + s));
  }
  return sources;
}

void MergeHeights(benchmark::State& state) {
  std::vector<Heights> const sources = MakeSources(state.range(0));
  for (auto _ : state) {
    auto merged = std::make_unique<M2DSliceSourceVector>();
    for (Heights const& source : sources) merged->AddSource(&source);
    benchmark::DoNotOptimize(merged->StartGettingSlices());
    state.PauseTiming();
    merged.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(MergeHeights)->Arg(1000)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void SortHeights(benchmark::State& state) {
  std::vector<Heights> const sources = MakeSources(state.range(0));
  for (auto _ : state) {
    std::vector<long> all;
    for (Heights const& source : sources) all.insert(all.end(), source.heights.begin(), source.heights.end());
    std::sort(all.begin(), all.end());
    benchmark::DoNotOptimize(all.data());
  }
}
BENCHMARK(SortHeights)->Arg(1000)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

bench::Register const growth(bench::Growth{
    "merge sources, per slice", "MergeHeights", {1000, 10'000, 100'000, 1'000'000}});
bench::Register const limit_growth(bench::Growth{
    "sort the same heights, per slice", "SortHeights", {1000, 10'000, 100'000, 1'000'000}});
bench::Register const ratio(bench::Ratio{"merge of 8 sources with 100,000 slices in all / sort of their heights",
                                         "MergeHeights/100000", "SortHeights/100000", "a few"});

}  // namespace
