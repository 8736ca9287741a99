#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>

#include <vector>

namespace Tool {

/// Some slices of another source, as a source. They are numbered anew, from zero.
class SelectedSource final : public ISource2DSlices {
 public:
  /// \param source   outlives this
  /// \param indices  of the slices in `source`, ascending
  SelectedSource(ISource2DSlices const& source, std::vector<unsigned long> indices);
  ~SelectedSource() override;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  MSliceFileParameters const& _OnGetSliceParameters() const override;
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override;
  /// Reads all selected slices.
  M2DSliceXYArea _OnGetXYArea() const override;
  bool _AllowsRandomAccess() const override;
  unsigned long _OnStartGettingSlices() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  void _OnStopGettingSlices() const override;

 private:
  ISource2DSlices const& m_source;
  std::vector<unsigned long> m_indices;
};

}  // namespace Tool
