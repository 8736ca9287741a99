#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/M3dBorder.h>
#include <SliceData/slice_model/M2DSliceContour.h>
#include <SliceData/slice_model/M2DSliceDefaultVectorTypeInfoHolder.h>

#include <memory>

/// The contours of a slice, in their order. Owns them; all that it creates share one pool of points.
class VELSDK_EXPORT M2DSliceContourLayer : public M3dBorder<long, void*, M2DSliceContour>,
                                           public M2DSliceDefaultVectorTypeInfoHolder {
 public:
  M2DSliceContourLayer();
  ~M2DSliceContourLayer() override;

  /// A contour on this layer's pool with a copy of the default type record, not yet linked into the layer.
  std::unique_ptr<M2DSliceContour> _CreateNewContour() override;

  /// Creates a contour and links it at the tail.
  M2DSliceContour& AddContour();

  /// Deletes all contours. Where they are all that draws from their pool, no point is looked at.
  void Clear() noexcept;

  /// Lets go of the pool; the next contour begins another. Contours that use it keep it.
  void ReleasePool() noexcept { m_pool.reset(); }

  /// Appends copies of all contours of `source`.
  void Add(M2DSliceContourLayer const& source);
  /// With `move` true the contours themselves change layers, without a copy, and `source` ends empty.
  void Add(M2DSliceContourLayer& source, bool move);

  /// True if every contour is closed; an empty layer gives true.
  bool GetIsClosed() const;

 private:
  boost::shared_ptr<MCyclicMemoryPool<M2DSliceContourPoint>> m_pool;  ///< null until the first contour
};
