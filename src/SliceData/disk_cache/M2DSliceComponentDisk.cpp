#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/slice_model/M2DSliceBitmap.h>
#include <SliceData/slice_model/M2DSliceComponent.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

template <class T>
typename M2DSliceComponent<T>::Record const& M2DSliceComponent<T>::_NoRecord() {
  static Record const none;
  return none;
}

template <class T>
typename M2DSliceComponent<T>::Record& M2DSliceComponent<T>::_OpenRecord() {
  if (m_record == nullptr) m_record = std::make_unique<Record>();
  return *m_record;
}

template <class T>
void M2DSliceComponent<T>::_ReadBack() {
  m_record->m_temp_file->InitForReading(m_record->m_file_position);
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
      _OpenRecord().m_temp_file = file;
      m_record->m_file_position = file->InitForWriting();
      _WriteDataToDisk();
    } catch (...) {
      m_record.reset();  // what was written is dead space in the file
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
