#pragma once

#include <SliceData/geometry/RescaleLookupTable.h>
#include <SliceData/geometry/iTransformation.h>

namespace M2DSliceUtilities {

/// Scales points about the centre of the build platform, by a factor that depends on the distance to the nearest edge
/// of the platform.
///
/// Points on the edges are scaled, points off the platform are not, so the mapping jumps there unless the factor for
/// distance 0 is 1. A new object has a platform of no extent and changes nothing.
class VELSDK_EXPORT TransformationRescale final : public iTransformation {
 public:
  /// Edges of the build platform, in internal units.
  struct PlatformCoordinates {
    double left = 0;    ///< smallest x
    double top = 0;     ///< largest y
    double right = 0;   ///< largest x
    double bottom = 0;  ///< smallest y
  };

  /// Takes over the factors by distance in internal units; they replace those before.
  void SetLookupTable(RescaleLookupTable<double, double> table);
  void SetPlatformCoordinates(PlatformCoordinates platform);

  TransformationRescale* _Clone() const override;
  void _Transform(double& x, double& y) const override;
  /// The factor at a distance from the nearest edge.
  double _Lookup(double distance) const;

 private:
  RescaleLookupTable<double, double> m_table;
  PlatformCoordinates m_platform;
};

}  // namespace M2DSliceUtilities
