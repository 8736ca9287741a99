#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <utility>

M2DSliceContourLayer::M2DSliceContourLayer() = default;
M2DSliceContourLayer::~M2DSliceContourLayer() {
  Clear();
}

std::unique_ptr<M2DSliceContour> M2DSliceContourLayer::_CreateNewContour() {
  if (m_pool == nullptr) m_pool = boost::make_shared<MCyclicMemoryPool<M2DSliceContourPoint>>();
  return std::make_unique<M2DSliceContour>(m_pool, std::as_const(*this).GetDefaultVectorTypeInfo());
}

M2DSliceContour& M2DSliceContourLayer::AddContour() {
  return Append(_CreateNewContour());
}

/// Taken pool by pool: contours that were moved here go on using the one that they came with.
void M2DSliceContourLayer::Clear() noexcept {
  for (auto contour = begin(); contour != end();) {
    auto const first_of_pool = contour;
    auto const pool = contour->GetPool();
    unsigned long num_points = 0;
    for (; contour != end() && contour->GetPool() == pool; ++contour) num_points += contour->GetNumPoints();
    if (num_points != pool->GetNumLive()) continue;
    for (auto forgetful = first_of_pool; forgetful != contour; ++forgetful) forgetful->SetFirstPoint(nullptr);
    pool->ReleaseMemory(false);
  }
  M3dBorder::Clear();
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
