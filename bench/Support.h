#pragma once

#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>

#include "Child.h"
#include "Report.h"

/// What several benchmark files share.
namespace bench {

template <class Function>
double Seconds(Function&& function) {
  auto const start = std::chrono::steady_clock::now();
  function();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Megabytes(long bytes) {
  return static_cast<double>(bytes) / 1e6;
}
inline double Gigabytes(long bytes) {
  return static_cast<double>(bytes) / 1e9;
}

[[gnu::format(printf, 1, 2)]] inline std::string Format(char const* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

/// The record that elements are copied from: one index and one flag, as producers set them.
inline M2DSliceVectorTypeInfo const& Prototype() {
  static M2DSliceVectorTypeInfo const prototype = [] {
    M2DSliceVectorTypeInfo info(e2DSliceVectorType::Border);
    info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 1);
    info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
    return info;
  }();
  return prototype;
}

inline void RunChild(benchmark::State& state, char const* name) {
  for (auto _ : state) {
    try {
      AddFigure(std::string(name) + ": " + RunInChild(name));
    } catch (std::exception const& error) {
      AddFigure(std::string(name) + ": FAILED, " + error.what());
      state.SkipWithError(error.what());
      break;
    }
  }
}

#define BENCH_CHILD(function, name)        \
  void function(benchmark::State& state) { \
    bench::RunChild(state, name);          \
  }                                        \
  BENCHMARK(function)->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond)->UseRealTime()

}  // namespace bench
