#include <SliceData/geometry/Extents.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/VectorBlockCompare.h>

#include <cstdint>
#include <limits>

namespace M2DSliceUtilities {

namespace {

constexpr std::size_t kNumTypes = M2DSliceVectorTypeInfo::Registry::kNumTypes;

/// By type, in the order of the enumerators: General, Border, BorderDown, BorderUp, BorderAdditional,
/// BorderAdditionalOutside, Hatching, HatchingDown, HatchingUp, HatchingBorder, HatchingDownBorder, HatchingUpBorder.
using Ranks = std::array<long, kNumTypes>;

constexpr Ranks kInsideOut = {0, 1, 2, 3, 4, 5, 100, 90, 80, 99, 89, 79};
constexpr Ranks kLaserMelting = {1, 7, 7, 7, 8, 8, 4, 4, 4, 2, 0, 0};
constexpr Ranks kInsstekCFC = {0, 5, 0, 0, 1, 0, 3, 0, 0, 0, 0, 0};

constexpr long kMinXOfNothing = std::numeric_limits<std::int32_t>::max();

/// The position in tables by type; at or beyond their end for a type outside the built-in vocabulary.
std::size_t TypeOf(M2DSliceVectorTypeInfo const& info) {
  return static_cast<std::size_t>(info.GetType().enumerator);
}

long RankIn(Ranks const& ranks, M2DSliceVectorTypeInfo const& info) {
  std::size_t const type = TypeOf(info);
  return type < ranks.size() ? ranks[type] : 0;
}

VectorBlockSortKey TotalKey(long rank, M2DSliceVectorBlock const& block) {
  return {rank, block.GetVectorTypeInfo().GetIndex(e2DSliceVectorTypeIndex::IndexScanPriority), &block};
}

template <class Rule>
int CompareByKey(Rule const& rule, M2DSliceVectorBlock const& a, M2DSliceVectorBlock const& b) {
  VectorBlockSortKey const key_a = rule.GetKey(a);
  VectorBlockSortKey const key_b = rule.GetKey(b);
  return key_a < key_b ? -1 : key_b < key_a ? 1 : 0;
}

}  // namespace

VectorBlockSortKey VectorBlockCompareScanPriority::GetKey(M2DSliceVectorBlock const& block) const {
  return TotalKey(0, block);
}

int VectorBlockCompareScanPriority::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  return CompareByKey(*this, *a, *b);
}

VectorBlockSortKey VectorBlockCompareInsideOut::GetKey(M2DSliceVectorBlock const& block) const {
  return TotalKey(RankIn(kInsideOut, block.GetVectorTypeInfo()), block);
}

int VectorBlockCompareInsideOut::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  return CompareByKey(*this, *a, *b);
}

VectorBlockSortKey VectorBlockCompareLaserMelting::GetKey(M2DSliceVectorBlock const& block) const {
  return TotalKey(RankIn(kLaserMelting, block.GetVectorTypeInfo()), block);
}

int VectorBlockCompareLaserMelting::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  return CompareByKey(*this, *a, *b);
}

VectorBlockSortKey VectorBlockCompareInsstekCFC::GetKey(M2DSliceVectorBlock const& block) const {
  return TotalKey(RankIn(kInsstekCFC, block.GetVectorTypeInfo()), block);
}

int VectorBlockCompareInsstekCFC::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  return CompareByKey(*this, *a, *b);
}

void VectorBlockCompareLeftToRight::Prepare(M2DSliceVectorLayer& layer) {
  m_infos.clear();
  m_infos.reserve(layer.GetCount());
  for (M2DSliceVectorBlock const& block : layer) {
    VectorBlockInfo& info = m_infos[&block];
    info.block = &block;
    GetExtremes(block, info.minX, info.minY, info.maxX, info.maxY);
  }
}

VectorBlockInfo const* VectorBlockCompareLeftToRight::_Find(M2DSliceVectorBlock const* block) const {
  auto const found = m_infos.find(block);
  return found != m_infos.end() ? &found->second : nullptr;
}

VectorBlockSortKey VectorBlockCompareLeftToRight::GetKey(M2DSliceVectorBlock const& block) const {
  auto const* const info = _Find(&block);
  // The complement turns the order round as the negative does, and every number has one.
  return {~(info != nullptr ? info->minX : kMinXOfNothing), 0, nullptr};
}

int VectorBlockCompareLeftToRight::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  auto const* const info_a = _Find(a);
  auto const* const info_b = _Find(b);
  if (info_a == nullptr || info_b == nullptr) return 0;
  return info_a->minX < info_b->minX ? -1 : info_b->minX < info_a->minX ? 1 : 0;
}

void VectorBlockCompareInputBased::SetInputPriorities(Priorities const& priorities) {
  m_priorities = &priorities;
  for (auto const& [info, priority] : priorities) {
    std::size_t const type = TypeOf(info);
    if (type >= kNumTypes) continue;
    for (std::size_t flag = 0; flag < Registry::kNumFlags; ++flag) {
      if (info.GetFlag(static_cast<e2DSliceVectorTypeFlag>(flag))) m_flags[type].set(flag);
    }
    for (std::size_t index = 0; index < Registry::kNumIndices; ++index) {
      if (info.GetIndex(static_cast<e2DSliceVectorTypeIndex>(index)) >= 0) m_indices[type].set(index);
    }
  }
}

long VectorBlockCompareInputBased::_FindPriorityInMap(M2DSliceVectorTypeInfo const& info) const {
  std::size_t const type = TypeOf(info);
  if (m_priorities == nullptr || type >= kNumTypes) return 0;
  M2DSliceVectorTypeInfo wanted(info.GetType().enumerator);
  for (std::size_t i = 0; i < Registry::kNumFlags; ++i) {
    auto const flag = static_cast<e2DSliceVectorTypeFlag>(i);
    if (m_flags[type][i]) wanted.SetFlag(flag, info.GetFlag(flag));
  }
  for (std::size_t i = 0; i < Registry::kNumIndices; ++i) {
    auto const index = static_cast<e2DSliceVectorTypeIndex>(i);
    if (m_indices[type][i]) wanted.SetIndex(index, info.GetIndex(index));
  }
  auto const found = m_priorities->find(wanted);
  return found != m_priorities->end() ? found->second : 0;
}

VectorBlockSortKey VectorBlockCompareInputBased::GetKey(M2DSliceVectorBlock const& block) const {
  return TotalKey(_FindPriorityInMap(block.GetVectorTypeInfo()), block);
}

int VectorBlockCompareInputBased::Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const {
  return CompareByKey(*this, *a, *b);
}

}  // namespace M2DSliceUtilities
