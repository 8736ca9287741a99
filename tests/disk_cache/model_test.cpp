#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>
#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <algorithm>
#include <array>
#include <boost/make_shared.hpp>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <utility>

#include "support/Scratch.h"
#include "support/Slices.h"

// Random work on several stacks at once, against a plain model of what each component holds: in memory, on disk, and in
// the mappings in between, and of what each strategy has in its lists.

namespace {

using namespace testing_support;
using M2DSliceLayerElements::AddElement;
using M2DSliceUtilities::iTransformation;
using Mapping = std::shared_ptr<iTransformation const>;
using Caching = e2DSliceStackCachingType;

constexpr std::size_t kKinds = M2DSlice::kNumRows;
enum Kind : std::size_t { kBorder, kVectors, kPoints, kAreas };

bool HasContours(std::size_t kind) {
  return kind == kBorder || kind == kAreas;
}

// ---------------------------------------------------------------------------------------------------- plain content

/// A contour of (x, y, z, info), a block of (x1, y1, x2, y2) or a block of (x, y).
struct Element {
  bool closed = true;
  bool outer = true;
  long type = -1;
  std::vector<std::array<long, 4>> items;
};

bool operator==(Element const& a, Element const& b) {
  return a.closed == b.closed && a.outer == b.outer && a.type == b.type && a.items == b.items;
}

void PrintTo(Element const& element, std::ostream* out) {
  *out << (element.closed ? "" : "open ") << (element.outer ? "" : "inner ") << "type " << element.type << ":";
  for (auto const& item : element.items) *out << " " << ::testing::PrintToString(item);
}

using Content = std::vector<Element>;

M2DSliceVectorTypeInfo TypeInfo(long type) {
  M2DSliceVectorTypeInfo info;
  if (type >= 0) info.SetIndex("Model", type);
  return info;
}
long TypeOf(M2DSliceVectorTypeInfo const& info) {
  return info.GetIndex("Model");
}

Element Plain(M2DSliceContour const& contour) {
  Element plain{contour.GetIsClosed(), contour.GetIsOuter(), TypeOf(contour.GetVectorTypeInfo()), {}};
  for (auto const& p : contour.GetPoints()) plain.items.push_back({p.x, p.y, p.z, reinterpret_cast<long>(p.info)});
  return plain;
}
Element Plain(M2DSliceVectorBlock const& block) {
  Element plain{true, true, TypeOf(block.GetVectorTypeInfo()), {}};
  for (auto const& v : block) plain.items.push_back({v.x1, v.y1, v.x2, v.y2});
  return plain;
}
Element Plain(M2DSlicePointBlock const& block) {
  Element plain{true, true, TypeOf(block.GetVectorTypeInfo()), {}};
  for (auto const& p : block) plain.items.push_back({p.x, p.y, 0, 0});
  return plain;
}

template <class Layer>
Content PlainLayer(Layer const& layer) {
  Content content;
  for (auto const& element : layer) content.push_back(Plain(element));
  return content;
}

void Fill(M2DSliceContour& contour, Element const& plain) {
  contour.MakeEmpty();
  for (auto const& i : plain.items) contour.AddPoint(i[0], i[1], i[2], reinterpret_cast<void*>(i[3]));
  contour.SetIsClosed(plain.closed);
  contour.SetIsOuter(plain.outer);
  contour.SetVectorTypeInfo(TypeInfo(plain.type));
}
void Fill(M2DSliceVectorBlock& block, Element const& plain) {
  block.clear();
  for (auto const& i : plain.items) block.push_back({i[0], i[2], i[1], i[3]});
  block.SetVectorTypeInfo(TypeInfo(plain.type));
}
void Fill(M2DSlicePointBlock& block, Element const& plain) {
  block.resize(0, M2DSlicePoint());
  for (auto const& i : plain.items) block.push_back({i[0], i[1]});
  block.SetVectorTypeInfo(TypeInfo(plain.type));
}

/// Calls `function` with the row of a slice of this number.
template <class Function>
void WithRow(std::size_t kind, Function&& function) {
  M2DSlice::ForEachRow([&](auto row) {
    if (decltype(row)::kIndex == kind) function(row);
  });
}

template <class Layer>
auto& At(Layer& layer, std::size_t index) {
  return *std::next(layer.begin(), static_cast<std::ptrdiff_t>(index));
}

void MapPoint(iTransformation const& mapping, long& x, long& y) {
  auto mapped_x = static_cast<double>(x);
  auto mapped_y = static_cast<double>(y);
  mapping.Transform(mapped_x, mapped_y);
  x = static_cast<long>(mapped_x);
  y = static_cast<long>(mapped_y);
}

/// What a record keeps of coordinates: the low 32 bits.
Element Narrowed(Element element) {
  for (auto& item : element.items) {
    for (long& value : item) value = static_cast<std::int32_t>(value);
  }
  return element;
}

/// The items as records store them.
std::string Stored(Element const& element, std::size_t kind) {
  std::string bytes;
  for (auto const& item : element.items) {
    for (std::size_t at = 0; at < (kind == kVectors ? 4 : 2); ++at) {
      bytes.append(reinterpret_cast<char const*>(&item[at]), sizeof(std::int32_t));
    }
  }
  return bytes;
}

M2DSliceXYArea BoxOf(Element const& element, std::size_t kind) {
  M2DSliceXYArea box;
  for (auto const& item : element.items) {
    box.Extend(item[0], item[1]);
    if (kind == kVectors) box.Extend(item[2], item[3]);
  }
  return box;
}

// -------------------------------------------------------------------------------------------------------- the model

struct Record {
  Element stored;  ///< with the coordinates as they lie in the file
  M2DSliceXYArea box;
};

struct Component {
  std::size_t kind = kBorder;
  Content memory;
  std::vector<Record> records;
  std::vector<Mapping> chain;
  bool data = true;
  bool disk = false;
  bool file = false;

