#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceBitmap.h>
#include <SliceData/slice_model/M2DSliceComponentUpdate.h>

/// The bitmap of a slice: always empty, never on disk.
class VELSDK_EXPORT M2DSliceComponentBitmap final : public M2DSliceComponent<M2DSliceBitmap> {
 public:
  explicit M2DSliceComponentBitmap(M2DSlice* slice) : M2DSliceComponent(slice) {}

 private:
  bool _IsDataEmpty() const override { return true; }
  void _ClearData() override {}
  bool _DoubleCheckDiskValidity() const override { return false; }
  void _ReadDataFromDisk() override {}
  void _WriteDataToDisk() override {}
  void _OnSetData(M2DSliceBitmap&, bool) override {}
  void _OnTransform(M2DSliceUtilities::iTransformation const&) override;
};

/// Write access to the bitmap of a slice.
class M2DSliceComponentBitmapUpdate : public M2DSliceComponentUpdate<M2DSliceBitmap> {
 public:
  explicit M2DSliceComponentBitmapUpdate(M2DSliceComponentBitmap& component) : M2DSliceComponentUpdate(component) {}
};
