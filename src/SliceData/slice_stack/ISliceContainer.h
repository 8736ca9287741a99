#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ISource2DSlices.h>
#include <SliceData/slice_stack/ITarget2DSlices.h>

/// A source and target whose slices can be reached where they stand.
class VELSDK_EXPORT ISliceContainer : public ISource2DSlices, public ITarget2DSlices {
 public:
  using ISource2DSlices::GetSlice;
  virtual M2DSlice* GetSlice(unsigned long index) = 0;
  virtual M2DSlice const* GetSlice(unsigned long index) const = 0;

  // Source and target share these names: a const container gives the read-only form.
  using ISource2DSlices::GetProperties;
  using ISource2DSlices::GetSliceIOParameters;
  using ISource2DSlices::GetSliceParameters;
  using ITarget2DSlices::GetProperties;
  using ITarget2DSlices::GetSliceIOParameters;
  using ITarget2DSlices::GetSliceParameters;

 protected:
  using ISource2DSlices::_OnGetSlice;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
};
