#include <SliceData/slice_stack/ISource2DSlices.h>

#include <boost/make_shared.hpp>

ISource2DSlices::~ISource2DSlices() = default;

unsigned long ISource2DSlices::StartGettingSlices() const {
  m_num_fetched = 0;
  return _OnStartGettingSlices();
}

void ISource2DSlices::GetSlice(M2DSlice& slice, unsigned long index) const {
  _CountFetch();
  _OnGetSlice(slice, index);
}

void ISource2DSlices::GetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices, unsigned long index) const {
  _CountFetch();
  _OnGetSlices(slices, index);
}

void ISource2DSlices::GetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const {
  _CountFetch();
  _OnGetSliceItems(items, index);
}

unsigned long ISource2DSlices::_OnStartGettingSlices() const {
  return _OnGetNumSlices();
}

void ISource2DSlices::_OnGetSlices(std::vector<boost::shared_ptr<M2DSlice const>>& slices, unsigned long index) const {
  while (!slices.empty()) slices.pop_back();
  slices.push_back(_OnGetSlice(index));
}

void ISource2DSlices::_OnGetSliceItems(M2DSliceConstDataItems& items, unsigned long index) const {
  auto const slice = _OnGetSlice(index);
  items.Clear();
  for (M2DSliceContour const& contour : slice->GetBorder()) items.items.emplace_back().SetContour(&contour);
  for (M2DSliceVectorBlock const& block : slice->GetVectors()) items.items.emplace_back().SetVectorBlock(&block);
  for (M2DSlicePointBlock const& block : slice->GetPoints()) items.items.emplace_back().SetPointBlock(&block);
  items.slices.push_back(slice);
}

boost::shared_ptr<M2DSlice const> ISource2DSlices::_OnGetSlice(unsigned long index) const {
  auto slice = boost::make_shared<M2DSlice>();
  _OnGetSlice(*slice, index);
  return slice;
}

void ISource2DSlices::_OnStopGettingSlices() const {}

void ISource2DSlices::_CountFetch() const {
  _AllowsRandomAccess();
  ++m_num_fetched;
}
