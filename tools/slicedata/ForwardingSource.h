#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>

namespace Tool {

/// A source that gives what another one does, for those that differ in a little.
class ForwardingSource : public ISource2DSlices {
 public:
  /// \param source  outlives this
  explicit ForwardingSource(ISource2DSlices const& source) : m_source(source) {}
  ~ForwardingSource() override;

 protected:
  ISource2DSlices const& _GetSource() const { return m_source; }

  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  MSliceFileParameters const& _OnGetSliceParameters() const override;
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  bool _AllowsRandomAccess() const override;
  unsigned long _OnStartGettingSlices() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  void _OnStopGettingSlices() const override;

 private:
  ISource2DSlices const& m_source;
};

}  // namespace Tool
