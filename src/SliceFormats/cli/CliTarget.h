#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ITarget2DSlices.h>
#include <SliceFormats/FormatError.h>
#include <SliceFormats/FormatReport.h>
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
/// The file appears under its name when `StopAddingSlices` returns; a target that is destroyed before leaves none. The
/// target keeps no slice, so `AddSlice` gives null. Throws `FormatError` for a slice that cannot be written (z not
/// ascending or not valid, coordinates beyond 2^53 units) and `std::system_error` if the disk refuses; the file cannot
/// be finished then.
class VELSDK_EXPORT CliTarget final : public ITarget2DSlices {
 public:
  /// `report`, if given, receives what the format cannot carry and outlives the target. Nothing is opened before
  /// `StartAddingSlices`. Properties "Label" and "UserData" (see `CliSource`) that are set by then go to the header.
  CliTarget(std::string path, CliForm form, FormatReport* report = nullptr);
  ~CliTarget() override;
  CliTarget(CliTarget const&) = delete;
  CliTarget& operator=(CliTarget const&) = delete;

 protected:
  PersistentProperties& _OnGetProperties() override;
  MSliceFileParameters& _OnGetSliceParameters() override;
  M2DSliceIOParameters& _OnGetSliceIOParameters() override;
  bool _OnStartAddingSlices() const override;
  M2DSlice* _OnAddSlice(M2DSlice const& slice) override;
  M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) override;
  bool _OnStopAddingSlices() const override;

 private:
  class Writing;

  std::string m_path;
  CliForm m_form;
  FormatReport* m_report;
  PersistentProperties m_properties;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  mutable std::unique_ptr<Writing> m_writing;  ///< between start and stop
};

}  // namespace SliceFormats
