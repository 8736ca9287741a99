#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/I2DSliceStackCachingStrategy.h>

#include <boost/shared_ptr.hpp>

class M2DSliceTempFile;

/// What strategies share that have temp files of their own, and not one with the whole process.
class VELSDK_EXPORT M2DSliceStackCachingStrategyOwnFiles : public I2DSliceStackCachingStrategy {
 public:
  using I2DSliceStackCachingStrategy::I2DSliceStackCachingStrategy;

  /// The limit of this strategy's temp files in bytes; the record that crosses it is still written whole.
  void SetMaxFileSize(unsigned long size) { m_max_file_size = size; }

  /// Makes sure that `file` is a temp file with room.
  void _GetValidTempFile(boost::shared_ptr<M2DSliceTempFile>& file) const;

 private:
  unsigned long m_max_file_size = 200000000;
  mutable unsigned long m_num_temp_files = 0;
};
