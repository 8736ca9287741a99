#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/RandomAccessSource.h>

#include <memory>

namespace SliceFormats {

/// The measures of a lattice cube in millimetres.
struct LatticeOptions {
  double size_mm = 20.0;       ///< edge of the cube, up to 100000
  double cell_mm = 4.0;        ///< period of the lattice; may be larger than the cube
  double thickness_mm = 0.05;  ///< of a layer; at least 0.0001 and at most the size
};

/// The layers of a gyroid lattice cube, made when they are asked for.
///
/// The cube stands on z = 0 with a corner at x = y = 0, and every slice shows the lattice at its z, from one thickness
/// up to the size. Contours are closed polygons of type `Border` with `IndexModel` 0 that neither cross nor touch
/// themselves or each other, with the solid on their left: outer ones counter-clockwise and flagged outer, holes
/// clockwise and not. The same options give the same slices.
///
/// Memory: one layer. Time for a layer: a few operations for each node of a grid of 24 nodes a cell and axis. One
/// thread at a time.
class VELSDK_EXPORT LatticeSource final : public RandomAccessSource {
 public:
  /// Throws `std::invalid_argument` with advice if the measures make no lattice, or a grid of more than 20000 nodes a
  /// side.
  explicit LatticeSource(LatticeOptions const& options);
  ~LatticeSource() override;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;

 private:
  class Grid;
  std::unique_ptr<Grid> m_grid;
  PersistentProperties m_properties;
};

}  // namespace SliceFormats
