#pragma once

#include <SliceData/slice_data_cache/CachedSliceStack.h>

#include <boost/make_shared.hpp>
#include <string>

#include "support/Slices.h"

namespace testing_support {

using SliceDataCaching::CachedSliceStack;
using SliceDataCaching::CachedSliceStackKeyInfo;

inline CachedSliceStackKeyInfo MakeKey(std::string const& global, double x = 0, double y = 0, double z = 0) {
  MMTransformMatrix position;
  position.MakeTranslation(x, y, z);
  CachedSliceStackKeyInfo key;
  key.Init(SliceDataCaching::CacheTypeSlicingStlBase, {global, "r1"}, &position,
           {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 300});
  return key;
}

/// Slices at 0, 300, ... with elements of all kinds, at x = `start` and above.
inline boost::shared_ptr<M2DSliceStack> MakeStack(long start, int num_slices = 2) {
  auto stack = boost::make_shared<M2DSliceStack>(e2DSliceStackCachingType::NoTempFiles);
  M2DSliceZArea area(0);
  area.SetTypeInfo({e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 300});
  for (int i = 0; i < num_slices; ++i) FillAllComponents(*stack->AddSlicePosition(area++), start);
  return stack;
}

inline void SetStack(CachedSliceStack& entry, long start) {
  entry.SetSliceStack({MakeStack(start)}, {}, nullptr);
}

}  // namespace testing_support
