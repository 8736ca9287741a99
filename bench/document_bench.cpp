#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Support.h"

// Stack documents: saved and loaded, beside the plain bytes and beside the making of the same slices from memory. Every
// timed round comes right after an untimed one of the same kind.

namespace {

using bench::Format;
using bench::Gigabytes;
using bench::Megabytes;
using bench::Seconds;

constexpr auto kInMemory = e2DSliceStackCachingType::NoTempFiles;
constexpr auto kPaged = e2DSliceStackCachingType::MultipleTempFiles;

/// Where documents are written: a disk, not memory.
std::string GetPath() {
  char const* const wish = std::getenv("TMPDIR");
  return (wish != nullptr ? std::string(wish) : "/var/tmp") + "/slicedata-bench-" + std::to_string(::getpid()) +
         ".slicestack";
}

class Document {
 public:
  ~Document() { std::filesystem::remove(path); }
  std::string const path = GetPath();
};

void FillSlice(M2DSliceStack& stack, long slice, long num_contours, long points_of_contour) {
  auto border = stack.AddSlicePosition(300 * slice)->GetBorderUpdate();
  for (long i = 0; i < num_contours; ++i) {
    M2DSliceContour& contour = border->AddContour();
    contour.SetVectorTypeInfo(bench::Prototype());
    for (long k = 0; k < points_of_contour; ++k) contour.AddPoint(1000 * i + 100 * (k % 97), slice + 100 * (k % 89));
  }
}

std::unique_ptr<M2DSliceStack> MakeStack(e2DSliceStackCachingType type, long num_slices, long num_contours,
                                         long points_of_contour) {
  auto stack = std::make_unique<M2DSliceStack>(type);
  for (long i = 0; i < num_slices; ++i) FillSlice(*stack, i, num_contours, points_of_contour);
  return stack;
}

template <class Function>
void Measure(benchmark::State& state, Function const& function) {
  function();
  for (auto _ : state) state.SetIterationTime(function());
}

// Contours of ordinary parts, 500 MB of coordinates, and those that are bound by tags.

struct Long {
  static constexpr long kPoints = 100;
  static constexpr long kContours = 1000;
  static constexpr long kSlices = 640;
};
struct Medium {  ///< as the long ones, in less memory
  static constexpr long kPoints = 100;
  static constexpr long kContours = 1000;
  static constexpr long kSlices = 64;
};
struct Short {
  static constexpr long kPoints = 8;
  static constexpr long kContours = 10'000;
  static constexpr long kSlices = 100;
};

template <class Kind>
void PlainWrite(benchmark::State& state) {
  std::vector<char> const bytes(256 << 10, 'b');
  Measure(state, [&] {
    Document const document;
    int const descriptor = ::open(document.path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    double const seconds = Seconds([&] {
      for (long left = 8 * Kind::kPoints * Kind::kContours * Kind::kSlices; left > 0;) {
        ssize_t const written =
            ::write(descriptor, bytes.data(), std::min(bytes.size(), static_cast<std::size_t>(left)));
        if (written <= 0) throw std::system_error(errno, std::generic_category(), "write");
        left -= written;
      }
      if (::fdatasync(descriptor) != 0) throw std::system_error(errno, std::generic_category(), "fdatasync");
    });
    ::close(descriptor);
    return seconds;
  });
}

template <class Kind>
void Build(benchmark::State& state) {
  auto const type = static_cast<e2DSliceStackCachingType>(state.range(0));
  Measure(state, [&] {
    std::unique_ptr<M2DSliceStack> stack;
    return Seconds([&] { stack = MakeStack(type, Kind::kSlices, Kind::kContours, Kind::kPoints); });
  });
}

template <class Kind>
void Save(benchmark::State& state) {
  auto const stack =
      MakeStack(static_cast<e2DSliceStackCachingType>(state.range(0)), Kind::kSlices, Kind::kContours, Kind::kPoints);
  Measure(state, [&] {
    Document const document;
    return Seconds([&] { SliceFormats::WriteStackDocument(document.path, *stack); });
  });
}

template <class Kind>
void Load(benchmark::State& state) {
  auto const type = static_cast<e2DSliceStackCachingType>(state.range(0));
  Document const document;
  SliceFormats::WriteStackDocument(document.path, *MakeStack(kPaged, Kind::kSlices, Kind::kContours, Kind::kPoints));
  Measure(state, [&] {
    M2DSliceStack stack(type);
    return Seconds([&] { SliceFormats::ReadStackDocument(document.path, stack); });
  });
}

#define BENCH_KIND(function, kind)   \
  BENCHMARK_TEMPLATE(function, kind) \
      ->Arg(int(kInMemory))          \
      ->Arg(int(kPaged))             \
      ->UseManualTime()              \
      ->Iterations(2)                \
      ->Unit(benchmark::kMillisecond)

BENCHMARK_TEMPLATE(PlainWrite, Long)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);
BENCH_KIND(Build, Medium);
BENCH_KIND(Save, Long);
BENCH_KIND(Load, Medium);
BENCH_KIND(Build, Short);
BENCH_KIND(Save, Short);
BENCH_KIND(Load, Short);

/// The points of all short contours, in one.
void AppendPoints(benchmark::State& state) {
  Measure(state, [&] {
    M2DSliceContourLayer layer;
    M2DSliceContour& contour = layer.AddContour();
    return Seconds([&] {
      for (long i = 0; i < Short::kPoints * Short::kContours * Short::kSlices; ++i) contour.AddPoint(i, -i);
    });
  });
}
BENCHMARK(AppendPoints)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

/// Points of a stack with contours of 100; a slice has ten contours.
void SaveGrowth(benchmark::State& state) {
  auto const stack = MakeStack(kInMemory, state.range(0) / 1000, 10, 100);
  Measure(state, [&] {
    Document const document;
    return Seconds([&] { SliceFormats::WriteStackDocument(document.path, *stack); });
  });
}
void LoadGrowth(benchmark::State& state) {
  Document const document;
  SliceFormats::WriteStackDocument(document.path, *MakeStack(kInMemory, state.range(0) / 1000, 10, 100));
  Measure(state, [&] {
    M2DSliceStack stack(kInMemory);
    return Seconds([&] { SliceFormats::ReadStackDocument(document.path, stack); });
  });
}

/// One slice in the middle of documents with more and more slices, and what it takes to open them.
void OpenSource(benchmark::State& state) {
  Document const document;
  SliceFormats::WriteStackDocument(document.path, *MakeStack(kInMemory, state.range(0), 10, 20));
  for (auto _ : state) benchmark::DoNotOptimize(SliceFormats::StackDocumentSource(document.path).GetNumSlices());
}
void ReadOneSlice(benchmark::State& state) {
  Document const document;
  SliceFormats::WriteStackDocument(document.path, *MakeStack(kInMemory, state.range(0), 10, 20));
  for (auto _ : state) {
    state.PauseTiming();
    SliceFormats::StackDocumentSource const source(document.path);
    state.ResumeTiming();
    benchmark::DoNotOptimize(source.GetSlice(source.GetNumSlices() / 2));
  }
}

BENCHMARK(SaveGrowth)->RangeMultiplier(10)->Range(10'000, 10'000'000)->UseManualTime()->Iterations(3);
BENCHMARK(LoadGrowth)->RangeMultiplier(10)->Range(10'000, 10'000'000)->UseManualTime()->Iterations(3);
BENCHMARK(OpenSource)->RangeMultiplier(10)->Range(1000, 100'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadOneSlice)->RangeMultiplier(10)->Range(1000, 100'000)->Iterations(20)->Unit(benchmark::kMicrosecond);

std::string SaveAndLoadLargeStack() {
  constexpr long slices = 1000;
  constexpr long contours_of_slice = 720;
  constexpr long points_of_contour = 100;
  constexpr long bytes = slices * contours_of_slice * points_of_contour * long{sizeof(M2DSliceContourPoint)};
  constexpr long records = slices * contours_of_slice * long{sizeof(M2DSliceComponentContours::ContourOnDisk)};
  constexpr long limit = 300'000'000;
  Document const document;
  auto stack = MakeStack(kPaged, slices, contours_of_slice, points_of_contour);
  double const saving = Seconds([&] { SliceFormats::WriteStackDocument(document.path, *stack); });
  stack = std::make_unique<M2DSliceStack>(kPaged);
  double const loading = Seconds([&] { SliceFormats::ReadStackDocument(document.path, *stack); });
  M2DSliceContourLayer const& border = std::as_const(*stack).GetSlice(slices - 1)->GetBorder();
  if (stack->GetSize() != slices || border.GetCount() != contours_of_slice ||
      border.GetLast()->GetFirstPoint()->x != 1000 * (contours_of_slice - 1)) {
    throw std::runtime_error("what was loaded is not what was saved");
  }
  long const peak = bench::PeakResidentBytes();
  if (peak - records > limit) {
    throw std::runtime_error(
        Format("%.0f MB were resident, %.0f MB of them records", Megabytes(peak), Megabytes(records)));
  }
  return Format(
      "%.1f GB: peak %.0f MB resident, %.0f MB of them records (the rest: goal below 300); save %.1f GB/s, load %.1f",
      Gigabytes(bytes), Megabytes(peak), Megabytes(records), Gigabytes(bytes) / saving, Gigabytes(bytes) / loading);
}

bench::Child const child("a large stack saved and loaded, multiple", SaveAndLoadLargeStack);
BENCH_CHILD(LargeStackDocument, "a large stack saved and loaded, multiple");

std::string Name(char const* function, char const* kind, e2DSliceStackCachingType type) {
  return Format("%s<%s>/%d", function, kind, int(type));
}

bench::Register const results[] = {
    bench::Register(bench::Ratio{"save, 100 points, in memory / plain write, both synced",
                                 Name("Save", "Long", kInMemory), "PlainWrite<Long>", "<= 2.5"}),
    bench::Register(bench::Ratio{"save, 100 points, paged out / plain write, both synced", Name("Save", "Long", kPaged),
                                 "PlainWrite<Long>", "<= 2.5"}),
    bench::Register(bench::Ratio{"load, 100 points, in memory / build from memory", Name("Load", "Medium", kInMemory),
                                 Name("Build", "Medium", kInMemory), "<= 2.5"}),
    bench::Register(bench::Ratio{"load, 100 points, pushed to disk / build from memory, paged",
                                 Name("Load", "Medium", kPaged), Name("Build", "Medium", kPaged), "<= 2.5"}),
    bench::Register(bench::Ratio{"save 10^6 contours of 8 points / append as many points",
                                 Name("Save", "Short", kInMemory), "AppendPoints", "<= 37"}),
    bench::Register(bench::Ratio{"load 10^6 contours of 8 points / append as many points",
                                 Name("Load", "Short", kInMemory), "AppendPoints", "<= 62"}),
    bench::Register(bench::Growth{"save, ns a point", "SaveGrowth", {10'000, 100'000, 1'000'000, 10'000'000}}),
    bench::Register(bench::Growth{"load, ns a point", "LoadGrowth", {10'000, 100'000, 1'000'000, 10'000'000}}),
};

}  // namespace
