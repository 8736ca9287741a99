#pragma once

#include <SliceData/geometry/RescaleLookupTable.h>
#include <SliceData/platform/common/Export.h>

namespace M2DSliceUtilities {

/// Scales heights by a factor that depends on the height. Without a table nothing is scaled.
///
/// Heights are in internal units. Results are truncated towards zero; what lies beyond the range of `long`, such as the
/// inverse under a factor of 0, becomes its nearest limit.
class VELSDK_EXPORT M2DSliceZScale {
 public:
  /// Takes over the factors by height; they replace those before.
  void SetLookupTable(RescaleLookupTable<long, double> table);

  long TransformZ(long z) const;
  /// Goes back from a scaled height, nearly: the factor is that at the scaled height, not at the one it came from.
  long TransformZInverse(long z) const;
  double GetScalingFactor(long z) const;
  double _Lookup(long z) const;

 private:
  RescaleLookupTable<long, double> m_table;
};

}  // namespace M2DSliceUtilities
