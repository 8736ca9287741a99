#include <SliceData/geometry/M2DSliceRegions.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <tuple>
#include <utility>

namespace {

/// Orders as value / gridSize does.
long Quantised(long value, long gridSize) {
  return gridSize == -1 ? ~value : value / gridSize;  // the smallest long has no negative, but a complement
}

}  // namespace

void M2DSliceRegions::AddDummyRegion() {
  regions.emplace_back();
  dummyRegionIndex = regions.size() - 1;
}

unsigned long M2DSliceRegions::GetSuitedRegion(long x, long y) const {
  return _GetSuitedRegion(static_cast<double>(x), static_cast<double>(y));
}

unsigned long M2DSliceRegions::GetSuitedRegion(M2DSliceVectorBlock const* block) const {
  return _GetSuitedRegion(block);
}

unsigned long M2DSliceRegions::GetSuitedRegion(M2DSliceContour const* contour) const {
  return _GetSuitedRegion(M2DSliceRegion(contour));
}

template <class... Probe>
unsigned long M2DSliceRegions::_GetSuitedRegion(Probe const&... probe) const {
  M2DSliceRegion const* best = nullptr;
  for (M2DSliceRegion const& region : regions) {
    if (region.GetPosition(probe...) == M2DSliceRegion::RegionPositionOutside) continue;
    if (best == nullptr || best->GetPosition(region) == M2DSliceRegion::RegionPositionInside) best = &region;
  }
  return best == nullptr ? dummyRegionIndex : static_cast<unsigned long>(best - regions.data());
}

void M2DSliceRegions::Sort(long gridSize) {
  assert(gridSize != 0 || regions.size() < 2);
  if (gridSize == 0 || regions.size() < 2) return;

  std::vector<std::tuple<long, long, std::size_t>> places;  // column, row, old index
  places.reserve(regions.size());
  for (M2DSliceRegion const& region : regions) {
    region._ValidateExtremes();
    places.emplace_back(Quantised(region.minX, gridSize), Quantised(region.minY, gridSize), places.size());
  }
  std::sort(places.begin(), places.end());

  std::vector<M2DSliceRegion> sorted;
  sorted.reserve(regions.size());
  for (auto const& place : places) sorted.push_back(std::move(regions[std::get<2>(place)]));
  regions = std::move(sorted);
}
