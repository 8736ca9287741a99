#pragma once

#include <SliceData/platform/boolean/PlanarSegment.h>

#include <cstdint>
#include <vector>

/// A point as a number, with the same order, and what it belongs to.
struct PlanarKey {
  std::uint64_t key;
  std::uint32_t index;
};

inline std::uint64_t PlanarKeyOf(PlanarPoint point) {
  constexpr std::uint32_t kSignBit = 1u << 31;
  return std::uint64_t{static_cast<std::uint32_t>(point.x) ^ kSignBit} << 32 |
         (static_cast<std::uint32_t>(point.y) ^ kSignBit);
}

/// Sorts by key; entries of the same key keep their order. Linear in the number of entries.
void SortByKey(std::vector<PlanarKey>& entries);
