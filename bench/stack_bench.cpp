#include <SliceData/slice_stack/M2DSliceStack.h>

#include <benchmark/benchmark.h>
#include <vector>

#include "Report.h"

namespace {

void BuildStackUpward(benchmark::State& state) {
  for (auto _ : state) {
    M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
    for (long i = 0; i < state.range(0); ++i) stack.AddSlicePosition(i);
    benchmark::DoNotOptimize(stack.GetSlice(0));
    state.PauseTiming();
    stack.Clear();
    state.ResumeTiming();
  }
}
BENCHMARK(BuildStackUpward)->Arg(1000)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
bench::Register const growth(bench::Growth{
    "build a stack upward, per slice", "BuildStackUpward", {1000, 10'000, 100'000, 1'000'000}});

/// Every second slice is looked at by its index and leaves.
void RemoveWhileReading(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
    for (long i = 0; i < 2 * state.range(0); ++i) stack.AddSlicePosition(i);
    state.ResumeTiming();
    for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
      stack.RemoveSlicePosition(stack.GetSlice(i)->GetZArea().GetZ());
    }
    state.PauseTiming();
    stack.Clear();
    state.ResumeTiming();
  }
}
BENCHMARK(RemoveWhileReading)->Arg(1000)->Arg(10'000)->Arg(100'000)->Arg(500'000)->Unit(benchmark::kMillisecond);
bench::Register const removal(bench::Growth{"look at slices by index and remove every second, per removal",
                                            "RemoveWhileReading",
                                            {1000, 10'000, 100'000, 500'000}});

constexpr long kSlices = 100'000;

void GetSliceByIndex(benchmark::State& state) {
  static M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  for (long i = 0; i < kSlices; ++i) stack.AddSlicePosition(i);
  for (auto _ : state) {
    for (unsigned long i = 0; i < kSlices; ++i) benchmark::DoNotOptimize(stack.GetSlice(i));
  }
}
BENCHMARK(GetSliceByIndex)->Unit(benchmark::kMicrosecond);

void ReadArrayOfPointers(benchmark::State& state) {
  std::vector<boost::shared_ptr<long>> pointers(kSlices);
  for (auto _ : state) {
    for (unsigned long i = 0; i < kSlices; ++i) benchmark::DoNotOptimize(pointers[i].get());
  }
}
BENCHMARK(ReadArrayOfPointers)->Unit(benchmark::kMicrosecond);
bench::Register const by_index(bench::Ratio{"GetSlice(i) of 100,000 slices / reads of an array of shared pointers",
                                            "GetSliceByIndex", "ReadArrayOfPointers", "a few"});

}  // namespace
