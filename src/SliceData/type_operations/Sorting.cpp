#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/Sorting.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <set>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace M2DSliceUtilities {

IContourCompare::~IContourCompare() = default;
IVectorCompare::~IVectorCompare() = default;
IVectorBlockCompare::~IVectorBlockCompare() = default;

namespace {

constexpr e2DSliceVectorTypeIndex kScanPriority = e2DSliceVectorTypeIndex::IndexScanPriority;
constexpr long kNoScanPriority = -1;

/// Gives each element its new scan priority and then calls `function` with it.
///
/// `new_priority` is told the old scan priority and the element's place from the end.
template <class Layer, class NewPriority, class Function>
void ForEachWithPriority(Layer& layer, NewPriority new_priority, Function&& function) {
  unsigned long place = layer.GetCount();
  for (auto& element : layer) {
    M2DSliceVectorTypeInfo& info = element.GetVectorTypeInfo();
    long const old = info.GetIndex(kScanPriority);
    long const priority = new_priority(old, place--);
    if (priority != old) info.SetIndex(kScanPriority, priority);
    function(element);
  }
}

// Elements without a place in the order, all but the first of each set of ties, stay where they are; the others go
// behind them. All that can throw comes before the list is touched.

/// Sorts by asking the rule at each comparison. What a rule gives that is no strict weak order is what the ordered set
/// makes of it.
template <class Layer, class NewPriority, class Compare>
void SortByAsking(Layer& layer, NewPriority new_priority, Compare const& compare) {
  using Element = std::remove_reference_t<decltype(*layer.begin())>;
  auto const goes_before = [&](Element const* a, Element const* b) { return compare.Compare(a, b) == -1; };
  std::set<Element*, decltype(goes_before)> sorted(goes_before);
  ForEachWithPriority(layer, new_priority, [&](Element& element) { sorted.insert(&element); });
  for (Element* const element : sorted) layer.Append(layer.Unlink(element));
}

/// Sorts by the keys of the rule if it is of exactly this class. A derived class may compare otherwise.
template <class Rule, class NewPriority>
bool SortByKeysOf(M2DSliceVectorLayer& layer, NewPriority new_priority, IVectorBlockCompare const& compare) {
  if (typeid(compare) != typeid(Rule)) return false;
  auto const& rule = static_cast<Rule const&>(compare);
  struct Entry {
    VectorBlockSortKey key;
    M2DSliceVectorBlock* block;
  };
  std::vector<Entry> entries;
  entries.reserve(layer.GetCount());
  ForEachWithPriority(layer, new_priority, [&](M2DSliceVectorBlock& block) {
    entries.push_back({rule.GetKey(block), &block});
  });
  auto const goes_before = [](Entry const& a, Entry const& b) { return a.key < b.key; };
  std::stable_sort(entries.begin(), entries.end(), goes_before);
  auto const end =
      std::unique(entries.begin(), entries.end(), [&](Entry const& a, Entry const& b) { return !goes_before(a, b); });
  for (auto entry = entries.begin(); entry != end; ++entry) layer.Append(layer.Unlink(entry->block));
  return true;
}

template <class... Rules, class NewPriority>
bool SortByKeysOfAny(M2DSliceVectorLayer& layer, NewPriority new_priority, IVectorBlockCompare const& compare) {
  return (SortByKeysOf<Rules>(layer, new_priority, compare) || ...);
}

}  // namespace

void SortContours(M2DSliceContourLayer& layer, boost::shared_ptr<IContourCompare> compare) {
  compare->Prepare(layer);
  auto const keep = [](long old, unsigned long place) {
    return old == kNoScanPriority ? static_cast<long>(place) : old;
  };
  SortByAsking(layer, keep, *compare);
}

void SortVectors(M2DSliceVectorBlock& block, boost::shared_ptr<IVectorCompare> compare) {
  compare->Prepare(block);
  auto const goes_before = [&](M2DSliceVector const& a, M2DSliceVector const& b) {
    return compare->Compare(a, b) == -1;
  };
  std::multiset<M2DSliceVector, decltype(goes_before)> sorted(goes_before);
  for (M2DSliceVector const& vector : block) sorted.insert(vector);  // one by one: a hint trusts in an order
  std::copy(sorted.begin(), sorted.end(), block.begin());
}

void SortVectors(M2DSliceVectorLayer& layer, boost::shared_ptr<IVectorCompare> compare) {
  for (M2DSliceVectorBlock& block : layer) SortVectors(block, compare);
}

void SortVectorBlocks(M2DSliceVectorLayer& layer, boost::shared_ptr<IVectorBlockCompare> compare) {
  compare->Prepare(layer);
  auto const multiply = [count = layer.GetCount()](long old, unsigned long place) {
    unsigned long const major = old == kNoScanPriority ? 0 : count * static_cast<unsigned long>(old);
    return static_cast<long>(major + place);
  };
  if (!SortByKeysOfAny<VectorBlockCompareScanPriority, VectorBlockCompareInsideOut, VectorBlockCompareLeftToRight,
                       VectorBlockCompareLaserMelting, VectorBlockCompareInsstekCFC, VectorBlockCompareInputBased>(
          layer, multiply, *compare)) {
    SortByAsking(layer, multiply, *compare);
  }
}

void SortVectorBlocksOnScanPriority(M2DSliceVectorLayer& layer) {
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareScanPriority>());
}

void SortVectorBlocksInsideOut(M2DSliceVectorLayer& layer) {
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareInsideOut>());
}

void SortVectorBlocksLeftToRight(M2DSliceVectorLayer& layer) {
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareLeftToRight>());
}

void SortVectorBlocksLaserMelting(M2DSliceVectorLayer& layer) {
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareLaserMelting>());
}

void SortVectorBlocksInsstekCFC(M2DSliceVectorLayer& layer) {
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareInsstekCFC>());
}

void SortVectorBlocksInputBased(M2DSliceVectorLayer& layer, std::map<M2DSliceVectorTypeInfo, long> const& priorities) {
  auto const compare = boost::make_shared<VectorBlockCompareInputBased>();
  compare->SetInputPriorities(priorities);
  SortVectorBlocks(layer, compare);
}

}  // namespace M2DSliceUtilities
