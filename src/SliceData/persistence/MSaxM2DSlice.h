#pragma once

#include <SliceData/persistence/MSax2DSliceOptions.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_stack/M2DSliceStackLockGuard.h>
#include <SliceData/slice_stack/M2DSliceStackReference.h>

#include <optional>
#include <string>

class M2DSlice;

/// One slice in a document: "Height", "AreaZ", "Border", and "Vectors", "Points" and "Areas" where there are any.
///
/// Nothing here loads what is paged out. Reading begins at "Height": the slice at that height is made, or taken up if
/// there is one, the stack is locked, and the slice is incomplete until its tag has ended. What the document tells of
/// its border, vectors, points and areas replaces what it held of them.
///
/// An element over a slice of the caller's reads into that slice; nothing is locked then.
class VELSDK_EXPORT MSaxM2DSlice final : public ISAXPersistHelper {
 public:
  /// For reading a slice of a stack.
  ///
  /// \param stack        gets the slice
  /// \param stream_name  of binary values; outlives this; may be null
  MSaxM2DSlice(M2DSliceStackReference stack, char const* stream_name);
  /// `slice` and the name, which may be null, outlive this.
  MSaxM2DSlice(M2DSlice* slice, char const* stream_name);
  /// Releases the lock if reading has not finished; the slice stays incomplete then.
  ~MSaxM2DSlice() override;

  MSax2DSliceOptions const& GetOptions() const { return m_options; }
  void SetOptions(MSax2DSliceOptions const& options) { m_options = options; }

  /// Locks the stack and begins the slice at `height`, in internal units.
  void StartReadingSlice(long height);
  /// Marks the slice as complete, unless its geometry was skipped, and releases the lock.
  void ReadingFinished();

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  /// Always true. The XY area of the slice is computed anew at its next use.
  bool Write(MSAXWriter& writer) const override;

 private:
  template <class Row>
  void _ReadRow(MSAXReader& reader);

  MSax2DSliceOptions m_options;
  M2DSliceStackReference m_stack;
  M2DSlice* m_slice = nullptr;
  std::optional<M2DSliceStackLockGuard> m_lock;
  char const* m_stream_name;
};
