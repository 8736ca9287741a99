#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ISource2DSlices.h>

namespace SliceFormats {

/// A source that makes slices in any order when they are asked for. What all formats share.
class VELSDK_EXPORT RandomAccessSource : public ISource2DSlices {
 public:
  ~RandomAccessSource() override;
  RandomAccessSource(RandomAccessSource const&) = delete;
  RandomAccessSource& operator=(RandomAccessSource const&) = delete;

 protected:
  RandomAccessSource() = default;

  MSliceFileParameters const& _OnGetSliceParameters() const final { return m_slice_parameters; }
  M2DSliceIOParameters const& _OnGetSliceIOParameters() const final { return m_slice_io_parameters; }
  bool _AllowsRandomAccess() const final { return true; }

 private:
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
};

}  // namespace SliceFormats