  Element Read(Element element) const {
    for (auto& item : element.items) {
      // The whole chain runs in doubles.
      for (std::size_t at = 0; at < (kind == kVectors ? 4 : 2); at += 2) {
        auto x = static_cast<double>(item[at]);
        auto y = static_cast<double>(item[at + 1]);
        for (Mapping const& mapping : chain) mapping->Transform(x, y);
        item[at] = static_cast<long>(x);
        item[at + 1] = static_cast<long>(y);
      }
    }
    return element;
  }

  bool ValidateData() {
    if (data || !disk) return false;
    memory.clear();
    for (Record const& record : records) memory.push_back(Read(record.stored));
    return data = true;
  }

  /// The coordinates that a record has room for.
  Element WithoutRest(Element element) const {
    if (kind == kVectors) return element;
    for (auto& item : element.items) item[2] = item[3] = 0;
    return element;
  }

  bool Fits() const {
    if (!file || records.size() != memory.size()) return false;
    for (std::size_t i = 0; i < memory.size(); ++i) {
      if (!(Read(records[i].stored) == WithoutRest(memory[i]))) return false;
    }
    return true;
  }

  void PageOut() {
    if (memory.empty()) return;
    if (!disk && !Fits()) {
      file = true;
      records.clear();
      chain.clear();
      for (Element const& element : memory) {
        Record record{Narrowed(WithoutRest(element)), {}};
        record.box = BoxOf(HasContours(kind) ? record.stored : element, kind);
        records.push_back(std::move(record));
      }
    }
    disk = true;
    memory.clear();
    data = false;
  }

  void Clear() {
    memory.clear();
    records.clear();
    chain.clear();
    data = true;
    disk = file = false;
  }

  void BeginPushing() {
    file = true;
    data = false;
    disk = true;
    records.clear();
    chain.clear();
  }

  static void MapElement(Element& element, std::size_t kind, iTransformation const& mapping) {
    std::size_t const passes = kind == kPoints ? element.items.size() : 1;
    for (std::size_t pass = 0; pass < passes; ++pass) {
      for (auto& item : element.items) {
        MapPoint(mapping, item[0], item[1]);
        if (kind == kVectors) MapPoint(mapping, item[2], item[3]);
      }
    }
  }

  void Transform(Mapping const& mapping) {
    if (data) {
      for (Element& element : memory) MapElement(element, kind, *mapping);
    }
    if (disk) chain.push_back(mapping);
  }
};

struct Strategy;

struct Slice {
  explicit Slice(long z_position = 0) : z(z_position) {
    for (std::size_t kind = 0; kind < kKinds; ++kind) components[kind].kind = kind;
  }
  ~Slice();
  Slice(Slice const&) = delete;
  Slice& operator=(Slice const&) = delete;

  bool LoadFromSource() {
    if (validated || source == nullptr) return false;
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      components[kind].memory = (*source)[kind];
      components[kind].data = true;
      components[kind].disk = false;
    }
    return validated = true;
  }

  bool GoBackToWaiting() {
    if (source == nullptr) return false;
    validated = false;
    for (Component& component : components) {
      component.Clear();
      component.data = false;
    }
    return true;
  }

  void Access(std::size_t kind);
  void Change(std::size_t kind) {
    LoadFromSource();
    source.reset();
    validated = true;
    components[kind].disk = false;
  }

  void Clear() {
    source.reset();
    validated = true;
    for (Component& component : components) component.Clear();
  }

  long z;
  std::array<Component, kKinds> components;
  std::shared_ptr<Strategy> strategy;
  std::shared_ptr<std::array<Content, kKinds>> source;
  bool validated = false;
};

std::list<Slice*> g_recent_of_single;
unsigned long g_limit_of_single = 100;

struct Strategy {
  explicit Strategy(Caching caching_type) : type(caching_type) {}

