#include "SelectedSource.h"

#include <utility>

namespace Tool {

SelectedSource::SelectedSource(ISource2DSlices const& source, std::vector<unsigned long> indices)
    : ForwardingSource(source), m_indices(std::move(indices)) {}

SelectedSource::~SelectedSource() = default;

M2DSliceXYArea SelectedSource::_OnGetXYArea() const {
  M2DSliceXYArea area;
  for (unsigned long const index : m_indices) area.Extend(_GetSource().GetSlice(index)->GetXYArea());
  return area;
}

unsigned long SelectedSource::_OnStartGettingSlices() const {
  ForwardingSource::_OnStartGettingSlices();
  return m_indices.size();
}
unsigned long SelectedSource::_OnGetNumSlices() const {
  return m_indices.size();
}
M2DSliceZArea SelectedSource::_OnGetSliceZArea(unsigned long index) const {
  return _GetSource().GetSliceZArea(m_indices[index]);
}
void SelectedSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  _GetSource().GetSlice(slice, m_indices[index]);
}

}  // namespace Tool
