#include <SliceData/geometry/PointDistance.h>
#include <SliceData/geometry/StartPointData.h>

#include <algorithm>

namespace M2DSliceUtilities {

using Point = MMPoint3dIntegerTypes<long>;

IStartPointData::~IStartPointData() = default;
IMinimalDistanceProvider::~IMinimalDistanceProvider() = default;

FixedDistanceProvider::FixedDistanceProvider(long distance) : m_distance(distance) {}

long FixedDistanceProvider::GetDistance(Point const&) const {
  return m_distance;
}

StartPointDataPerSlice::StartPointDataPerSlice(std::shared_ptr<IMinimalDistanceProvider> distanceProvider)
    : m_distance_provider(std::move(distanceProvider)) {}

StartPointDataPerSlice::~StartPointDataPerSlice() = default;

bool StartPointDataPerSlice::IsPointValid(Point const& point) {
  if (m_distance_provider == nullptr) return true;
  Points const recorded = [&] {
    std::lock_guard<std::mutex> const lock(m_mutex);
    return _GetPointsAt(point.z);
  }();
  return std::none_of(recorded.begin(), recorded.end(), [&](Point const& other) {
    return Truncated(Distance(point, other)) < m_distance_provider->GetDistance(point);
  });
}

void StartPointDataPerSlice::AddPointToList(Point const& point) {
  std::lock_guard<std::mutex> const lock(m_mutex);
  _GetPointsAt(point.z).push_back(point);
}

void StartPointDataPerSlice::SetCurrentRegionForZ(long z, long region) {
  std::lock_guard<std::mutex> const lock(m_mutex);
  m_region_by_z[z] = region;
}

long StartPointDataPerSlice::GetSumOfDistances(Point const& point) {
  long sum = 0;
  for (Point const& other : _GetPointsAt(point.z)) sum = BoundedSum(sum, Truncated(Distance(point, other)));
  return sum;
}

StartPointDataPerSlice::Points& StartPointDataPerSlice::_GetPointsAt(long z) {
  return m_points_by_region[{m_region_by_z[z], z}];
}

}  // namespace M2DSliceUtilities
