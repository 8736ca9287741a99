#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceContour;
class M2DSliceContourLayer;
struct M2DSliceVector;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;

namespace M2DSliceUtilities {

/// The order of contours, for a host to derive from.
///
/// `Compare` says -1 if `a` goes before `b`, 1 if `b` goes before `a`, 0 if neither does; only -1 is looked for. The
/// answer depends on the two alone and is the same each time. Where answers are no strict weak order, nothing is lost,
/// but the result is of little use. `Prepare` is called once before each sort, on what is to be sorted, and may change
/// it; here it does nothing. Both may throw.
class VELSDK_EXPORT IContourCompare {
 public:
  virtual ~IContourCompare();
  virtual void Prepare(M2DSliceContourLayer& /*layer*/) {}
  virtual int Compare(M2DSliceContour const* a, M2DSliceContour const* b) const = 0;
};

/// The order of the vectors of a block, under the same terms as `IContourCompare`.
class VELSDK_EXPORT IVectorCompare {
 public:
  virtual ~IVectorCompare();
  virtual void Prepare(M2DSliceVectorBlock& /*block*/) {}
  virtual int Compare(M2DSliceVector const& a, M2DSliceVector const& b) const = 0;
};

/// The order of vector blocks, under the same terms as `IContourCompare`. `VectorBlockCompare.h` has built-in ones.
class VELSDK_EXPORT IVectorBlockCompare {
 public:
  virtual ~IVectorBlockCompare();
  virtual void Prepare(M2DSliceVectorLayer& /*layer*/) {}
  virtual int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const = 0;
};

}  // namespace M2DSliceUtilities
