#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <random>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Support.h"

// The way to the scratch files and back. Every timed round comes right after an untimed one of the same kind, since the
// first use of a page, of memory or of the page cache, can cost many times a later one.

namespace {

using bench::Prototype;
using bench::Seconds;
using TempFile = boost::shared_ptr<M2DSliceTempFile>;

constexpr long kMebi = 1 << 20;
constexpr std::size_t kPieceOfPlainWrite = 256 << 10;
/// In memory as points of contours, what the shared block pool keeps for the next slice.
constexpr long kItemsOfSlice = 100'000;

void Check(bool succeeded, char const* what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

TempFile MakeTempFile() {
  return boost::make_shared<M2DSliceTempFile>(0, 0, std::string());
}

/// A descriptor of its own for a scratch file, for what the library has no call for.
class Descriptor {
 public:
  explicit Descriptor(TempFile const& file) : m_descriptor(::open(file->GetFileName().c_str(), O_WRONLY | O_CLOEXEC)) {
    Check(m_descriptor >= 0, "open");
  }
  ~Descriptor() { ::close(m_descriptor); }
  Descriptor(Descriptor const&) = delete;
  Descriptor& operator=(Descriptor const&) = delete;

  void Write(char const* bytes, std::size_t count) const {
    while (count > 0) {
      ssize_t const written = ::write(m_descriptor, bytes, std::min(count, kPieceOfPlainWrite));
      Check(written > 0, "write");
      bytes += written;
      count -= static_cast<std::size_t>(written);
    }
  }
  void Sync() const { Check(::fdatasync(m_descriptor) == 0, "fdatasync"); }

 private:
  int m_descriptor;
};

/// Some place for the i-th item. Rings of about a millimetre, so that the points of a contour stay close together.
M2DSlicePoint PointAt(long i) {
  return {1'000'000 + 100 * (i % 97), -500'000 + 100 * (i % 89)};
}

void Append(M2DSliceContourLayer& layer, M2DSlicePoint const* points, long count) {
  M2DSliceContour& contour = layer.AddContour();
  contour.SetVectorTypeInfo(Prototype());
  for (long i = 0; i < count; ++i) contour.AddPoint(points[i].x, points[i].y);
}

/// A buffer of points that is large enough to come from memory, of which slices are filled.
std::vector<M2DSlicePoint> const& SourcePoints() {
  static auto const* const points = [] {
    auto* const made = new std::vector<M2DSlicePoint>(100 * kItemsOfSlice);
    for (long i = 0; i < 100 * kItemsOfSlice; ++i) (*made)[static_cast<std::size_t>(i)] = PointAt(i);
    return made;
  }();
  return *points;
}

M2DSlicePoint const* SourceOfSlice(long slice) {
  return SourcePoints().data() + (slice % 100) * kItemsOfSlice;
}

// The three kinds of content: how a slice of kItemsOfSlice items is filled, and how one item is read by itself.

struct Contours {
  static constexpr long kBytesOfItem = 8;
  static constexpr long kItemsOfElement = 100;
  static M2DSliceComponentContours& Component(M2DSlice& slice) { return slice.GetBorderComponent(); }
  static void Fill(M2DSliceContourLayer& layer, M2DSlicePoint const* points) {
    for (long i = 0; i < kItemsOfSlice; i += kItemsOfElement) Append(layer, points + i, kItemsOfElement);
  }
  static unsigned long NumElements(M2DSliceComponentContours const& component) { return component.GetNumContours(); }
  static unsigned long NumItems(M2DSliceComponentContours const& component, unsigned long element) {
    return component.GetNumPoints(element);
  }
  static long ReadItem(M2DSliceComponentContours const& component, unsigned long element, unsigned long item) {
    long x, y;
    component.GetContourPoint(element, item, x, y);
    return x + y;
  }
};

struct Vectors {
  static constexpr long kBytesOfItem = 16;
  static constexpr long kItemsOfElement = 1000;
  static M2DSliceComponentVectors& Component(M2DSlice& slice) { return slice.GetVectorsComponent(); }
  static void Fill(M2DSliceVectorLayer& layer, M2DSlicePoint const* points) {
    for (long i = 0; i < kItemsOfSlice; i += kItemsOfElement) {
      M2DSliceVectorBlock& block = layer.AddVectorBlock();
      block.SetVectorTypeInfo(Prototype());
      for (long j = i; j < i + kItemsOfElement; ++j)
        block.push_back({points[j].x, points[j].y, -points[j].x, -points[j].y});
    }
  }
  static unsigned long NumElements(M2DSliceComponentVectors const& component) { return component.GetNumVectorBlocks(); }
  static unsigned long NumItems(M2DSliceComponentVectors const& component, unsigned long element) {
    return component.GetNumVectors(element);
  }
  static long ReadItem(M2DSliceComponentVectors const& component, unsigned long element, unsigned long item) {
    long x1, y1, x2, y2;
    component.GetVector(element, item, x1, y1, x2, y2);
    return x1 + y1 + x2 + y2;
  }
};

struct Points {
  static constexpr long kBytesOfItem = 8;
  static constexpr long kItemsOfElement = 1000;
  static M2DSliceComponentPoints& Component(M2DSlice& slice) { return slice.GetPointsComponent(); }
  static void Fill(M2DSlicePointLayer& layer, M2DSlicePoint const* points) {
    for (long i = 0; i < kItemsOfSlice; i += kItemsOfElement) {
      M2DSlicePointBlock& block = layer.AddPointBlock();
      block.SetVectorTypeInfo(Prototype());
      for (long j = i; j < i + kItemsOfElement; ++j) block.push_back(points[j]);
    }
  }
  static unsigned long NumElements(M2DSliceComponentPoints const& component) { return component.GetNumPointBlocks(); }
  static unsigned long NumItems(M2DSliceComponentPoints const& component, unsigned long element) {
    return component.GetNumPoints(element);
  }
  static long ReadItem(M2DSliceComponentPoints const& component, unsigned long element, unsigned long item) {
    long x, y;
    component.GetPoint(element, item, x, y);
    return x + y;
  }
};

using Slices = std::vector<std::unique_ptr<M2DSlice>>;

/// Slices in memory that take `bytes` on disk.
template <class Kind>
Slices FilledSlices(long bytes) {
  Slices slices;
  for (long i = 0; i < bytes / (kItemsOfSlice * Kind::kBytesOfItem); ++i) {
    slices.push_back(std::make_unique<M2DSlice>(i));
    Kind::Fill(Kind::Component(*slices.back()).GetData(), SourceOfSlice(i));
  }
  return slices;
}

template <class Kind>
double PageOutRound(long bytes, bool sync) {
  Slices slices = FilledSlices<Kind>(bytes);
  TempFile file = MakeTempFile();
  Descriptor const descriptor(file);
  return Seconds([&] {
    for (auto const& slice : slices) Kind::Component(*slice).ValidateDiskState(file);
    Check(file->GetFile().FLUSH(), "flush");
    if (sync) descriptor.Sync();
  });
}

double PlainWriteRound(long bytes, bool sync) {
  static std::vector<char> flat;
  auto const size = static_cast<std::size_t>(bytes);
  for (std::size_t i = flat.size(); i < size; ++i) flat.push_back(static_cast<char>(i * i >> 7));
  TempFile const file = MakeTempFile();
  Descriptor const descriptor(file);
  return Seconds([&] {
    descriptor.Write(flat.data(), size);
    if (sync) descriptor.Sync();
  });
}

template <class Round>
void RunRounds(benchmark::State& state, bool sync, Round&& round) {
  long const bytes = state.range(0) * kMebi;
  for (auto _ : state) {
    round(bytes, false);
    state.SetIterationTime(round(bytes, sync));
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}

void PageOutContours(benchmark::State& state) {
  RunRounds(state, false, PageOutRound<Contours>);
}
void PageOutVectors(benchmark::State& state) {
  RunRounds(state, false, PageOutRound<Vectors>);
}
void PageOutPoints(benchmark::State& state) {
  RunRounds(state, false, PageOutRound<Points>);
}
void PlainWrite(benchmark::State& state) {
  RunRounds(state, false, PlainWriteRound);
}
void PageOutContoursSynced(benchmark::State& state) {
  RunRounds(state, true, PageOutRound<Contours>);
}
void PlainWriteSynced(benchmark::State& state) {
  RunRounds(state, true, PlainWriteRound);
}

BENCHMARK(PageOutContours)->Arg(128)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageOutVectors)->Arg(128)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageOutPoints)->Arg(128)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PlainWrite)->Arg(128)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageOutContoursSynced)->Arg(512)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PlainWriteSynced)->Arg(512)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

