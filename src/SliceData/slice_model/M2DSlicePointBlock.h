#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/MBlockArray.h>
#include <SliceData/platform/containers/MIntrusiveList.h>
#include <SliceData/slice_model/I2DSliceDataBlock.h>
#include <SliceData/slice_model/M2DSlicePoint.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfoHolder.h>

/// Points that are worked on together, with their type record. Points never move in memory while the block grows.
class VELSDK_EXPORT M2DSlicePointBlock : public I2DSliceDataBlock,
                                         public MBlockArray<M2DSlicePoint, 1024ul>,
                                         public M2DSliceVectorTypeInfoHolder {
 public:
  M2DSlicePointBlock();
  ~M2DSlicePointBlock() override;

  M2DSlicePointBlock(M2DSlicePointBlock const&) = delete;
  /// Takes over points and type record; the block's place in a layer stays.
  M2DSlicePointBlock& operator=(M2DSlicePointBlock const& source);

  M2DSlicePointBlock* GetNext() { return m_next; }
  M2DSlicePointBlock const* GetNext() const { return m_next; }
  M2DSlicePointBlock* GetPrevious() { return m_previous; }
  M2DSlicePointBlock const* GetPrevious() const { return m_previous; }

 private:
  friend class MIntrusiveList<M2DSlicePointBlock>;

  M2DSlicePointBlock* m_next = nullptr;
  M2DSlicePointBlock* m_previous = nullptr;
};
