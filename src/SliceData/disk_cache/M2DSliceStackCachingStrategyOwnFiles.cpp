#include <SliceData/disk_cache/M2DSliceStackCachingStrategyOwnFiles.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>

void M2DSliceStackCachingStrategyOwnFiles::_GetValidTempFile(boost::shared_ptr<M2DSliceTempFile>& file) const {
  M2DSliceTempFile::_EnsureRoom(file, m_max_file_size, m_instance_number, m_num_temp_files);
}
