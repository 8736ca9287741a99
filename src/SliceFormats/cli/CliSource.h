#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FormatError.h>
#include <SliceFormats/FormatReport.h>
#include <SliceFormats/RandomAccessSource.h>
#include <SliceFormats/Strictness.h>
#include <SliceFormats/cli/CliForm.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// The slices of a Common Layer Interface file (version 2.0, ASCII or binary), read when they are asked for.
///
/// The constructor reads the header and goes through the file once to find its layers; after that a slice costs the
/// reading and parsing of its own bytes, in any order. Memory: the index, some 50 bytes a layer, and the bytes of one
/// layer, however large the file is.
///
/// Slices stand in ascending z; layers of equal z are one slice, their elements in file order. Coordinates become
/// internal units (0.1 µm), rounded to nearest. A polyline is a border contour of type `Border` (direction 1: closed
/// and outer, 0: closed, 2: open), a hatch command a vector block of type `Hatching`; `IndexModel` is the id in the
/// file, and the numbers "POWER", "SPEED" and "FOCUS" are those in force at that place. A closed polyline loses a last
/// point that equals its first. 16-bit coordinates are signed if the header says that the part reaches below zero.
///
/// Properties: one string "Label" ("id,text") for each label, one string "UserData" ("uid,length,data") for each piece
/// of user data.
///
/// Nothing marks the end of a binary file: one that was cut between two commands shows it by holding fewer layers than
/// its header tells. It is refused unless it is read leniently, and so is an ASCII file that lacks its end as well.
///
/// What is wrong with the file is a `FormatError`: from the constructor if it concerns header and structure, from the
/// getters if it concerns the coordinates of a layer. One that cannot be opened or read is a `std::system_error`. One
/// thread at a time; several sources may read the same file.
class VELSDK_EXPORT CliSource final : public RandomAccessSource {
 public:
  /// Opens and indexes the file at `path`. `report`, if given, receives what is skipped and outlives the source.
  explicit CliSource(std::string const& path, FormatReport* report = nullptr,
                     Strictness strictness = Strictness::Strict);
  ~CliSource() override;

  CliForm GetForm() const;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;

 private:
  struct Reading;
  std::unique_ptr<Reading> m_reading;
};

}  // namespace SliceFormats