bench::Register const out_synced(bench::Ratio{
    "page out 512 MiB of contours / write() of the bytes, fdatasync on both sides", "PageOutContoursSynced/512",
    "PlainWriteSynced/512", "<= 1.33"});
bench::Register const out_contours(bench::Ratio{"page out 128 MiB of contours / write(), into the page cache",
                                                "PageOutContours/128", "PlainWrite/128", "<= 3.33"});
bench::Register const out_vectors(bench::Ratio{"page out 128 MiB of vectors / write(), into the page cache",
                                               "PageOutVectors/128", "PlainWrite/128", "<= 2"});
bench::Register const out_points(bench::Ratio{"page out 128 MiB of points / write(), into the page cache",
                                              "PageOutPoints/128", "PlainWrite/128", "<= 2"});

constexpr long kSlicesToRead = 200;
constexpr long kItemsToRead = kSlicesToRead * kItemsOfSlice;

/// Slices on disk, written once, with nothing in memory.
template <class Kind>
Slices& SlicesOnDisk() {
  static TempFile* const file = new TempFile(MakeTempFile());
  static auto* const slices = [] {
    auto* const made = new Slices;
    for (long i = 0; i < kSlicesToRead; ++i) {
      made->push_back(std::make_unique<M2DSlice>(i));
      auto& component = Kind::Component(*made->back());
      Kind::Fill(component.GetData(), SourceOfSlice(i));
      component.ValidateDiskState(*file);
    }
    Check((*file)->GetFile().FLUSH(), "flush");
    return made;
  }();
  return *slices;
}

