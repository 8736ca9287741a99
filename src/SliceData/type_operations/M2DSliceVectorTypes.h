#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <string>
#include <vector>

/// Translates type records to and from the 16-bit type codes of slice files, and to and from text that people read.
///
/// The SLI and the FS form of a slice file share one table of codes; callers speak of either. Codes and records are not
/// inverse to each other, and files out there depend on it:
///
/// - `General` goes out as 1 and comes back as `Border`; `BorderAdditionalOutside` and `HatchingBorder` go out as 9 and
///   come back as `BorderAdditional`; `HatchingDownBorder` and `HatchingUpBorder` go out as 5 and 3 and come back as
///   `BorderDown` and `BorderUp`.
/// - 7, 8, 10 and 11 are understood and never given.
///
/// A text is the name of a type and any number of suffixes, joined by bars: "Slice Border|Support|Core". A suffix
/// stands for a flag, or for an index whatever its value: "|Core" is written for every `IndexCore3D` of 0 or more, and
/// reads as 0. Indices, flags and numbers without a suffix do not show in a text.
///
/// All operations may be called from any thread. Nothing here fails but for want of memory (`std::bad_alloc`).
class VELSDK_EXPORT M2DSliceVectorTypes {
 public:
  class M2DSliceVectorTypeConvertTableFiller;

  M2DSliceVectorTypes() = delete;

  /// The code of the record's type, from 1 to 9; 0 for a run-time type.
  static unsigned short ConvertToSliType(M2DSliceVectorTypeInfo const& info);
  static unsigned short ConvertToFSType(M2DSliceVectorTypeInfo const& info);

  /// The record that a code stands for, valid to the end of the process: a type without entries; `General` for 0 and
  /// for every code above 11.
  static M2DSliceVectorTypeInfo const& ConvertFromSliType(unsigned short code);
  static M2DSliceVectorTypeInfo const& ConvertFromFSType(unsigned short code);

  /// The display name of the record's type, or the own name of a run-time type, and the suffixes in their order.
  static std::string ConvertToString(M2DSliceVectorTypeInfo const& info);

  /// The record that a text describes. Type names are taken as displayed and in short ("Fill Contour", "FillContour"),
  /// suffixes in any order, both letter by letter. An unknown name gives `General`, an unknown suffix nothing.
  static M2DSliceVectorTypeInfo ConvertToTypeInfo(std::string const& text);

  /// The names that a text may begin with: type by type the display name, then the short name, none of them twice.
  static std::vector<std::string> const& GetNames();
  /// The suffixes, without their bars, in the order in which they are written.
  static std::vector<std::string> const& GetSuffixes();

 private:
  static M2DSliceVectorTypeConvertTableFiller const& GetInstance();
};
