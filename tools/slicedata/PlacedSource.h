#pragma once

#include "ForwardingSource.h"

namespace Tool {

/// The slices of a cached stack, moved by whole internal units. Border contours and vectors move, points and area
/// contours must not be there.
class PlacedSource final : public ForwardingSource {
 public:
  struct Offset {
    long x = 0;
    long y = 0;
    long z = 0;
  };

  /// \param source  a stack that was read from a document; outlives this
  PlacedSource(ISource2DSlices const& source, Offset const& offset);
  ~PlacedSource() override;

 protected:
  M2DSliceXYArea _OnGetXYArea() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;

 private:
  M2DSliceZArea _Place(M2DSliceZArea area) const;

  Offset m_offset;
};

}  // namespace Tool
