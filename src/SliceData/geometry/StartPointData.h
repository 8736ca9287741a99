#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/math/MMPoint3dIntegerTypes.h>

#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace M2DSliceUtilities {

/// Remembers chosen starting points, so that later choices can keep a distance from them.
class VELSDK_EXPORT IStartPointData {
 public:
  virtual ~IStartPointData();

  /// Whether a contour may begin at the point.
  virtual bool IsPointValid(MMPoint3dIntegerTypes<long> const& point) = 0;
  virtual void AddPointToList(MMPoint3dIntegerTypes<long> const& point) = 0;
};

/// The smallest distance to keep from other points.
class VELSDK_EXPORT IMinimalDistanceProvider {
 public:
  virtual ~IMinimalDistanceProvider();

  /// In internal units.
  virtual long GetDistance(MMPoint3dIntegerTypes<long> const& point) const = 0;
};

/// The same distance everywhere.
class VELSDK_EXPORT FixedDistanceProvider : public IMinimalDistanceProvider {
 public:
  explicit FixedDistanceProvider(long distance);

  long GetDistance(MMPoint3dIntegerTypes<long> const& point) const override;

 private:
  long m_distance;
};

/// Keeps starting points apart within each region of each height: only points of the same region and height are
/// compared.
///
/// Several threads may test and record points; the provider is asked outside the lock.
class VELSDK_EXPORT StartPointDataPerSlice : public IStartPointData {
 public:
  /// Without a provider every point is valid.
  explicit StartPointDataPerSlice(std::shared_ptr<IMinimalDistanceProvider> distanceProvider);
  ~StartPointDataPerSlice() override;

  /// False if a recorded point of the same height and its current region is closer than the provider demands.
  /// Distances are truncated to integers first.
  bool IsPointValid(MMPoint3dIntegerTypes<long> const& point) override;
  /// Records the point in the current region of its height.
  void AddPointToList(MMPoint3dIntegerTypes<long> const& point) override;

  /// From now on points of this height belong to this region. Every height begins with region 0.
  void SetCurrentRegionForZ(long z, long region);

  /// Of the point from all recorded points of its height and current region, each truncated to an integer. Takes no
  /// lock: the only user at the time must be the caller.
  long GetSumOfDistances(MMPoint3dIntegerTypes<long> const& point);

 private:
  using Points = std::vector<MMPoint3dIntegerTypes<long>>;

  /// Of the current region; the caller holds the lock.
  Points& _GetPointsAt(long z);

  std::mutex m_mutex;
  std::map<std::pair<long, long>, Points> m_points_by_region;  ///< by region and height
  std::map<long, long> m_region_by_z;
  std::shared_ptr<IMinimalDistanceProvider> m_distance_provider;
};

}  // namespace M2DSliceUtilities
