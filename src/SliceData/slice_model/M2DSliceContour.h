#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/M3dBorderContourBase.h>
#include <SliceData/slice_model/I2DSliceDataBlock.h>
#include <SliceData/slice_model/M2DSliceContourPoint.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfoHolder.h>

/// A closed or open polygon with its type record.
///
/// Its points come from a pool that it shares with the contours of the layer that created it, and goes on sharing when
/// it is moved to another layer.
class VELSDK_EXPORT M2DSliceContour : public M3dBorderContourBase<long, void*, M2DSliceContourPoint, M2DSliceContour>,
                                      public M2DSliceVectorTypeInfoHolder,
                                      public I2DSliceDataBlock {
 public:
  /// With a null pool the contour makes one of its own.
  explicit M2DSliceContour(boost::shared_ptr<MCyclicMemoryPool<M2DSliceContourPoint>> pool);
  M2DSliceContour(boost::shared_ptr<MCyclicMemoryPool<M2DSliceContourPoint>> pool, M2DSliceVectorTypeInfo const& info);
  ~M2DSliceContour() override;

  /// Takes over points, flags and type record. The points are drawn from this contour's own pool; its place in a layer
  /// stays.
  M2DSliceContour& operator=(M2DSliceContour const& source);
};

static_assert(MCyclicMemoryPool<M2DSliceContourPoint>::kElementsPerBlock == 73);
