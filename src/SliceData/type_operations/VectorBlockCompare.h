#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>
#include <SliceData/type_operations/SortRules.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <functional>
#include <map>
#include <unordered_map>

namespace M2DSliceUtilities {

/// Where a block stands under a built-in rule of order. What compares less goes first.
///
/// Each built-in rule tells by its `GetKey` all that its `Compare` goes by, so that a sort asks once a block. All rules
/// but `VectorBlockCompareLeftToRight` are total: after the rank comes the block's `IndexScanPriority`, then its
/// address. A type outside the built-in vocabulary has rank 0 under each of them.
struct VectorBlockSortKey {
  long rank = 0;                                 ///< higher first
  long scan_priority = 0;                        ///< higher first
  M2DSliceVectorBlock const* address = nullptr;  ///< lower first; null for all blocks where a rule leaves ties
};

inline bool operator<(VectorBlockSortKey const& a, VectorBlockSortKey const& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.scan_priority != b.scan_priority) return a.scan_priority > b.scan_priority;
  return std::less<>()(a.address, b.address);
}

/// By scan priority alone.
class VELSDK_EXPORT VectorBlockCompareScanPriority : public IVectorBlockCompare {
 public:
  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;
};

/// Hatching before its hatching border, the plain family before the down and then the up family, then the borders in
/// falling order of their types, `General` last.
class VELSDK_EXPORT VectorBlockCompareInsideOut : public IVectorBlockCompare {
 public:
  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;
};

/// Additional borders, borders, hatching of all three families, `HatchingBorder`, `General`, and behind it the down and
/// up hatching borders. Machines are set up for this order, so it stays.
class VELSDK_EXPORT VectorBlockCompareLaserMelting : public IVectorBlockCompare {
 public:
  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;
};

/// `Border`, `Hatching`, `BorderAdditional`, and everything else alike behind them.
class VELSDK_EXPORT VectorBlockCompareInsstekCFC : public IVectorBlockCompare {
 public:
  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;
};

/// The extent of a block in internal units.
struct VectorBlockInfo {
  M2DSliceVectorBlock const* block = nullptr;
  long minX = 0;
  long maxX = 0;
  long minY = 0;
  long maxY = 0;
};

/// By the smallest x of a block, the lower first; nothing else counts, so that blocks which start at the same x are
/// ties. An empty block counts as starting at 2147483647, and so does one that lies beyond.
class VELSDK_EXPORT VectorBlockCompareLeftToRight : public IVectorBlockCompare {
 public:
  /// Measures the blocks of the layer and forgets those measured before.
  void Prepare(M2DSliceVectorLayer& layer) override;
  /// 0 also if either block has not been measured.
  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  /// A block that has not been measured counts as an empty one.
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;

 private:
  VectorBlockInfo const* _Find(M2DSliceVectorBlock const* block) const;

  std::unordered_map<M2DSliceVectorBlock const*, VectorBlockInfo> m_infos;
};

/// By the priority that a map gives to the block's record, the higher first.
///
/// Of a record count its type and those built-in flags and indices that set some key of that type in the map apart: a
/// flag that is true, an index of 0 or more. With these it has to match a key, or else it has priority 0.
class VELSDK_EXPORT VectorBlockCompareInputBased : public IVectorBlockCompare {
 public:
  using Priorities = std::map<M2DSliceVectorTypeInfo, long>;

  int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override;
  /// Keeps the map's address: the map must outlive this object and keep its keys. To be called once; without a map all
  /// priorities are 0.
  virtual void SetInputPriorities(Priorities const& priorities);
  VectorBlockSortKey GetKey(M2DSliceVectorBlock const& block) const;

 private:
  using Registry = M2DSliceVectorTypeInfo::Registry;

  long _FindPriorityInMap(M2DSliceVectorTypeInfo const& info) const;

  Priorities const* m_priorities = nullptr;
  // What sets keys of a type apart, by type.
  std::array<std::bitset<Registry::kNumFlags>, Registry::kNumTypes> m_flags;
  std::array<std::bitset<Registry::kNumIndices>, Registry::kNumTypes> m_indices;
};

}  // namespace M2DSliceUtilities