  void Access(Slice& slice, std::size_t kind) {
    if (type == Caching::MultipleTempFiles) {
      slice.components[kind].ValidateData();
      recent[kind].remove(&slice);
      recent[kind].push_front(&slice);
      if (!locked && recent[kind].size() > limits[kind]) CutMultiple(kind);
    } else if (type == Caching::SingleTempFile) {
      for (Component& component : slice.components) component.ValidateData();
      g_recent_of_single.remove(&slice);
      g_recent_of_single.push_front(&slice);
      while (g_recent_of_single.size() > g_limit_of_single) {
        Slice& oldest = *g_recent_of_single.back();
        if (!oldest.GoBackToWaiting()) {
          for (Component& component : oldest.components) component.PageOut();
        }
        g_recent_of_single.pop_back();
      }
    } else if (type == Caching::ZRange) {
      by_z[kind].emplace(slice.z, &slice);
      slice.components[kind].ValidateData();
      auto& [minimum, maximum] = ranges[kind];
      if (slice.z >= minimum && slice.z <= maximum) return;
      minimum = slice.z - 60000;
      maximum = slice.z + 60000;
      while (!by_z[kind].empty() && by_z[kind].begin()->first < minimum) EvictLowest(kind);
      auto const first_above = by_z[kind].upper_bound(maximum);
      for (auto n = std::distance(first_above, by_z[kind].end()); n > 0; --n) EvictLowest(kind);
    }
  }

  void CutMultiple(std::size_t kind) {
    while (recent[kind].size() > limits[kind] / 2) {
      Slice& oldest = *recent[kind].back();
      if (!oldest.GoBackToWaiting()) oldest.components[kind].PageOut();
      recent[kind].pop_back();
    }
  }

  void EvictLowest(std::size_t kind) {
    by_z[kind].begin()->second->components[kind].PageOut();
    by_z[kind].erase(by_z[kind].begin());
  }

  void Unlock() {
    locked = false;
    if (type != Caching::MultipleTempFiles) return;
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      if (recent[kind].size() > limits[kind]) CutMultiple(kind);
    }
  }

  /// A slice leaves its stack.
  void Remove(Slice& slice) {
    for (auto& list : recent) list.remove(&slice);
    if (type == Caching::SingleTempFile) g_recent_of_single.remove(&slice);
    for (auto& map : by_z) map.erase(slice.z);
  }

  bool Prepares(std::size_t kind) const {
    return type == Caching::MultipleTempFiles || (type == Caching::SingleTempFile && kind != kAreas);
  }

  Caching type;
  bool locked = false;
  std::array<unsigned long, kKinds> limits{10, 10, 10, 10};
  std::array<std::list<Slice*>, kKinds> recent;
  std::array<std::map<long, Slice*>, kKinds> by_z;
  std::array<std::pair<long, long>, kKinds> ranges{std::pair(-2147483648l, -2147483648l),
                                                   {-2147483648, -2147483648},
                                                   {-2147483648, -2147483648},
                                                   {-2147483648, -2147483648}};
};

Slice::~Slice() {
  if (strategy == nullptr) return;
  g_recent_of_single.remove(this);
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    strategy->recent[kind].remove(this);
    auto const entry = strategy->by_z[kind].find(z);
    if (entry != strategy->by_z[kind].end() && entry->second == this) strategy->by_z[kind].erase(entry);
  }
}

void Slice::Access(std::size_t kind) {
  LoadFromSource();
  if (strategy != nullptr) strategy->Access(*this, kind);
  LoadFromSource();
  components[kind].ValidateData();
}

// Whole-slice operations, with the hooks in their order.

Content& Open(Slice& slice, std::size_t kind) {
  slice.Access(kind);
  slice.Change(kind);
  return slice.components[kind].memory;
}

/// Runs a change of two slices with all of their content in memory; what the strategy had let go meanwhile, goes again.
template <class Function>
void WithBothInMemory(Slice& first, Slice& second, Function const& change) {
  std::array<Slice*, 2> const both{&first, &second};
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    for (Slice* const slice : both) slice->Access(kind);
  }
  bool was_let_go = false;
  for (Slice* const slice : both) was_let_go |= slice->LoadFromSource();
  for (Slice* const slice : both) {
    for (Component& component : slice->components) was_let_go |= component.ValidateData();
  }
  change();
  for (std::size_t kind = 0; was_let_go && kind < kKinds; ++kind) {
    for (Slice* const slice : both) {
      if (slice->strategy != nullptr) slice->strategy->Access(*slice, kind);
    }
  }
}

void Assign(Slice& target, Slice& source) {
  if (&target == &source) return;
  WithBothInMemory(target, source, [&] {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      target.Change(kind);
      target.components[kind].memory = source.components[kind].memory;
    }
  });
}

void Replace(Slice& target, Slice& source, bool move) {
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    source.Change(kind);
    target.Change(kind);
    target.components[kind].memory = source.components[kind].memory;
    if (move) source.components[kind].memory.clear();
  }
}

void CopyFrom(Slice& target, Slice& source, bool move) {
  if (&target == &source) return;
  WithBothInMemory(source, target, [&] { Replace(target, source, move); });
}

