#pragma once

#include <SliceData/geometry/DistortionTable.h>
#include <SliceData/geometry/iTransformation.h>

namespace M2DSliceUtilities {

/// The mapping by a distortion table. Without samples it changes nothing.
class VELSDK_EXPORT TransformationDistortion final : public iTransformation {
 public:
  /// Edges of the build platform, in internal units.
  struct PlatformCoordinates {
    double left = 0;
    double top = 0;
    double right = 0;
    double bottom = 0;
  };

  /// Takes the table over; it replaces the one before.
  void SetLookupTable(DistortionTable<double> table);
  /// Keeps the platform for clones. The mapping does not look at it: points off the platform go through the table like
  /// any other.
  void SetPlatformCoordinates(PlatformCoordinates platform);

  TransformationDistortion* _Clone() const override;
  /// \throw std::out_of_range  where the table misses a sample; the point stays. See `DistortionTable::Lookup`.
  void _Transform(double& x, double& y) const override;
  MMPoint2d<double> _Lookup(MMPoint2d<double> position) const;

 private:
  DistortionTable<double> m_table;
  PlatformCoordinates m_platform;
};

}  // namespace M2DSliceUtilities
