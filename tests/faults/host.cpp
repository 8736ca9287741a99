// A host over stacks that are larger than their limits: random operations beside a plain model, each tried again when
// it fails. At the end the content is the model's, whatever failed in between.
//
//   fault_host TYPE SEED OPERATIONS [files]  stacks of one caching type: none, multiple, single or zrange; with `files`
//                                            they are also saved and read again
//   fault_host soak MINUTES SEED             one set of stacks after another, with random faults, watching memory and
//                                            descriptors; a line each minute

#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>
#include <SliceData/slice_stack/M2DSliceSourceVector.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>

#include <algorithm>
#include <array>
#include <boost/make_shared.hpp>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "inject.h"
#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using Caching = e2DSliceStackCachingType;
using Clock = std::chrono::steady_clock;

/// What a slice holds, as texts of its elements: border, vectors, points, areas.
using Content = std::array<std::vector<std::string>, M2DSlice::kNumRows>;

constexpr long kStep = 20000;       ///< of heights: the range in memory of `ZRange` takes seven of them
constexpr long kPositions = 12;     ///< of each stack
constexpr long kLarge = 9000;       ///< items: a few of these elements are more than a scratch file buffers
constexpr std::size_t kLoose = 3;   ///< slices in no stack
constexpr int kFailuresInARow = 3;  ///< then the disk is mended

/// Faults strike while it lives: in calls of the library, and not in what the host does for itself.
class Faulty {
 public:
  Faulty() { FaultResume(); }
  ~Faulty() { FaultPause(); }
  Faulty(Faulty const&) = delete;
  Faulty& operator=(Faulty const&) = delete;
};

std::vector<long> Numbers(M2DSliceContour const& contour) {
  std::vector<long> numbers{contour.GetIsClosed(), contour.GetIsOuter()};
  for (auto const& point : contour.GetPoints()) numbers.insert(numbers.end(), {point.x, point.y});
  return numbers;
}
std::vector<long> Numbers(M2DSliceVectorBlock const& block) {
  std::vector<long> numbers;
  for (auto const& v : block) numbers.insert(numbers.end(), {v.x1, v.y1, v.x2, v.y2});
  return numbers;
}
std::vector<long> Numbers(M2DSlicePointBlock const& block) {
  std::vector<long> numbers;
  for (auto const& point : block) numbers.insert(numbers.end(), {point.x, point.y});
  return numbers;
}

void AddItem(M2DSliceContour& contour, long n) {
  contour.AddPoint(n, -n);
}
void AddItem(M2DSliceVectorBlock& block, long n) {
  block.push_back({n, n, -n, 0});
}
void AddItem(M2DSlicePointBlock& block, long n) {
  block.push_back({n, -n});
}

/// All of an element, coordinates as a digest, but flags that are not set, which documents do not keep.
template <class Element>
std::string Describe(Element const& element) {
  auto const& info = element.GetVectorTypeInfo();
  std::string text = info.GetTypeName();
  for (auto const& [key, value] : info.GetIndices()) text += ' ' + key->name + '=' + std::to_string(value);
  for (auto const& [key, value] : info.GetFlags()) text += value ? ' ' + key->name : "";
  std::vector<long> const numbers = Numbers(element);
  auto const bytes = std::string_view(reinterpret_cast<char const*>(numbers.data()), numbers.size() * sizeof(long));
  return text + ", " + std::to_string(numbers.size()) + " numbers " +
         std::to_string(std::hash<std::string_view>()(bytes));
}

Content ContentOf(M2DSlice const& slice) {
  Content content;
  M2DSlice::ForEachRow([&](auto row) {
    for (auto const& element : decltype(row)::Get(slice)) content[decltype(row)::kIndex].push_back(Describe(element));
  });
  return content;
}

void Append(Content& content, Content const& other) {
  for (std::size_t kind = 0; kind < content.size(); ++kind) {
    content[kind].insert(content[kind].end(), other[kind].begin(), other[kind].end());
  }
}

