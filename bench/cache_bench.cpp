#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>
#include <SliceData/slice_data_cache/FindCachedStacks.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Support.h"

// Databases of cached stacks: searched, opened, and walked through.

namespace {

using namespace SliceDataCaching;
using bench::Format;
using bench::Megabytes;
using bench::Seconds;

/// Where documents are written: a disk, not memory.
class Document {
 public:
  ~Document() { std::filesystem::remove(path); }
  std::string const path = [] {
    char const* const wish = std::getenv("TMPDIR");
    return (wish != nullptr ? std::string(wish) : "/var/tmp") + "/slicedata-bench-" + std::to_string(::getpid()) +
           ".slicedb";
  }();
};

CachedSliceStackKeyInfo MakeKey(MStlRevisionSystem::MIDCard const& part) {
  CachedSliceStackKeyInfo key;
  key.Init(CacheTypeSlicingUniquePart, part, nullptr,
           {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 300});
  return key;
}

/// Gives the key of the last entry.
CachedSliceStackKeyInfo AddEntries(DatabaseCachedSliceStacks& database, long count) {
  CachedSliceStackKeyInfo key;
  for (; count > 0; --count) database.AddCachedSliceStack(key = MakeKey({}));
  return key;
}

void FindCachedStack(benchmark::State& state) {
  DatabaseCachedSliceStacks database(false);
  CachedSliceStackKeyInfo const key = AddEntries(database, state.range(0));
  CachedSliceStackSelectorDefault const selector(&key);
  if (FindSuitedCachedStack(selector) != database.GetAllCachedStacks().back()) state.SkipWithError("not found");
  for (auto _ : state) benchmark::DoNotOptimize(FindSuitedCachedStack(selector));
}
BENCHMARK(FindCachedStack)->RangeMultiplier(10)->Range(1000, 100'000)->Unit(benchmark::kMicrosecond);

/// The same strings are compared as they are, and nothing else.
void CompareStrings(benchmark::State& state) {
  DatabaseCachedSliceStacks database(false);
  CachedSliceStackKeyInfo const key = AddEntries(database, state.range(0));
  std::string const type = CacheTypeSlicingUniquePart;
  std::vector<CachedSliceStack*> const entries = database.GetAllCachedStacks();
  for (auto _ : state) {
    auto const found = std::find_if(entries.begin(), entries.end(), [&](CachedSliceStack const* entry) {
      auto const& property = *entry->m_properties.GetAll().front();
      return property.GetName() == PropertyNameCacheType &&
             static_cast<PersistentProperty<std::string> const&>(property).GetValue() == type &&
             entry->m_id.m_revision == key.m_id.m_revision;
    });
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(CompareStrings)->RangeMultiplier(10)->Range(1000, 100'000)->Unit(benchmark::kMicrosecond);

constexpr long kStacks = 1000;

void AddStack(DatabaseCachedSliceStacks& database, long num_points) {
  auto const stack = boost::make_shared<M2DSliceStack>(e2DSliceStackCachingType::NoTempFiles);
  for (long slice = 0; slice < 10; ++slice) {
    auto border = stack->AddSlicePosition(300 * slice)->GetBorderUpdate();
    M2DSliceContour& contour = border->AddContour();
    contour.SetVectorTypeInfo(bench::Prototype());
    for (long i = 0; i < num_points / 10; ++i) contour.AddPoint(100 * (i % 97), slice + 100 * (i % 89));
  }
  database.AddCachedSliceStack(MakeKey({}))->SetSliceStack({stack}, {}, nullptr);
}

/// A document of `kStacks` stacks with as many points each; of their keys alone for 0.
void WriteDocument(Document const& document, long num_points) {
  DatabaseCachedSliceStacks database(false);
  for (long i = 0; i < kStacks; ++i) {
    AddStack(database, num_points);
    CachedSliceStack& entry = *database.GetAllCachedStacks().back();
    if (num_points == 0) entry.m_data.clear();
    for (auto const& data : entry.m_data) data->ValidateTempFile(true);
    entry.ReleaseLoadedData();
  }
  WriteDatabaseDocument(document.path, database);
}

void OpenDatabase(benchmark::State& state) {
  Document const document;
  WriteDocument(document, state.range(0));
  for (auto _ : state) {
    DatabaseCachedSliceStacks database(false);
    if (!ReadDatabaseDocument(document.path, database)) state.SkipWithError("cannot be read");
  }
}
BENCHMARK(OpenDatabase)->Arg(0)->Arg(1000)->Arg(20'000)->Unit(benchmark::kMillisecond);

std::string WalkDatabase() {
  constexpr long points = 20'000;
  constexpr long limit = 60'000'000;
  Document const document;
  WriteDocument(document, points);
  auto const bytes = static_cast<long>(std::filesystem::file_size(document.path));
  DatabaseCachedSliceStacks database(false);
  if (!ReadDatabaseDocument(document.path, database)) throw std::runtime_error("the database cannot be read");
  unsigned long num_slices = 0;
  double const walking = Seconds([&] {
    for (CachedSliceStack* const entry : database.GetAllCachedStacks()) {
      num_slices += std::as_const(*entry).GetStack().GetSize();
      entry->ReleaseLoadedData();
    }
  });
  double const saving = Seconds([&] { WriteDatabaseDocument(document.path, database); });
  if (num_slices != 10 * kStacks) throw std::runtime_error("what was read is not what was saved");
  long const peak = bench::PeakResidentBytes();
  if (peak > limit) throw std::runtime_error(Format("%.0f MB were resident", Megabytes(peak)));
  return Format("%.0f MB, %ld stacks: peak %.0f MB resident (goal below %.0f); %.2f ms a stack; save %.2f GB/s",
                Megabytes(bytes), kStacks, Megabytes(peak), Megabytes(limit), 1e3 * walking / kStacks,
                bench::Gigabytes(bytes) / saving);
}

bench::Child const child("a database walked through, stack by stack", WalkDatabase);
BENCH_CHILD(LargeDatabase, "a database walked through, stack by stack");

bench::Register const results[] = {
    bench::Register(bench::Ratio{"find among 10,000 cached stacks / compare their types and revisions alone",
                                 "FindCachedStack/10000", "CompareStrings/10000", "<= 30"}),
    bench::Register(bench::Ratio{"open a database of 1000 stacks of 20,000 points / of their keys alone",
                                 "OpenDatabase/20000", "OpenDatabase/0", "<= 2"}),
    bench::Register(bench::Growth{"find a cached stack, ns an entry", "FindCachedStack", {1000, 10'000, 100'000}}),
};

}  // namespace
