#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_stack/M2DSliceSourceVector.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <iterator>
#include <stdexcept>

namespace {

/// A slice that goes to the layer at its height.
struct Contribution {
  long z;
  M2DSliceSourceVector::Slice slice;
};

bool IsLower(Contribution const& a, Contribution const& b) {
  return a.z < b.z;
}

/// Adds a placeholder at each step from the lowest to the highest height, behind the contributions that are there.
/// These are sorted by height and stay so.
void FillGaps(std::vector<Contribution>& contributions, long step, M2DSliceSourceVector::Slice const& placeholder) {
  long z = contributions.front().z;
  auto const span = static_cast<unsigned long>(HeightArithmetic::Difference(contributions.back().z, z));
  unsigned long const num_steps = span / static_cast<unsigned long>(step);
  std::size_t const num_real = contributions.size();
  if (num_steps >= contributions.max_size() - num_real) {
    throw std::length_error(
        "M2DSliceSourceVector: the sources lie too far apart in Z for gaps to be filled in steps as small as theirs; "
        "merge them without fillGaps");
  }
  contributions.reserve(num_real + num_steps + 1);
  contributions.push_back({z, placeholder});
  for (unsigned long i = 0; i < num_steps; ++i) contributions.push_back({z += step, placeholder});
  std::inplace_merge(contributions.begin(), contributions.begin() + static_cast<std::ptrdiff_t>(num_real),
                     contributions.end(), IsLower);
}

boost::shared_ptr<M2DSlice> MakeSlice(M2DSliceZArea const& area) {
  return boost::make_shared<M2DSlice>(area);
}

}  // namespace

M2DSliceSourceVector::M2DSliceSourceVector() : m_properties(std::make_unique<PersistentProperties>()) {}
M2DSliceSourceVector::~M2DSliceSourceVector() = default;

void M2DSliceSourceVector::AddSource(ISource2DSlices const* source) {
  m_sources.push_back(source);
}

void M2DSliceSourceVector::SetVector(std::vector<ISource2DSlices const*> const& sources) {
  m_sources = sources;
}

void M2DSliceSourceVector::SetOptions(Options const& options) {
  m_options = options;
}

long M2DSliceSourceVector::_OnGetSliceThickness() const {
  _Init();
  if (m_z_areas.size() < 2) return -1;
  return HeightArithmetic::Difference(m_z_areas[1].GetZ(), m_z_areas[0].GetZ());
}

PersistentProperties const& M2DSliceSourceVector::_OnGetProperties() const {
  return *m_properties;
}
MSliceFileParameters const& M2DSliceSourceVector::_OnGetSliceParameters() const {
  return m_slice_parameters;
}
M2DSliceIOParameters const& M2DSliceSourceVector::_OnGetSliceIOParameters() const {
  return m_slice_io_parameters;
}

M2DSliceXYArea M2DSliceSourceVector::_OnGetXYArea() const {
  M2DSliceXYArea area;
  for (ISource2DSlices const* const source : m_sources) area.Extend(source->GetXYArea());
  return area;
}

bool M2DSliceSourceVector::_AllowsRandomAccess() const {
  return true;
}

unsigned long M2DSliceSourceVector::_OnStartGettingSlices() const {
  return _OnGetNumSlices();
}

unsigned long M2DSliceSourceVector::_OnGetNumSlices() const {
  _Init();
  return m_z_areas.size();
}

M2DSliceZArea M2DSliceSourceVector::_OnGetSliceZArea(unsigned long index) const {
  _Init();
  return m_z_areas[index];
}

void M2DSliceSourceVector::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  slice.Clear();
  slice.SetZArea(m_z_areas[index]);
  _AddEntries(slice, index);
}

boost::shared_ptr<M2DSlice const> M2DSliceSourceVector::_OnGetSlice(unsigned long index) const {
  _Init();
  auto slice = MakeSlice(m_z_areas[index]);
  _AddEntries(*slice, index);
  return slice;
}

void M2DSliceSourceVector::_OnGetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices,
                                        unsigned long index) const {
  while (!slices.empty()) slices.pop_back();
  for (Slice const& entry : m_layer_slices[index]) {
    slices.push_back(_IsPlaceholder(entry) ? MakeSlice(m_z_areas[index])
                                           : m_sources[entry.sourceIndex]->GetSlice(entry.sliceIndex));
  }
}

void M2DSliceSourceVector::_OnGetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const {
  for (Slice const& entry : m_layer_slices[index]) {
    M2DSliceConstDataItems of_entry;
    if (_IsPlaceholder(entry)) {
      of_entry.slices.push_back(MakeSlice(m_z_areas[index]));
    } else {
      m_sources[entry.sourceIndex]->GetSliceItems(of_entry, entry.sliceIndex);
    }
    items.slices.insert(items.slices.end(), of_entry.slices.begin(), of_entry.slices.end());
    items.items.insert(items.items.end(), of_entry.items.begin(), of_entry.items.end());
  }
}

void M2DSliceSourceVector::_AddEntries(M2DSlice& slice, unsigned long index) const {
  for (Slice const& entry : m_layer_slices[index]) {
    if (!_IsPlaceholder(entry)) slice.Add(*m_sources[entry.sourceIndex]->GetSlice(entry.sliceIndex));
  }
}

void M2DSliceSourceVector::_Init() const {
  if (!m_z_areas.empty()) return;

  std::vector<Contribution> contributions;
  for (unsigned long s = 0; s < m_sources.size(); ++s) {
    ISource2DSlices const& source = *m_sources[s];
    source.StartGettingSlices();
    unsigned long const num_slices = source.GetNumSlices();
    for (unsigned long i = 0; i < num_slices; ++i) contributions.push_back({source.GetSliceZPosition(i), {s, i}});
  }
  if (contributions.empty()) return;
  std::stable_sort(contributions.begin(), contributions.end(), IsLower);
  Slice const placeholder{m_sources.size(), 0};
  if (m_options.fillGaps) {
    if (long const step = _GetGridStep(); step > 0) FillGaps(contributions, step, placeholder);
  }

  std::vector<M2DSliceZArea> z_areas;
  std::vector<std::vector<Slice>> layer_slices;
  std::size_t const least = m_options.padToSourceCount ? m_sources.size() : 0;
  for (auto first = contributions.cbegin(); first != contributions.cend();) {
    auto const last =
        std::find_if(first, contributions.cend(), [z = first->z](Contribution const& other) { return other.z != z; });
    z_areas.emplace_back(first->z);
    std::vector<Slice>& slices = layer_slices.emplace_back();
    auto const num_slices = static_cast<std::size_t>(last - first);
    slices.reserve(std::max(num_slices, least));
    std::transform(first, last, std::back_inserter(slices), [](Contribution const& one) { return one.slice; });
    if (num_slices < least) slices.resize(least, placeholder);
    first = last;
  }
  m_z_areas.swap(z_areas);
  m_layer_slices.swap(layer_slices);
}

/// The step from slice 0 to slice 1 that all sources have in common; 0 if there is none, or it does not go upward.
long M2DSliceSourceVector::_GetGridStep() const {
  long common = 0;
  for (ISource2DSlices const* const source : m_sources) {
    if (source->GetNumSlices() < 2) return 0;
    long step;
    if (__builtin_sub_overflow(source->GetSliceZPosition(1), source->GetSliceZPosition(0), &step)) return 0;
    if (step <= 0 || (common != 0 && step != common)) return 0;
    common = step;
  }
  return common;
}