struct Lost : std::runtime_error {
  using runtime_error::runtime_error;
};

void Expect(Content const& found, Content const& expected, std::string const& where) {
  static char const* const kinds[] = {"border", "vectors", "points", "areas"};
  for (std::size_t kind = 0; kind < found.size(); ++kind) {
    if (found[kind] == expected[kind]) continue;
    auto const [f, e] =
        std::mismatch(found[kind].begin(), found[kind].end(), expected[kind].begin(), expected[kind].end());
    throw Lost(where + ", " + kinds[kind] + ": " + std::to_string(found[kind].size()) + " elements instead of " +
               std::to_string(expected[kind].size()) + ", the first difference is '" +
               (f == found[kind].end() ? "" : f->substr(0, 100)) + "' instead of '" +
               (e == expected[kind].end() ? "" : e->substr(0, 100)) + "'");
  }
}

struct Stack {
  explicit Stack(Caching type) : real(boost::make_shared<M2DSliceStack>(type)) {
    auto* const multiple =
        dynamic_cast<M2DSliceStackCachingStrategyMultipleTempFiles*>(real->_GetCachingStrategy().get());
    if (multiple != nullptr) multiple->SetCacheSizes(3, 3, 3, 3);
  }

  boost::shared_ptr<M2DSliceStack> real;
  std::map<long, Content> model;
};

struct Slice {
  M2DSlice& real;
  Content& model;
};

/// Whether stacks are saved and read again as well.
enum class Files { None, Some };

/// What becomes of the content of a target.
enum class Before { Goes, Stays };

class World {
 public:
  World(Caching first, Caching second, Files files, unsigned seed)
      : m_random(seed), m_files(files), m_stacks{Stack(first), Stack(second)} {
    M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(4);
    for (Stack& stack : m_stacks) {
      for (long i = 0; i < kPositions; i += 2) {
        Slice const slice{*stack.real->AddSlicePosition(i * kStep), stack.model[i * kStep]};
        Fill(slice);
      }
    }
    for (std::size_t i = 0; i < kLoose; ++i) Fill({m_loose[i], m_loose_models[i]});
  }

  /// One operation, with faults, in the library and in the model.
  void Step() {
    static constexpr std::pair<char const*, void (World::*)()> kOperations[] = {
        {"AddSlice", &World::AddSlice},
        {"CopyFrom", &World::CopyFrom},
        {"CopyTo", &World::CopyTo},
        {"Add", &World::Add},
        {"Swap", &World::Swap},
        {"operator=", &World::Assign},
        {"AddSliceStack", &World::AddSliceStack},
        {"change", &World::Change},
        {"RemoveSlicePosition", &World::Remove},
        {"SwapWith", &World::SwapWith},
        {"source vector", &World::Merge},
        {"refill", &World::Refill},
        {"stack document", &World::Save},
        {"database", &World::Cache},
    };
    auto const& [name, operation] = kOperations[Below(std::size(kOperations) - (m_files == Files::None ? 2 : 0))];
    m_failures = 0;
    (this->*operation)();
    if (m_failures == 0) return;
    try {
      Check();
    } catch (Lost const& lost) {
      throw Lost(std::string(name) + ", tried again: " + lost.what() + "; it had failed by: " + m_error);
    }
  }

  /// Faults do not strike here.
  void Check() const {
    for (Stack const& stack : m_stacks) CheckStack(*stack.real, stack.model, "stack");
    for (std::size_t i = 0; i < kLoose; ++i) Expect(ContentOf(m_loose[i]), m_loose_models[i], "loose slice");
  }

 private:
  static void CheckStack(M2DSliceStack const& real, std::map<long, Content> const& model, std::string const& where) {
    if (real.GetNumSlices() != model.size()) throw Lost(where + ": " + std::to_string(real.GetNumSlices()) + " slices");
    unsigned long index = 0;
    for (auto const& [z, content] : model) {
      M2DSlice const* const slice = real.GetSliceAtPosition(z);
      if (slice == nullptr || slice != real.GetSlice(index++)) throw Lost(where + ": no slice at " + std::to_string(z));
      Expect(ContentOf(*slice), content, where + ": slice at " + std::to_string(z));
    }
  }