void AddTo(Slice& target, Slice& source, bool change_source, bool move) {
  WithBothInMemory(target, source, [&] {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      target.Change(kind);
      if (change_source) source.Change(kind);
      Content& content = target.components[kind].memory;
      Content& from = source.components[kind].memory;
      content.insert(content.end(), from.begin(), from.end());
      if (move) from.clear();
    }
  });
}

void Swap(Slice& a, Slice& b) {
  WithBothInMemory(b, a, [&] {
    Slice temporary;
    Replace(temporary, b, true);
    Replace(b, a, true);
    Replace(a, temporary, true);
  });
}

// ------------------------------------------------------------------------------------------ the model and the library

/// A slice of the library and its model.
struct Pair {
  boost::shared_ptr<M2DSlice> real;
  std::shared_ptr<Slice> model;
};

struct StackPair {
  explicit StackPair(Caching type) : real(std::make_unique<M2DSliceStack>(type)), strategy(MakeStrategy(type)) {}

  static std::shared_ptr<Strategy> MakeStrategy(Caching type) { return std::make_shared<Strategy>(type); }

  Pair Get(std::size_t index) const {
    auto const slice = static_cast<ISource2DSlices const&>(*real).GetSlice(index);
    return {boost::const_pointer_cast<M2DSlice>(slice), std::next(slices.begin(), static_cast<long>(index))->second};
  }

  /// The slice at z, made if need be.
  std::shared_ptr<Slice> const& At(long z) {
    auto& slice = slices[z];
    if (slice == nullptr) {
      slice = std::make_shared<Slice>(z);
      slice->strategy = strategy;
    }
    return slice;
  }

  void Remove(long z) {
    strategy->Remove(*slices[z]);
    slices.erase(z);
  }

  void Clear() {
    for (auto const& [z, slice] : slices) {
      slice->Clear();
      strategy->Remove(*slice);
    }
    slices.clear();
  }

  std::unique_ptr<M2DSliceStack> real;
  std::shared_ptr<Strategy> strategy;
  std::map<long, std::shared_ptr<Slice>> slices;
};

/// Bends the plane a little; no matrix.
class Wave final : public iTransformation {
 public:
  Wave* _Clone() const override { return new Wave(*this); }
  void _Transform(double& x, double& y) const override { y += 3 * std::sin(x / 100); }
};

class RandomWork {
 public:
  RandomWork(Caching type, unsigned seed) : m_random(seed) {
    M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(g_limit_of_single = 3 + Below(4));
    for (int i = 0; i < 3; ++i) m_stacks.emplace_back(i < 2 || Chance(50) ? type : static_cast<Caching>(Below(4)));
    for (int i = 0; i < 2; ++i) m_loose.push_back({boost::make_shared<M2DSlice>(i), std::make_shared<Slice>(i)});
  }
  ~RandomWork() {
    for (StackPair& stack : m_stacks) stack.Clear();
    M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(g_limit_of_single = 100);
  }

  /// One random operation; its name.
  std::string Step() {
    static std::vector<std::pair<unsigned, std::pair<char const*, void (RandomWork::*)()>>> const operations = {
        {8, {"add a position", &RandomWork::AddPosition}},
        {2, {"remove a position", &RandomWork::RemovePosition}},
        {40, {"read", &RandomWork::Read}},
        {25, {"change", &RandomWork::Change}},
        {10, {"transform a slice", &RandomWork::TransformSlice}},
        {3, {"assign", &RandomWork::AssignSlice}},
        {3, {"copy from", &RandomWork::CopySlice}},
        {3, {"add", &RandomWork::AddSlice}},
        {2, {"swap", &RandomWork::SwapSlices}},
        {2, {"clear a slice", &RandomWork::ClearSlice}},
        {2, {"invert", &RandomWork::Invert}},
        {8, {"change a record", &RandomWork::ChangeFacts}},
        {8, {"push", &RandomWork::Push}},
        {1, {"swap stacks", &RandomWork::SwapStacks}},
        {1, {"clear a stack", &RandomWork::ClearStack}},
        {2, {"initial source", &RandomWork::InitFromSource}},
        {3, {"lock or unlock", &RandomWork::LockOrUnlock}},
        {3, {"limits", &RandomWork::ChangeLimits}},
        {1, {"let go", &RandomWork::LetGo}},
    };
    static unsigned const total = [] {
      unsigned sum = 0;
      for (auto const& operation : operations) sum += operation.first;
      return sum;
    }();
    auto pick = Below(total);
    for (auto const& [weight, operation] : operations) {
      if (pick < weight) {
        (this->*operation.second)();
        return operation.first;
      }
      pick -= weight;
    }
    return {};
  }