/// Times `read` on one slice after the other, and not what `forget` does to make room again.
template <class Read, class Forget>
void ReadSlices(benchmark::State& state, Read&& read, Forget&& forget) {
  for (auto _ : state) {
    double seconds = 0;
    for (long i = -1; i < kSlicesToRead; ++i) {
      auto const slice = static_cast<std::size_t>(std::max(i, 0L));
      double const taken = Seconds([&] { read(slice); });
      forget(slice);
      if (i >= 0) seconds += taken;
    }
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(state.iterations() * kItemsToRead);
}

/// Looks at every value through the getters for single items.
template <class Kind, class Component>
void SumOneByOne(Component const& component) {
  long sum = 0;
  for (unsigned long element = 0; element < Kind::NumElements(component); ++element) {
    unsigned long const count = Kind::NumItems(component, element);
    for (unsigned long item = 0; item < count; ++item) sum += Kind::ReadItem(component, element, item);
  }
  benchmark::DoNotOptimize(sum);
}

template <class Kind>
void PageIn(benchmark::State& state, Slices& slices) {
  ReadSlices(
      state, [&](std::size_t i) { Kind::Component(*slices[i]).ValidateData(); },
      [&](std::size_t i) { Kind::Component(*slices[i]).InvalidateData(); });
}

/// Paging in, and a look at every value then: what reading them one by one from disk stands for.
template <class Kind>
void PageInAndReadOneByOne(benchmark::State& state) {
  Slices& slices = SlicesOnDisk<Kind>();
  ReadSlices(
      state,
      [&](std::size_t i) {
        Kind::Component(*slices[i]).ValidateData();
        SumOneByOne<Kind>(Kind::Component(*slices[i]));
      },
      [&](std::size_t i) { Kind::Component(*slices[i]).InvalidateData(); });
}

void PageInContours(benchmark::State& state) {
  PageIn<Contours>(state, SlicesOnDisk<Contours>());
}
void PageInVectors(benchmark::State& state) {
  PageIn<Vectors>(state, SlicesOnDisk<Vectors>());
}
void PageInPoints(benchmark::State& state) {
  PageIn<Points>(state, SlicesOnDisk<Points>());
}

/// The same slices under a chain of one rotation.
void PageInContoursRotated(benchmark::State& state) {
  struct Rotated : Contours {};
  static bool const rotated = [] {
    M2DSliceUtilities::TransformationMatrix matrix;
    matrix.MakeRotation(30);
    for (auto const& slice : SlicesOnDisk<Rotated>()) Rotated::Component(*slice).Transform(matrix);
    return true;
  }();
  benchmark::DoNotOptimize(rotated);
  PageIn<Rotated>(state, SlicesOnDisk<Rotated>());
}

/// Fresh contours from an array of points.
void AppendToFreshContours(benchmark::State& state) {
  std::unique_ptr<M2DSliceContourLayer> layer;
  ReadSlices(
      state,
      [&](std::size_t i) {
        layer = std::make_unique<M2DSliceContourLayer>();
        Contours::Fill(*layer, SourceOfSlice(static_cast<long>(i)));
      },
      [&](std::size_t) { layer.reset(); });
}

template <class Kind>
void ReadOneByOne(benchmark::State& state) {
  Slices& slices = SlicesOnDisk<Kind>();
  ReadSlices(
      state, [&](std::size_t i) { SumOneByOne<Kind>(Kind::Component(*slices[i])); }, [](std::size_t) {});
}

void PageInAndReadContourPoints(benchmark::State& state) {
  PageInAndReadOneByOne<Contours>(state);
}
void PageInAndReadVectors(benchmark::State& state) {
  PageInAndReadOneByOne<Vectors>(state);
}
void PageInAndReadPoints(benchmark::State& state) {
  PageInAndReadOneByOne<Points>(state);
}
void ReadContourPointsOneByOne(benchmark::State& state) {
  ReadOneByOne<Contours>(state);
}
void ReadVectorsOneByOne(benchmark::State& state) {
  ReadOneByOne<Vectors>(state);
}
void ReadPointsOneByOne(benchmark::State& state) {
  ReadOneByOne<Points>(state);
}

BENCHMARK(PageInContours)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInContoursRotated)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(AppendToFreshContours)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInVectors)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInPoints)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInAndReadContourPoints)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInAndReadVectors)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PageInAndReadPoints)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ReadContourPointsOneByOne)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ReadVectorsOneByOne)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ReadPointsOneByOne)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