  std::size_t Below(std::size_t limit) {
    return static_cast<std::size_t>(Draw(m_random, 0, static_cast<long>(limit) - 1));
  }

  /// Runs what calls the library, again and again until it succeeds.
  void Try(std::function<void()> const& operation) {
    for (int failures = 0;;) {
      try {
        Faulty const faulty;
        return operation();
      } catch (Lost const&) {
        throw;
      } catch (std::exception const& error) {
        m_error = error.what();
        ++m_failures;
        if (FaultStrikes() == 0) throw Lost("fails without a fault: " + m_error);
        if (++failures == kFailuresInARow) FaultArm(nullptr);
        if (failures > kFailuresInARow) throw Lost("fails when the faults are over: " + m_error);
      }
    }
  }

  /// Elements of all kinds, some of them large.
  void Fill(Slice const& slice) {
    FillRandomly(slice.real, m_random, 3);
    M2DSlice::ForEachRow([&](auto row) {
      if (Below(3) != 0) return;
      auto update = decltype(row)::GetUpdate(slice.real);
      auto& element = AddRandomElement(*update, m_random);
      for (long n = 0; n < kLarge; ++n) AddItem(element, n);
    });
    slice.model = ContentOf(slice.real);
  }

  Slice Loose() {
    std::size_t const i = Below(kLoose);
    return {m_loose[i], m_loose_models[i]};
  }

  Slice Any() {
    Stack& stack = m_stacks[Below(2)];
    if (Below(4) == 0 || stack.model.empty()) return Loose();
    auto const chosen = std::next(stack.model.begin(), static_cast<std::ptrdiff_t>(Below(stack.model.size())));
    return {*stack.real->GetSliceAtPosition(chosen->first), chosen->second};
  }

  void Refill() {
    Slice const slice = Loose();
    slice.real.Clear();
    Fill(slice);
  }

  void AddSlice() {
    Slice const slice = Loose();
    if (slice.model == Content()) Fill(slice);
    Stack& stack = m_stacks[Below(2)];
    long const z = static_cast<long>(Below(kPositions)) * kStep;
    slice.real.SetZArea(M2DSliceZArea(z));
    bool const move = Below(2) == 0;
    Try([&] { move ? stack.real->AddSlice(slice.real, true) : stack.real->AddSlice(std::as_const(slice.real)); });
    stack.model[z] = slice.model;
    if (move) slice.model = {};
  }

  /// Calls `function(target, source, move)` for two slices, and does the same to their models.
  template <class Function>
  void Transfer(Before before, Function const& function) {
    Slice const target = Any();
    Slice const source = Any();
    if (&target.real == &source.real) return;
    bool const move = Below(2) == 0;
    Try([&] { function(target.real, source.real, move); });
    if (before == Before::Goes) target.model = {};
    Append(target.model, source.model);
    if (move) source.model = {};
  }

  void CopyFrom() {
    Transfer(Before::Goes, [](M2DSlice& target, M2DSlice& source, bool move) { target.CopyFrom(source, move); });
  }
  void CopyTo() {
    Transfer(Before::Goes, [](M2DSlice& target, M2DSlice& source, bool move) { source.CopyTo(target, move); });
  }
  void Add() {
    Transfer(Before::Stays, [](M2DSlice& target, M2DSlice& source, bool move) {
      move ? target.Add(source, true) : target.Add(std::as_const(source));
    });
  }
  void Assign() {
    Slice const target = Any();
    Slice const source = Any();
    Try([&] { target.real = source.real; });
    target.model = source.model;
  }
  void Swap() {
    Slice const a = Any();
    Slice const b = Any();
    if (&a.real == &b.real) return;
    Try([&] { a.real.Swap(b.real); });
    std::swap(a.model, b.model);
  }

