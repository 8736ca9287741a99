#pragma once

#include <SliceData/geometry/iTransformation.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceRecordOnDisk.h>

#include <boost/shared_ptr.hpp>
#include <memory>

class I2DSliceStackCachingStrategy;
class M2DSlice;
class M2DSliceTempFile;

/// One kind of content of a slice, as a layer that may leave memory for a temp file and come back.
///
/// Two flags tell where the content is:
///
/// | data valid | disk state valid |                                                                              |
/// |------------|------------------|------------------------------------------------------------------------------|
/// | true       | false            | in memory only: a new component, and after every change                      |
/// | true       | true             | in memory, with a current record on disk: after reading back                 |
/// | false      | true             | paged out                                                                    |
/// | false      | false            | lost, or waiting for whoever declared it invalid                             |
///
/// The hooks of the slice decide when data is loaded and when a change is noted; nothing here does so by itself.
template <class T>
class VELSDK_EXPORT M2DSliceComponent {
 public:
  M2DSliceComponent(M2DSliceComponent const&) = delete;
  M2DSliceComponent& operator=(M2DSliceComponent const&) = delete;

  bool IsDataValid() const { return m_data_valid; }
  bool IsDiskStateValid() const { return m_disk_state_valid; }
  /// True if the data in memory holds no geometry.
  bool IsDataEmpty() const { return _IsDataEmpty(); }

  /// Brings the data into memory if it is only on disk. True if it did. Throws `std::system_error` if the record cannot
  /// be read; the component is as before then.
  bool ValidateData() {
    if (m_data_valid || !m_disk_state_valid) return false;
    _ReadBack();
    return true;
  }

  /// Replaces the data, by moving if `move`; any record on disk is stale then.
  void ValidateData(T& data, bool move) {
    _OnSetData(data, move);
    m_data_valid = true;
    m_disk_state_valid = false;
  }

  /// Pages the data out: lets it leave memory once there is a current record on disk, which is written to `file` if
  /// need be. False, with nothing done, if the data in memory holds no geometry. Throws `std::system_error` if the
  /// record cannot be written; the data stays in memory then.
  bool ValidateDiskState(boost::shared_ptr<M2DSliceTempFile>& file);

  /// Drops the data in memory.
  void InvalidateData() {
    _ClearData();
    m_data_valid = false;
  }

  /// Declares the record on disk stale.
  void InvalidateDiskState() { m_disk_state_valid = false; }

  /// Drops the content wherever it is; the component is empty and in memory then.
  void Clear() {
    _ClearData();
    m_data_valid = true;
    m_disk_state_valid = false;
    m_record.reset();
  }

  /// Applies a mapping to the content, wherever it is.
  void Transform(M2DSliceUtilities::iTransformation const& mapping) { _OnTransform(mapping); }

  void SetCachingStrategy(I2DSliceStackCachingStrategy* strategy) { m_strategy = strategy; }

  /// The data in memory. While it is not valid, changes to it are lost.
  T& GetData() { return m_data; }
  T const& GetData() const { return m_data; }
  boost::shared_ptr<M2DSliceTempFile> const& GetTempFile() const { return _GetRecord().m_temp_file; }
  /// Where the record begins in the temp file.
  long long GetFilePosition() const { return _GetRecord().m_file_position; }
  /// The number of update handles alive. For the use of callers; nothing here acts on it.
  unsigned long GetUpdateCount() const { return m_update_count; }

 protected:
  using Record = M2DSliceRecordOnDisk<T>;

  explicit M2DSliceComponent(M2DSlice* slice) : m_slice(slice) {}
  ~M2DSliceComponent() = default;

  virtual bool _IsDataEmpty() const = 0;
  virtual void _ClearData() = 0;
  /// True if an earlier record on disk still fits the data, so that it need not be written again.
  virtual bool _DoubleCheckDiskValidity() const = 0;
  virtual void _ReadDataFromDisk() = 0;
  virtual void _WriteDataToDisk() = 0;
  virtual void _OnSetData(T& data, bool move) = 0;
  virtual void _OnTransform(M2DSliceUtilities::iTransformation const& mapping) = 0;

  /// The record, or an empty one.
  Record const& _GetRecord() const { return m_record != nullptr ? *m_record : _NoRecord(); }
  /// The record, made if there is none.
  Record& _OpenRecord();

  M2DSlice* m_slice;
  bool m_data_valid = true;
  bool m_disk_state_valid = false;
  T m_data;
  std::unique_ptr<Record> m_record;  ///< null while there was none since the content was last cleared

 private:
  template <class>
  friend class M2DSliceComponentUpdate;

  static Record const& _NoRecord();
  void _ReadBack();

  unsigned long m_update_count = 0;
  I2DSliceStackCachingStrategy* m_strategy = nullptr;
};
