#include "ForwardingSource.h"

namespace Tool {

ForwardingSource::~ForwardingSource() = default;

long ForwardingSource::_OnGetSliceThickness() const {
  return m_source.GetSliceThickness();
}
PersistentProperties const& ForwardingSource::_OnGetProperties() const {
  return m_source.GetProperties();
}
MSliceFileParameters const& ForwardingSource::_OnGetSliceParameters() const {
  return m_source.GetSliceParameters();
}
M2DSliceIOParameters const& ForwardingSource::_OnGetSliceIOParameters() const {
  return m_source.GetSliceIOParameters();
}
M2DSliceXYArea ForwardingSource::_OnGetXYArea() const {
  return m_source.GetXYArea();
}
bool ForwardingSource::_AllowsRandomAccess() const {
  return m_source.GetAllowsRandomAccess();
}
unsigned long ForwardingSource::_OnStartGettingSlices() const {
  return m_source.StartGettingSlices();
}
unsigned long ForwardingSource::_OnGetNumSlices() const {
  return m_source.GetNumSlices();
}
M2DSliceZArea ForwardingSource::_OnGetSliceZArea(unsigned long index) const {
  return m_source.GetSliceZArea(index);
}
void ForwardingSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  m_source.GetSlice(slice, index);
}
void ForwardingSource::_OnStopGettingSlices() const {
  m_source.StopGettingSlices();
}

}  // namespace Tool
