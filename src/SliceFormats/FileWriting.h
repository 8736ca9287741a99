#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/FormatError.h>
#include <SliceFormats/FormatReport.h>

#include <optional>
#include <string>

namespace SliceFormats {

/// A file in the making, from the first slice to the last. What a target puts into it is written by a derived class.
class VELSDK_EXPORT FileWriting {
 public:
  /// `report`, if given, receives what the format cannot carry and outlives this.
  FileWriting(std::string path, FormatReport* report);
  /// Without `Finish`, no file is left.
  virtual ~FileWriting();
  FileWriting(FileWriting const&) = delete;
  FileWriting& operator=(FileWriting const&) = delete;

  /// These throw what goes wrong, and from then on `FormatError`: half a slice may be in the file.
  void Add(M2DSlice const& slice);
  /// Writes what comes after the last slice, and brings the file to the disk.
  void Seal();
  /// Seals the file and gives it its name.
  void Finish();

 protected:
  virtual void _Add(M2DSlice const& slice) = 0;
  virtual void _Seal() = 0;
  virtual void _Commit() = 0;

  /// The height of a slice; for formats whose slices stand in ascending order. Throws `FormatError` for a slice without
  /// one, or below the slice that was asked about before.
  long _TakeHeight(M2DSlice const& slice);

  /// True for a property that is there and tells more than the heights of the slices do.
  static bool _IsTelling(PersistentPropertyBase const& property);

  /// The box around an element. Notes what points of contours carry beyond their place.
  M2DSliceXYArea _ExamineItems(M2DSliceContour const& contour) const;
  static M2DSliceXYArea _ExamineItems(M2DSliceVectorBlock const& block);
  static M2DSliceXYArea _ExamineItems(M2DSlicePointBlock const& block);

  void _Note(char const* text) const;
  void _NoteIf(bool condition, char const* text) const {
    if (condition) _Note(text);
  }
  [[noreturn]] void _Fail(char const* what) const { throw FormatError(m_path, what); }

 private:
  void _RequireWhole();

  std::string m_path;
  FormatReport* m_report;
  std::optional<long> m_height;
  bool m_is_whole = true;
  bool m_is_sealed = false;
};

}  // namespace SliceFormats
