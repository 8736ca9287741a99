#include "MergedSource.h"

#include <SliceData/slice_model/M2DSlice.h>

#include <utility>

#include "TypePattern.h"

namespace Tool {

MarkedSource::MarkedSource(ISource2DSlices const& source, M2DSliceVectorTypeInfo properties)
    : ForwardingSource(source), m_properties(std::move(properties)) {}

MarkedSource::~MarkedSource() = default;

void MarkedSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  ForwardingSource::_OnGetSlice(slice, index);
  M2DSlice::ForEachRow([&](auto row) {
    auto data = row.GetUpdate(slice);
    for (auto& element : *data) ApplyProperties(m_properties, element.GetVectorTypeInfo());
  });
}

MergedSource::MergedSource(std::vector<std::unique_ptr<ISource2DSlices const>> sources, bool fill_gaps)
    : m_own_sources(std::move(sources)) {
  GetOptions().fillGaps = fill_gaps;
  for (auto const& source : m_own_sources) {
    AddSource(source.get());
    PersistentProperties const before = m_merged_properties;
    for (auto const& property : source->GetProperties().GetAll()) {
      if (before.FindProperty(property->GetName()) == nullptr) m_merged_properties.AddProperty(property->Clone());
    }
  }
  // It is told apart from the others, and only if it holds for all layers.
  m_merged_properties.RemoveProperties("SliceThickness");
}

MergedSource::~MergedSource() = default;

long MergedSource::_OnGetSliceThickness() const {
  long const thickness = m_own_sources.front()->GetSliceThickness();
  for (auto const& source : m_own_sources) {
    if (source->GetSliceThickness() != thickness) return 0;
  }
  return thickness;
}

PersistentProperties const& MergedSource::_OnGetProperties() const {
  return m_merged_properties;
}
MSliceFileParameters const& MergedSource::_OnGetSliceParameters() const {
  return m_own_sources.front()->GetSliceParameters();
}
M2DSliceIOParameters const& MergedSource::_OnGetSliceIOParameters() const {
  return m_own_sources.front()->GetSliceIOParameters();
}
void MergedSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  std::vector<boost::shared_ptr<M2DSlice const>> slices;
  _OnGetSlices(slices, index);
  M2DSlice merged(GetSliceZArea(index));
  for (auto const& part : slices) {
    M2DSliceZArea const& area = part->GetZArea();
    if (merged.GetZArea().GetTypeInfo().thickness == 0 && area.GetTypeInfo().thickness != 0) merged.SetZArea(area);
    merged.Add(*part);
  }
  slice.CopyFrom(merged, true);
}

boost::shared_ptr<M2DSlice const> MergedSource::_OnGetSlice(unsigned long index) const {
  return ISource2DSlices::_OnGetSlice(index);
}

void MergedSource::_OnStopGettingSlices() const {
  // They were started when the layers were found.
  for (auto const& source : m_own_sources) source->StopGettingSlices();
}

}  // namespace Tool