bench::Register const in_plain(bench::Ratio{"page in 20 M contour points / append them to fresh contours",
                                            "PageInContours", "AppendToFreshContours", "<= 1.2"});
bench::Register const in_rotated(bench::Ratio{"the same with one matrix in the chain", "PageInContoursRotated",
                                              "AppendToFreshContours", "<= 1.4"});
bench::Register const one_contours(bench::Ratio{"20 M contour points one by one from disk / page in",
                                                "ReadContourPointsOneByOne", "PageInContours", "<= 1"});
bench::Register const one_vectors(bench::Ratio{"20 M vectors one by one from disk / page in", "ReadVectorsOneByOne",
                                               "PageInVectors", "<= 1"});
bench::Register const one_points(bench::Ratio{"20 M points one by one from disk / page in", "ReadPointsOneByOne",
                                              "PageInPoints", "<= 1"});

bench::Register const both_contours(bench::Ratio{"20 M contour points one by one from disk / page in and read them",
                                                 "ReadContourPointsOneByOne", "PageInAndReadContourPoints", "<= 1"});
bench::Register const both_vectors(bench::Ratio{"20 M vectors one by one from disk / page in and read them",
                                                "ReadVectorsOneByOne", "PageInAndReadVectors", "<= 1"});
bench::Register const both_points(bench::Ratio{"20 M points one by one from disk / page in and read them",
                                               "ReadPointsOneByOne", "PageInAndReadPoints", "<= 1"});

constexpr long kSmallRecords = 20'000;
constexpr long kRandomReads = 10'000;

