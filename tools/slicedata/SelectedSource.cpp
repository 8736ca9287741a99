#include "SelectedSource.h"

#include <utility>

namespace Tool {

SelectedSource::SelectedSource(ISource2DSlices const& source, std::vector<unsigned long> indices)
    : m_source(source), m_indices(std::move(indices)) {}

SelectedSource::~SelectedSource() = default;

long SelectedSource::_OnGetSliceThickness() const {
  return m_source.GetSliceThickness();
}
PersistentProperties const& SelectedSource::_OnGetProperties() const {
  return m_source.GetProperties();
}
MSliceFileParameters const& SelectedSource::_OnGetSliceParameters() const {
  return m_source.GetSliceParameters();
}
M2DSliceIOParameters const& SelectedSource::_OnGetSliceIOParameters() const {
  return m_source.GetSliceIOParameters();
}

M2DSliceXYArea SelectedSource::_OnGetXYArea() const {
  M2DSliceXYArea area;
  for (unsigned long const index : m_indices) area.Extend(m_source.GetSlice(index)->GetXYArea());
  return area;
}

bool SelectedSource::_AllowsRandomAccess() const {
  return m_source.GetAllowsRandomAccess();
}

unsigned long SelectedSource::_OnStartGettingSlices() const {
  m_source.StartGettingSlices();
  return m_indices.size();
}

unsigned long SelectedSource::_OnGetNumSlices() const {
  return m_indices.size();
}
M2DSliceZArea SelectedSource::_OnGetSliceZArea(unsigned long index) const {
  return m_source.GetSliceZArea(m_indices[index]);
}
void SelectedSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  m_source.GetSlice(slice, m_indices[index]);
}
void SelectedSource::_OnStopGettingSlices() const {
  m_source.StopGettingSlices();
}

}  // namespace Tool