  /// Compares state and content of slices, without a hook: of all, or of some.
  void Check(bool all) {
    for (StackPair const& stack : m_stacks) {
      ASSERT_EQ(stack.real->GetNumSlices(), stack.slices.size());
      for (std::size_t i = 0; i < stack.slices.size(); ++i) {
        if (!all && Chance(90)) continue;
        Pair const slice = stack.Get(i);
        ASSERT_EQ(slice.real->GetZArea().GetZ(), slice.model->z);
        CheckSlice(slice);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
    for (Pair const& slice : m_loose) CheckSlice(slice);
  }

  /// Brings everything in.
  void ReadAll() {
    for (StackPair const& stack : m_stacks) {
      for (std::size_t i = 0; i < stack.slices.size(); ++i) {
        for (std::size_t kind = 0; kind < kKinds; ++kind) ReadThroughHook(stack.Get(i), kind);
      }
    }
  }

 private:
  unsigned Below(unsigned long end) { return static_cast<unsigned>(m_random() % end); }
  bool Chance(unsigned percent) { return Below(100) < percent; }
  long Coordinate() {
    if (Chance(2)) return std::array{4294967296, -3000000000, 2147483648, 4294967301}[Below(4)];
    return static_cast<long>(Below(20001)) - 10000;
  }

  Element AnyElement(std::size_t kind) {
    Element element;
    if (HasContours(kind)) {
      element.closed = Chance(70);
      element.outer = Chance(70);
    }
    element.type = static_cast<long>(Below(4)) - 1;
    element.items.resize(Chance(3) ? 1500 + Below(1500) : Below(7));
    bool const is_long = element.items.size() > 10;
    for (auto& item : element.items) {
      for (long& value : item) value = Coordinate();
      if (!HasContours(kind) && kind != kVectors) item[2] = item[3] = 0;
    }
    if (is_long && kind == kPoints) element.items.resize(10);  // mapped once for each of its points
    return element;
  }

  StackPair& AnyStack() { return m_stacks[Below(m_stacks.size())]; }
  long AnyZ() { return 15000 * static_cast<long>(Below(14)); }

  Pair AnySlice() {
    if (Chance(12)) return m_loose[Below(m_loose.size())];
    StackPair& stack = AnyStack();
    if (stack.slices.empty()) {
      long const z = AnyZ();
      stack.real->AddSlicePosition(z);
      stack.At(z);
    }
    return stack.Get(Below(stack.slices.size()));
  }

  Mapping AnyMapping() {
    auto matrix = std::make_shared<M2DSliceUtilities::TransformationMatrix>();
    switch (Below(4)) {
      case 0:
        matrix->MakeTranslation(static_cast<double>(Coordinate()) / 7, static_cast<double>(Below(100)));
        break;
      case 1:
        matrix->MakeRotation(static_cast<double>(Below(360)));
        break;
      case 2:
        matrix->MakeRotation90();
        break;
      default:
        return std::make_shared<Wave>();
    }
    return matrix;
  }

  void AddPosition() {
    long const z = AnyZ();
    StackPair& stack = AnyStack();
    stack.real->AddSlicePosition(z);
    stack.At(z);
  }

  /// The slice may be held beyond its stack, and goes on.
  void RemovePosition() {
    StackPair& stack = AnyStack();
    if (stack.slices.empty()) return;
    Pair const slice = stack.Get(Below(stack.slices.size()));
    if (Chance(50)) {
      if (m_loose.size() > 4) m_loose.erase(m_loose.begin() + 2);
      m_loose.push_back(slice);
    }
    ASSERT_TRUE(stack.real->RemoveSlicePosition(slice.model->z));
    stack.Remove(slice.model->z);
  }

  void LetGo() {
    if (m_loose.size() > 2) m_loose.pop_back();
  }

  void ReadThroughHook(Pair const& slice, std::size_t kind) {
    slice.model->Access(kind);
    WithRow(kind, [&](auto row) {
      using Row = decltype(row);
      Row::OnAccess(*slice.real);
      EXPECT_EQ(PlainLayer(Row::Component(*slice.real).GetData()), slice.model->components[kind].memory);
    });
  }

  void Read() { ReadThroughHook(AnySlice(), Below(kKinds)); }

  void Change() {
    Pair const slice = AnySlice();
    std::size_t const kind = Below(kKinds);
    Content& content = Open(*slice.model, kind);
    WithRow(kind, [&](auto row) {
      using Row = decltype(row);
      Row::OnAccess(*slice.real);
      Row::OnChanged(*slice.real);
      typename Row::Update data(Row::Component(*slice.real));
      if (content.size() > 8) {
        while (content.size() > 2) {
          content.erase(content.begin());
          data->Unlink(data->GetFirst());
        }
      }
      unsigned const what = Below(5);
      if (content.empty() || what == 0) {
        content.push_back(AnyElement(kind));
        Fill(AddElement(*data), content.back());
        return;
      }
      std::size_t const index = Below(content.size());
      auto& element = At(*data, index);
      switch (what) {
        case 1:
          content.erase(content.begin() + static_cast<long>(index));
          data->Unlink(&element);
          break;
        case 2:
          content[index] = AnyElement(kind);
          Fill(element, content[index]);
          break;
        case 3:
          if (!content[index].items.empty()) content[index].items.back()[1] += 1;
          Fill(element, content[index]);
          break;
        default:
          break;  // only looked at
      }
    });
  }

  void TransformSlice() {
    Pair const slice = AnySlice();
    Mapping const mapping = AnyMapping();
    for (Component& component : slice.model->components) component.Transform(mapping);
    M2DSliceUtilities::Transform(*slice.real, *mapping, {});
  }

  void AssignSlice() {
    Pair const target = AnySlice();
    Pair const source = AnySlice();
    Assign(*target.model, *source.model);
    *target.real = *source.real;
  }

  void CopySlice() {
    Pair const target = AnySlice();
    Pair const source = AnySlice();
    bool const move = Chance(50);
    CopyFrom(*target.model, *source.model, move);
    target.real->CopyFrom(*source.real, move);
  }

  void AddSlice() {
    Pair const target = AnySlice();
    Pair const source = AnySlice();
    if (target.model == source.model) return;
    bool const change_source = Chance(60);
    bool const move = change_source && Chance(50);
    AddTo(*target.model, *source.model, change_source, move);
    if (change_source) {
      target.real->Add(*source.real, move);
    } else {
      target.real->Add(std::as_const(*source.real));
    }
    Trim(target);
  }

  /// Keeps layers from growing without end.
  void Trim(Pair const& slice) {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      if (slice.model->components[kind].memory.size() <= 20) continue;
      WithRow(kind, [&](auto row) {
        using Row = decltype(row);
        Row::OnAccess(*slice.real);
        Row::OnChanged(*slice.real);
        typename Row::Update(Row::Component(*slice.real))->Clear();
      });
      Open(*slice.model, kind).clear();
    }
  }

  void SwapSlices() {
    Pair const a = AnySlice();
    Pair const b = AnySlice();
    if (a.model == b.model) return;
    Swap(*a.model, *b.model);
    a.real->Swap(*b.real);
  }

  void ClearSlice() {
    Pair const slice = AnySlice();
    long const z = slice.real->GetZArea().GetZ();
    slice.model->Clear();
    slice.real->Clear();
    slice.real->SetZArea(M2DSliceZArea(z));
  }

  void Invert() {
    Pair const slice = AnySlice();
    slice.model->Access(kBorder);
    for (Element& contour : slice.model->components[kBorder].memory) {
      auto& items = contour.items;
      if (!items.empty()) std::reverse(items.begin() + (contour.closed ? 1 : 0), items.end());
    }
    slice.model->Change(kBorder);
    slice.real->InvertContourData();
  }

  /// Flags and type records, by index, wherever they are valid.
  void ChangeFacts() {
    Pair const slice = AnySlice();
    std::size_t const kind = Below(kKinds);
    Component& model = slice.model->components[kind];
    std::size_t count = model.data ? model.memory.size() : model.records.size();
    if (model.disk) count = std::min(count, model.records.size());
    if (count == 0 || (!model.data && !model.disk)) return;
    unsigned const index = Below(count);
    long const type = Below(3);
    bool const by_reference = Chance(30);
    bool const flag = Chance(50);
    auto const apply = [&](auto const& change) {
      if (model.disk) change(model.records[index].stored);
      if (model.data) change(model.memory[index]);
    };
    WithRow(kind, [&](auto row) {
      auto& real = decltype(row)::Component(*slice.real);
      if (by_reference) {
        real.GetTypeInfo(index) = TypeInfo(type);
        if (model.disk) model.data = false;
        apply([&](Element& element) { element.type = type; });
      } else if (!HasContours(kind) || Chance(40)) {
        real.SetTypeInfo(index, TypeInfo(type));
        apply([&](Element& element) { element.type = type; });
      } else if constexpr (std::is_same_v<std::decay_t<decltype(real)>, M2DSliceComponentContours>) {
        if (Chance(50)) {
          real.SetIsClosed(index, flag);
          apply([&](Element& element) { element.closed = flag; });
        } else {
          real.SetIsOuter(index, flag);
          apply([&](Element& element) { element.outer = flag; });
        }
      }
    });
  }

  void Push() {
    Pair const slice = AnySlice();
    std::size_t const kind = Below(kKinds);
    Component& model = slice.model->components[kind];
    bool const prepares = slice.model->strategy != nullptr && slice.model->strategy->Prepares(kind);
    if (prepares) model.BeginPushing();
    WithRow(kind, [&](auto row) {
      auto& real = decltype(row)::Component(*slice.real);
      bool const is_prepared = real.PrepareForPushingData();
      EXPECT_EQ(is_prepared, prepares || !HasContours(kind));
      if (!is_prepared) return;
      for (unsigned n = Below(4); n > 0; --n) {
        Element element = AnyElement(kind);
        for (auto& item : element.items) {
          if (HasContours(kind)) item[2] = item[3] = 0;
        }
        std::size_t const expected = model.disk ? model.records.size() : model.data ? model.memory.size() : 0;
        Element plain;
        plain.items = element.items;
        if (Chance(50)) {
          plain = Narrowed(plain);
          EXPECT_EQ(PushElement(real, {}), expected);
          real.PushStoredItems(Stored(plain, kind).data(), plain.items.size());
        } else {
          EXPECT_EQ(PushElement(real, element), expected);
        }
        if (model.disk) {
          model.records.push_back({Narrowed(plain), BoxOf(plain, kind)});
          if (model.data && !model.memory.empty()) {
            auto& items = model.memory.back().items;
            items.insert(items.end(), plain.items.begin(), plain.items.end());
          }
        } else if (model.data) {
          model.memory.push_back(std::move(plain));
        }
      }
    });
  }

  static std::size_t PushElement(M2DSliceComponentContours& component, Element const& element) {
    std::size_t const index = component.PushContour();
    for (auto const& item : element.items) component.PushContourPoint(item[0], item[1]);
    return index;
  }
  static std::size_t PushElement(M2DSliceComponentVectors& component, Element const& element) {
    std::size_t const index = component.PushVectorBlock();
    for (auto const& item : element.items) component.PushVector(item[0], item[1], item[2], item[3]);
    return index;
  }
  static std::size_t PushElement(M2DSliceComponentPoints& component, Element const& element) {
    std::size_t const index = component.PushPointBlock();
    for (auto const& item : element.items) component.PushPoint(item[0], item[1]);
    return index;
  }

  void SwapStacks() {
    StackPair& a = AnyStack();
    StackPair& b = AnyStack();
    a.real->SwapWith(*b.real);
    if (&a == &b) return;
    std::swap(a.strategy, b.strategy);
    std::swap(a.slices, b.slices);
  }

  void ClearStack() {
    StackPair& stack = AnyStack();
    stack.Clear();
    if (Chance(50)) {
      stack.real->Clear();
    } else {
      auto const type = static_cast<Caching>(Chance(70) ? static_cast<unsigned>(stack.strategy->type) : Below(4));
      stack = StackPair(type);
    }
  }

  /// Slices of a source at the heights of some slices, which then wait for it.
  void InitFromSource() {
    /// Owns its slices.
    struct Source : M2DSliceBasicContainer {
      std::vector<std::unique_ptr<M2DSlice>> owned;
    };
    auto const source = boost::make_shared<Source>();
    StackPair& stack = AnyStack();
    for (long z : std::set{AnyZ(), AnyZ(), AnyZ(), AnyZ()}) {
      auto content = std::make_shared<std::array<Content, kKinds>>();
      source->owned.push_back(std::make_unique<M2DSlice>(z));
      for (std::size_t kind = 0; kind < kKinds; ++kind) {
        for (unsigned n = Below(3); n > 0; --n) (*content)[kind].push_back(AnyElement(kind));
        WithRow(kind, [&](auto row) {
          for (Element const& element : (*content)[kind]) {
            Fill(AddElement(decltype(row)::Component(*source->owned.back()).GetData()), element);
          }
        });
      }
      Slice& slice = *stack.At(z);
      slice.source = std::move(content);
      slice.GoBackToWaiting();
      source->AddSlice(source->owned.back().get());
    }
    stack.real->InitFromSourceSlices(source);
  }

  void LockOrUnlock() {
    StackPair& stack = AnyStack();
    if (Chance(40)) {
      stack.strategy->locked = true;
      stack.real->_GetCachingStrategy()->LockCaching();
    } else {
      stack.strategy->Unlock();
      stack.real->_GetCachingStrategy()->UnlockCaching();
    }
  }

  void ChangeLimits() {
    StackPair& stack = AnyStack();
    if (stack.strategy->type == Caching::MultipleTempFiles) {
      auto& limits = stack.strategy->limits;
      for (unsigned long& limit : limits) limit = Below(6);
      auto& real = static_cast<M2DSliceStackCachingStrategyMultipleTempFiles&>(*stack.real->_GetCachingStrategy());
      real.SetCacheSizes(limits[0], limits[1], limits[2], limits[3]);
      real.SetMaxFileSize(Below(20000));
    } else {
      M2DSliceStackCachingStrategySingleTempFile::SetNumCachedSlices(g_limit_of_single = Below(7));
      M2DSliceStackCachingStrategySingleTempFile::SetMaxFileSize(Below(20000));
    }
  }

  static void CheckSlice(Pair const& slice) {
    for (std::size_t kind = 0; kind < kKinds; ++kind) {
      Component const& model = slice.model->components[kind];
      WithRow(kind, [&](auto row) {
        SCOPED_TRACE("kind " + std::to_string(kind) + " of the slice at " + std::to_string(slice.model->z));
        CheckComponent(std::as_const(decltype(row)::Component(*slice.real)), model);
      });
      if (::testing::Test::HasFatalFailure()) return;
    }
  }

  template <class Real>
  static void CheckComponent(Real const& real, Component const& model) {
    ASSERT_EQ(real.IsDataValid(), model.data);
    ASSERT_EQ(real.IsDiskStateValid(), model.disk);
    ASSERT_EQ(real.GetTempFile() != nullptr, model.file);
    ASSERT_EQ(PlainLayer(real.GetData()), model.memory);
    ASSERT_EQ(real.GetUpdateCount(), 0u);

    // By the data, without a record of its own.
    auto const total = model.data ? model.memory.size() : model.records.size();
    typename std::decay_t<Real>::BaseInfo whole;
    real.GetBaseInfo(whole);
    M2DSliceXYArea area;
    for (std::size_t i = 0; i < total; ++i) {
      area.Extend(model.data ? BoxOf(model.memory[i], model.kind) : model.records[i].box);
    }
    ASSERT_EQ(whole.xyArea, area);
    ASSERT_EQ(real.GetNumElements(), total);

    if (model.disk) {
      for (std::size_t i = 0; i < model.records.size(); ++i) {
        Record const& record = model.records[i];
        CheckFacts(real, i, record.stored);
        M2DSliceXYArea box;
        real.GetBoundingBox(i, box);
        ASSERT_EQ(box, record.box);
        if (model.data) continue;
        ASSERT_TRUE(Visited(real, i) == Stored(model.Read(record.stored), model.kind));
        for (std::size_t item = 0; item < record.stored.items.size(); ++item) {
          ASSERT_EQ(ReadItem(real, i, item), model.Read(record.stored).items[item]);
          if (item == 20) break;
        }
      }
    } else if (model.data) {
      for (std::size_t i = 0; i < model.memory.size(); ++i) {
        CheckFacts(real, i, model.memory[i]);
        ASSERT_TRUE(Visited(real, i) == Stored(model.memory[i], model.kind));
        for (std::size_t item = 0; item < model.memory[i].items.size(); ++item) {
          auto expected = model.memory[i].items[item];
          if (HasContours(model.kind)) expected[2] = expected[3] = 0;
          ASSERT_EQ(ReadItem(real, i, item), expected);
          if (item == 20) break;
        }
      }
    }
  }

  template <class Real>
  static void CheckFacts(Real const& real, std::size_t index, Element const& expected) {
    ASSERT_EQ(TypeOf(real.GetTypeInfo(index)), expected.type);
    ASSERT_EQ(real.GetNumItems(index), expected.items.size());
    if constexpr (std::is_same_v<Real, M2DSliceComponentContours>) {
      ASSERT_EQ(real.GetIsClosed(index), expected.closed);
      ASSERT_EQ(real.GetIsOuter(index), expected.outer);
    }
  }

  template <class Real>
  static std::string Visited(Real const& real, std::size_t index) {
    std::string bytes;
    real.VisitStoredItems(index, [&](char const* piece, std::size_t size) { bytes.append(piece, size); });
    return bytes;
  }

  using Item = std::array<long, 4>;
  static Item ReadItem(M2DSliceComponentContours const& real, std::size_t element, std::size_t item) {
    Item read{};
    real.GetContourPoint(element, item, read[0], read[1]);
    return read;
  }
  static Item ReadItem(M2DSliceComponentVectors const& real, std::size_t element, std::size_t item) {
    Item read{};
    real.GetVector(element, item, read[0], read[1], read[2], read[3]);
    return read;
  }
  static Item ReadItem(M2DSliceComponentPoints const& real, std::size_t element, std::size_t item) {
    Item read{};
    real.GetPoint(element, item, read[0], read[1]);
    return read;
  }

  std::mt19937_64 m_random;
  std::vector<StackPair> m_stacks;
  std::vector<Pair> m_loose;  ///< two slices of no stack, and some that have left theirs
};

class StackModel : public ::testing::TestWithParam<Caching> {};

TEST_P(StackModel, RandomWorkLeavesWhatTheModelSays) {
  char const* const seeds_text = std::getenv("MODEL_SEEDS");
  char const* const first_text = std::getenv("MODEL_FIRST_SEED");
  unsigned const first = first_text != nullptr ? static_cast<unsigned>(std::atoi(first_text)) : 1;
  unsigned const seeds = seeds_text != nullptr ? static_cast<unsigned>(std::atoi(seeds_text)) : 5;
  constexpr unsigned kSteps = 2000;
  Scratch scratch;
  for (unsigned seed = first; seed < first + seeds; ++seed) {
    RandomWork run(GetParam(), seed);
    for (unsigned step = 0; step < kSteps; ++step) {
      std::string const operation = run.Step();
      run.Check(step % 50 == 0);
      ASSERT_FALSE(HasFailure()) << "seed " << seed << ", step " << step << ": " << operation;
    }
    run.ReadAll();
    run.Check(true);
    ASSERT_FALSE(HasFailure()) << "seed " << seed << ", at the end";
  }
}

std::string NameOf(::testing::TestParamInfo<Caching> const& type) {
  static char const* const names[] = {"NoTempFiles", "MultipleTempFiles", "SingleTempFile", "ZRange"};
  return names[static_cast<std::size_t>(type.param)];
}

INSTANTIATE_TEST_SUITE_P(CachingTypes, StackModel,
                         ::testing::Values(Caching::NoTempFiles, Caching::MultipleTempFiles, Caching::SingleTempFile,
                                           Caching::ZRange),
                         NameOf);

}  // namespace