  void AddSliceStack() {
    Try([&] { m_stacks[0].real->AddSliceStack(*m_stacks[1].real, true); });
    for (auto& [z, content] : m_stacks[1].model) {
      Append(m_stacks[0].model[z], content);
      content = {};
    }
  }

  void Change() {
    Slice const slice = Any();
    M2DSlice::ForEachRow([&](auto row) {
      Try([&] {
        auto update = decltype(row)::GetUpdate(slice.real);
        FaultPause();
        slice.model[decltype(row)::kIndex].push_back(Describe(AddRandomElement(*update, m_random)));
        FaultResume();
      });
    });
  }

  void Remove() {
    Stack& stack = m_stacks[Below(2)];
    if (stack.model.size() < kPositions * 3 / 4) return;
    long const z = std::next(stack.model.begin(), static_cast<std::ptrdiff_t>(Below(stack.model.size())))->first;
    Try([&] { stack.real->RemoveSlicePosition(z); });
    stack.model.erase(z);
  }

  void SwapWith() {
    Try([&] { m_stacks[0].real->SwapWith(*m_stacks[1].real); });
    std::swap(m_stacks[0].model, m_stacks[1].model);
  }

  /// A layer of both stacks, as a slice of its own.
  void Merge() {
    std::set<long> heights;
    for (Stack const& stack : m_stacks) {
      for (auto const& [z, content] : stack.model) heights.insert(z);
    }
    std::size_t const layer = Below(heights.size());
    long const z = *std::next(heights.begin(), static_cast<std::ptrdiff_t>(layer));
    Slice const slice = Loose();
    Try([&] {
      M2DSliceSourceVector sources;
      for (Stack const& stack : m_stacks) sources.AddSource(stack.real.get());
      sources.StartGettingSlices();
      sources.GetSlice(slice.real, layer);
    });
    slice.model = {};
    for (Stack const& stack : m_stacks) {
      auto const content = stack.model.find(z);
      if (content != stack.model.end()) Append(slice.model, content->second);
    }
  }

  void Save() {
    Stack const& stack = m_stacks[Below(2)];
    Try([&] { SliceFormats::WriteStackDocument("host.slicestack", *stack.real); });
    Stack copy(static_cast<Caching>(Below(4)));
    Try([&] {
      copy.real->Clear();
      SliceFormats::ReadStackDocument("host.slicestack", *copy.real);
    });
    CheckStack(*copy.real, stack.model, "document");
  }

  void Cache() {
    using namespace SliceDataCaching;
    Try([&] {
      DatabaseCachedSliceStacks database(true);
      for (Stack const& stack : m_stacks) {
        MMTransformMatrix position;
        CachedSliceStackKeyInfo key;
        key.Init(CacheTypeSlicingStlBase, {"part", "r1"}, &position, {});
        database.AddCachedSliceStack(key)->SetSliceStack({stack.real}, {}, nullptr);
      }
      WriteDatabaseDocument("host.slicedb", database);
    });
    Try([&] {
      DatabaseCachedSliceStacks database(true);
      VelAM::SaxUtilities::ReadReport report;
      if (!ReadDatabaseDocument("host.slicedb", database, &report)) throw std::runtime_error(report.error);
      auto const entries = database.GetAllCachedStacks();
      for (std::size_t i = 0; i < m_stacks.size(); ++i) {
        if (!entries.at(i)->ValidateLoadedData(false)) throw std::runtime_error("an entry cannot be read to its end");
        CheckStack(entries[i]->GetStack(), m_stacks[i].model, "database");
      }
    });
  }

  Random m_random;
  Files m_files;
  std::array<Stack, 2> m_stacks;
  std::array<M2DSlice, kLoose> m_loose;
  std::array<Content, kLoose> m_loose_models;
  int m_failures = 0;
  std::string m_error;
};

Caching TypeNamed(std::string const& name) {
  static constexpr std::string_view names[] = {"none", "multiple", "single", "zrange"};  // in the order of the type
  return static_cast<Caching>(std::find(std::begin(names), std::end(names), name) - std::begin(names));
}

