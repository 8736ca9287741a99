#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FileTarget.h>
#include <SliceFormats/cli/CliForm.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// Writes slices to a Common Layer Interface file (version 2.0) as they come, one in memory.
///
/// Slices come in ascending z. The file's unit is the internal unit, so that what `CliSource` reads back equals what
/// was written, as far as the format can carry it: border contours of type `Border`, vector blocks of type `Hatching`,
/// `IndexModel`, and the numbers "POWER", "SPEED" and "FOCUS". The binary form has no place for changing numbers and
/// holds 32-bit floats, which are exact up to 1.67 m. Whatever is lost goes to the report. The same slices give the
/// same bytes.
///
/// Throws `FormatError` for a slice that cannot be written (z not ascending or not valid, coordinates beyond 2^53
/// units) and `std::system_error` if the disk refuses.
class VELSDK_EXPORT CliTarget final : public FileTarget {
 public:
  /// `report`, if given, receives what the format cannot carry and outlives the target. Properties "Label" and
  /// "UserData" (see `CliSource`) that are set before `StartAddingSlices` go to the header.
  CliTarget(std::string path, CliForm form, FormatReport* report = nullptr);
  ~CliTarget() override;

 protected:
  std::unique_ptr<FileWriting> _Open(std::string const& path, MPendingFile::Existing existing,
                                     PersistentProperties const& properties, FormatReport* report) const override;

 private:
  CliForm m_form;
};

}  // namespace SliceFormats
