#pragma once

#include <vector>

#include "ForwardingSource.h"

namespace Tool {

/// Some slices of another source, as a source. They are numbered anew, from zero.
class SelectedSource final : public ForwardingSource {
 public:
  /// \param source   outlives this
  /// \param indices  of the slices in `source`, ascending
  SelectedSource(ISource2DSlices const& source, std::vector<unsigned long> indices);
  ~SelectedSource() override;

 protected:
  /// Reads all selected slices.
  M2DSliceXYArea _OnGetXYArea() const override;
  unsigned long _OnStartGettingSlices() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;

 private:
  std::vector<unsigned long> m_indices;
};

}  // namespace Tool
