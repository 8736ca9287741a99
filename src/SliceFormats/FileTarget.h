#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/slice_stack/ITarget2DSlices.h>
#include <SliceFormats/FileWriting.h>
#include <SliceFormats/FormatReport.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// A target that writes slices to a file as they come. What all formats share.
///
/// The file appears under its name when `StopAddingSlices` returns; a target that is destroyed before leaves none. The
/// target keeps no slice, so `AddSlice` gives null. Once a slice could not be written, the file cannot be finished.
class VELSDK_EXPORT FileTarget : public ITarget2DSlices {
 public:
  ~FileTarget() override;
  FileTarget(FileTarget const&) = delete;
  FileTarget& operator=(FileTarget const&) = delete;

  /// What becomes of a file that has the name already, or takes it meanwhile; to be called before `StartAddingSlices`.
  /// Without it such a file is replaced. A file that is kept makes start or stop throw `std::errc::file_exists`.
  void SetExisting(MPendingFile::Existing existing) { m_existing = existing; }

  /// Writes everything, after the last slice, so that `StopAddingSlices` only has to give the file its name. For who
  /// writes several files and wants all or none.
  void Seal() const;

 protected:
  /// `report`, if given, receives what the format cannot carry and outlives the target. Nothing is opened before
  /// `StartAddingSlices`.
  FileTarget(std::string path, FormatReport* report);

  /// Opens the file. The reference to the properties stays valid and shows what is set later, too.
  virtual std::unique_ptr<FileWriting> _Open(std::string const& path, MPendingFile::Existing existing,
                                             PersistentProperties const& properties, FormatReport* report) const = 0;

  PersistentProperties& _OnGetProperties() final;
  MSliceFileParameters& _OnGetSliceParameters() final;
  M2DSliceIOParameters& _OnGetSliceIOParameters() final;
  bool _OnStartAddingSlices() const final;
  M2DSlice* _OnAddSlice(M2DSlice const& slice) final;
  M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) final;
  bool _OnStopAddingSlices() const final;

 private:
  std::string m_path;
  MPendingFile::Existing m_existing = MPendingFile::Existing::Replace;
  FormatReport* m_report;
  PersistentProperties m_properties;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  mutable std::unique_ptr<FileWriting> m_writing;  ///< between start and stop
};

}  // namespace SliceFormats