void RunOnce(Caching type, Files files, unsigned seed, int operations) {
  World world(type, type, files, seed);
  for (int i = 0; i < operations; ++i) world.Step();
  world.Check();
}

std::string RandomFault(Random& random) {
  static constexpr std::pair<char const*, char const*> kFaults[] = {
      {"open", "e24"},   {"read", "e5"},   {"read", "short"}, {"write", "e28"},  {"write", "short"},  {"fsync", "e5"},
      {"rename", "e13"}, {"mkdir", "e28"}, {"stat", "e5"},    {"memory", "e12"}, {"getrandom", "e11"}};
  auto const& [kind, effect] = kFaults[Draw(random, 0, std::size(kFaults) - 1)];
  return std::string(kind) + ":" + std::to_string(Draw(random, 1, 1L << Draw(random, 0, 7))) + ":" + effect +
         (Draw(random, 0, 1) != 0 ? ":ever" : "");
}

long CountFiles(std::string const& folder) {
  auto const entries = std::filesystem::recursive_directory_iterator(folder);
  return std::distance(begin(entries), end(entries));
}

/// In KiB.
long GetMemory() {
  std::ifstream status("/proc/self/statm");
  long pages = 0;
  status >> pages >> pages;
  return pages * 4;
}

/// What is there between two sets of stacks.
struct Usage {
  long memory = GetMemory();
  long descriptors = CountFiles("/proc/self/fd");
  long scratch_files = CountFiles(std::getenv("TMPDIR"));
};

/// How many of the operations met a fault.
long WorkWithFaults(Random& random, int operations) {
  auto const type = [&] { return static_cast<Caching>(Draw(random, 0, 3)); };
  World world(type(), type(), Files::Some, static_cast<unsigned>(random()));
  long struck = 0;
  for (int i = 0; i < operations; ++i) {
    FaultArm(RandomFault(random).c_str());
    world.Step();
    struck += FaultStrikes() > 0;
  }
  FaultArm(nullptr);
  world.Check();
  return struck;
}

void Soak(int minutes, unsigned seed) {
  constexpr int kOperations = 300;
  Random random(seed);
  long operations = 0;
  long struck = 0;
  Usage first;
  auto const begin = Clock::now();
  for (int minute = 0; minute < minutes; operations += kOperations) {
    struck += WorkWithFaults(random, kOperations);
    if (Clock::now() - begin < std::chrono::minutes(minute + 1)) continue;
    Usage const now;
    std::cout << "minute " << ++minute << ": " << operations << " operations, " << struck << " with faults, "
              << now.memory / 1024 << " MiB, " << now.descriptors << " descriptors, " << now.scratch_files
              << " scratch files" << std::endl;
    if (minute == 1) first = now;
    // The memory of a large stack stays with the process; a shared scratch file may have come.
    if (now.memory > first.memory + first.memory / 2 + 65536) throw Lost("memory grows");
    if (now.descriptors > first.descriptors + 4) throw Lost("descriptors leak");
    if (now.scratch_files > first.scratch_files + 4) throw Lost("scratch files stay");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4 || FaultArm == nullptr) {
    std::cerr << "fault_host: takes TYPE SEED OPERATIONS [files] or soak MINUTES SEED, and libfault_inject.so before "
                 "it; use ./run faults or ./run soak\n";
    return 2;
  }
  FaultPause();
  std::vector<std::string> const arguments(argv + 1, argv + argc);
  try {
    int const number = std::stoi(arguments[1]);
    int const last = std::stoi(arguments[2]);
    if (arguments[0] == "soak") {
      Soak(number, static_cast<unsigned>(last));
    } else {
      Files const files = arguments.size() == 4 ? Files::Some : Files::None;
      RunOnce(TypeNamed(arguments[0]), files, static_cast<unsigned>(number), last);
    }
  } catch (std::exception const& error) {
    std::cerr << "fault_host: LOST: " << error.what() << '\n';
    return 1;
  }
  std::cout << "whole\n";
  FaultResume();
  return 0;
}
