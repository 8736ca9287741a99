#include <SliceData/type_operations/M2DSliceTempDefaultTypeBackup.h>
#include <SliceData/type_operations/TypeAssignment.h>

namespace M2DSliceUtilities {

M2DSliceTempDefaultTypeBackup::M2DSliceTempDefaultTypeBackup(M2DSlice& slice) : m_slice(slice) {
  _Save();
}

/// Does not delegate to the other one: the destructor would then run when a hook fails here, and the hook again.
M2DSliceTempDefaultTypeBackup::M2DSliceTempDefaultTypeBackup(M2DSlice& slice, M2DSliceVectorTypeInfo const& type,
                                                             bool merge)
    : m_slice(slice) {
  // The accesses may let an element go whose record it is.
  M2DSliceVectorTypeInfo const temporary(type);  // NOLINT(performance-unnecessary-copy-initialization)
  _Save();
  try {
    if (merge) {
      MergeDefaultTypeInfo(slice, temporary, true, true);
    } else {
      SetDefaultTypeInfo(slice, temporary);
    }
  } catch (...) {
    M2DSlice::ForEachRow(
        [&](auto row) { row.Component(slice).GetData().SetDefaultVectorTypeInfo(m_saved[row.kIndex]); });
    throw;
  }
}

M2DSliceTempDefaultTypeBackup::~M2DSliceTempDefaultTypeBackup() noexcept(false) {
  M2DSlice::ForEachRow([&](auto row) { row.GetUpdate(m_slice)->SetDefaultVectorTypeInfo(m_saved[row.kIndex]); });
}

void M2DSliceTempDefaultTypeBackup::_Save() {
  M2DSlice::ForEachRow([&](auto row) { m_saved[row.kIndex] = row.GetUpdate(m_slice)->GetDefaultVectorTypeInfo(); });
}

}  // namespace M2DSliceUtilities