/// Slices of one contour of four points each, with other bytes between their records, so that the file has 1 GB.
Slices& SmallRecordsInLargeFile() {
  static TempFile* const file = new TempFile(MakeTempFile());
  static auto* const slices = [] {
    auto* const made = new Slices;
    std::vector<char> const between(1'000'000'000 / kSmallRecords, 'x');
    for (long i = 0; i < kSmallRecords; ++i) {
      made->push_back(std::make_unique<M2DSlice>(i));
      auto& component = made->back()->GetBorderComponent();
      Append(component.GetData(), SourceOfSlice(i), 4);
      component.ValidateDiskState(*file);
      (*file)->InitForWriting();
      (*file)->GetFile().WRITE(between.data(), between.size());
    }
    Check((*file)->GetFile().FLUSH(), "flush");
    return made;
  }();
  return *slices;
}

/// Times `read` on slices taken at random.
template <class Read>
void ReadAtRandom(benchmark::State& state, Read&& read) {
  Slices const& slices = SmallRecordsInLargeFile();
  std::minstd_rand random(1);
  auto const round = [&] {
    for (long i = 0; i < kRandomReads; ++i) read(*slices[random() % slices.size()]);
  };
  for (auto _ : state) {
    round();
    state.SetIterationTime(Seconds(round) / kRandomReads);
  }
}

void PageInAtRandom(benchmark::State& state) {
  ReadAtRandom(state, [](M2DSlice& slice) {
    slice.GetBorderComponent().ValidateData();
    slice.GetBorderComponent().InvalidateData();
  });
}

void ReadContourAtRandom(benchmark::State& state) {
  ReadAtRandom(state, [](M2DSlice& slice) {
    long sum = 0;
    for (unsigned long i = 0; i < 4; ++i) sum += Contours::ReadItem(slice.GetBorderComponent(), 0, i);
    benchmark::DoNotOptimize(sum);
  });
}

/// The same places of the same file, a page each.
void PlainReadAtRandom(benchmark::State& state) {
  auto const& file = SmallRecordsInLargeFile().front()->GetBorderComponent().GetTempFile();
  int const descriptor = ::open(file->GetFileName().c_str(), O_RDONLY | O_CLOEXEC);
  Check(descriptor >= 0, "open");
  ReadAtRandom(state, [&](M2DSlice& slice) {
    char page[4096];
    Check(::pread(descriptor, page, sizeof page, slice.GetBorderComponent().GetFilePosition()) > 0, "pread");
    benchmark::DoNotOptimize(page);
  });
  ::close(descriptor);
}

BENCHMARK(PageInAtRandom)->Iterations(5)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadContourAtRandom)->Iterations(5)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainReadAtRandom)->Iterations(5)->UseManualTime()->Unit(benchmark::kMicrosecond);

bench::Register const random_in(bench::Ratio{
    "page in one of 20,000 small slices at random, 1 GB file / pread() of a page", "PageInAtRandom",
    "PlainReadAtRandom", "a few us"});
bench::Register const random_cursor(bench::Ratio{"read its four points without paging in / pread() of a page",
                                                 "ReadContourAtRandom", "PlainReadAtRandom", "a few us"});

/// A walk up a stack of small slices, two after an untimed one: most slices are paged in, and others out, all the way.
void WalkSmallSlices(benchmark::State& state, e2DSliceStackCachingType caching_type) {
  constexpr long thickness = 300;
  M2DSliceStack stack(caching_type);
  for (long i = 0; i < state.range(0); ++i) {
    auto border = stack.AddSlicePosition(i * thickness)->GetBorderUpdate();
    Append(*border, SourceOfSlice(i), 4);
  }
  auto const walk = [&] {
    long sum = 0;
    for (unsigned long i = 0; i < stack.GetSize(); ++i) {
      for (M2DSliceContour const& contour : std::as_const(stack).GetSlice(i)->GetBorder()) {
        for (M2DSliceContourPoint const& point : contour.GetPoints()) sum += point.x;
      }
    }
    benchmark::DoNotOptimize(sum);
  };
  for (auto _ : state) {
    walk();
    state.SetIterationTime(Seconds(walk));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

#define BENCH_WALK(type)                                    \
  void Walk##type(benchmark::State& state) {                \
    WalkSmallSlices(state, e2DSliceStackCachingType::type); \
  }                                                         \
  BENCHMARK(Walk##type)                                     \
      ->RangeMultiplier(10)                                 \
      ->Range(1000, 1'000'000)                              \
      ->Iterations(1)                                       \
      ->Repetitions(3)                                      \
      ->UseManualTime()                                     \
      ->Unit(benchmark::kMillisecond)

BENCH_WALK(MultipleTempFiles);
BENCH_WALK(SingleTempFile);
BENCH_WALK(ZRange);
BENCH_WALK(NoTempFiles);

std::vector<long> const walk_sizes = {1000, 10'000, 100'000, 1'000'000};
bench::Register const walk_multiple(bench::Growth{"walk up small slices, multiple", "WalkMultipleTempFiles",
                                                  walk_sizes});
bench::Register const walk_single(bench::Growth{"walk up small slices, single", "WalkSingleTempFile", walk_sizes});
bench::Register const walk_z_range(bench::Growth{"walk up small slices, zrange", "WalkZRange", walk_sizes});
bench::Register const walk_none(bench::Growth{"walk up small slices, none (all in memory)", "WalkNoTempFiles",
                                              walk_sizes});

}  // namespace
