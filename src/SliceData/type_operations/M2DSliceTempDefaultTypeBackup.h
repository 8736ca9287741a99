#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <array>

namespace M2DSliceUtilities {

/// Gives the layers of a slice other default type records for the length of a scope: what is added in the scope has the
/// temporary type and keeps it, and what the caller had set is there again afterwards.
///
/// The end of the scope puts the four records back whatever happened to them in between. Backups of one slice end in
/// the reverse order of their making. The slice outlives them.
///
/// Beginning and end go through the update accessors of the slice: they bring its data in, and count as changes.
class VELSDK_EXPORT M2DSliceTempDefaultTypeBackup {
 public:
  /// Keeps the records; the caller changes them.
  explicit M2DSliceTempDefaultTypeBackup(M2DSlice& slice);

  /// Keeps the records and then changes all four. Lets exceptions of the slice's hooks and `std::bad_alloc` pass; the
  /// records are as before then.
  ///
  /// \param slice  whose layers get other records
  /// \param type   the temporary record
  /// \param merge  merges `type`, with its indices and flags, into each record; otherwise `type` replaces it
  M2DSliceTempDefaultTypeBackup(M2DSlice& slice, M2DSliceVectorTypeInfo const& type, bool merge);

  /// Lets exceptions of the slice's hooks pass, such as `std::system_error` where data that has been paged out cannot
  /// be read: the layers from there on keep their temporary records. If the scope is left by an exception already, that
  /// ends the process.
  ~M2DSliceTempDefaultTypeBackup() noexcept(false);

  M2DSliceTempDefaultTypeBackup(M2DSliceTempDefaultTypeBackup const&) = delete;
  M2DSliceTempDefaultTypeBackup& operator=(M2DSliceTempDefaultTypeBackup const&) = delete;

 private:
  void _Save();

  M2DSlice& m_slice;
  std::array<M2DSliceVectorTypeInfo, M2DSlice::kNumRows> m_saved;  ///< in the order of the rows of a slice
};

}  // namespace M2DSliceUtilities
