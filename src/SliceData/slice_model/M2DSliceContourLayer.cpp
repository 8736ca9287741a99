#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <algorithm>
#include <boost/make_shared.hpp>

M2DSliceContourLayer::M2DSliceContourLayer() = default;
M2DSliceContourLayer::~M2DSliceContourLayer() = default;

std::unique_ptr<M2DSliceContour> M2DSliceContourLayer::_CreateNewContour() {
  if (m_pool == nullptr) m_pool = boost::make_shared<MCyclicMemoryPool<M2DSliceContourPoint>>();
  return std::make_unique<M2DSliceContour>(m_pool, GetDefaultVectorTypeInfo());
}

M2DSliceContour& M2DSliceContourLayer::AddContour() {
  return Append(_CreateNewContour());
}

void M2DSliceContourLayer::Add(M2DSliceContourLayer const& source) {
  auto contour = source.begin();
  for (unsigned long remaining = source.GetCount(); remaining != 0; --remaining) AddContour() = *contour++;
}

void M2DSliceContourLayer::Add(M2DSliceContourLayer& source, bool move) {
  if (move) {
    Splice(source);
  } else {
    Add(source);
  }
}

bool M2DSliceContourLayer::GetIsClosed() const {
  return std::all_of(begin(), end(), [](M2DSliceContour const& contour) { return contour.GetIsClosed(); });
}
