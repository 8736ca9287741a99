#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/slice_model/M2DSliceBitmap.h>
#include <SliceData/slice_model/M2DSliceComponent.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

template <class T>
void M2DSliceComponent<T>::_ReadBack() {
  m_temp_file->InitForReading(m_file_position);
  try {
    _ReadDataFromDisk();
  } catch (...) {
    _ClearData();
    throw;
  }
  m_data_valid = true;
}

template <class T>
bool M2DSliceComponent<T>::ValidateDiskState(boost::shared_ptr<M2DSliceTempFile>& file) {
  if (_IsDataEmpty()) return false;
  if (!m_disk_state_valid && !_DoubleCheckDiskValidity()) {
    try {
      m_temp_file = file;
      m_file_position = m_temp_file->InitForWriting();
      _WriteDataToDisk();
    } catch (...) {
      // What was written is dead space in the file; without the file nobody takes it for a record.
      m_temp_file.reset();
      m_file_position = kNoFilePosition;
      throw;
    }
  }
  m_disk_state_valid = true;
  _ClearData();
  m_data_valid = false;
  return true;
}

template class M2DSliceComponent<M2DSliceContourLayer>;
template class M2DSliceComponent<M2DSliceVectorLayer>;
template class M2DSliceComponent<M2DSlicePointLayer>;
template class M2DSliceComponent<M2DSliceBitmap>;
