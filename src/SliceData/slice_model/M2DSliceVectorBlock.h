#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/MIntrusiveList.h>
#include <SliceData/slice_model/I2DSliceDataBlock.h>
#include <SliceData/slice_model/M2DSliceVector.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfoHolder.h>

#include <vector>

/// Vectors that are worked on together, with their type record.
class VELSDK_EXPORT M2DSliceVectorBlock : public I2DSliceDataBlock,
                                          public std::vector<M2DSliceVector>,
                                          public M2DSliceVectorTypeInfoHolder {
 public:
  M2DSliceVectorBlock();
  ~M2DSliceVectorBlock() override;

  M2DSliceVectorBlock(M2DSliceVectorBlock const&) = delete;
  /// Takes over vectors and type record; the block's place in a layer stays.
  M2DSliceVectorBlock& operator=(M2DSliceVectorBlock const& source);

  M2DSliceVectorBlock* GetNext() { return m_next; }
  M2DSliceVectorBlock const* GetNext() const { return m_next; }
  M2DSliceVectorBlock* GetPrevious() { return m_previous; }
  M2DSliceVectorBlock const* GetPrevious() const { return m_previous; }

 private:
  friend class MIntrusiveList<M2DSliceVectorBlock>;

  M2DSliceVectorBlock* m_next = nullptr;
  M2DSliceVectorBlock* m_previous = nullptr;
};
