#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_stack/ITarget2DSlices.h>
#include <SliceFormats/FormatError.h>
#include <SliceFormats/FormatReport.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// How an SVG picture looks.
struct SvgOptions {
  std::string title;              ///< plain text above the picture, UTF-8; empty for none
  bool legend = true;             ///< the layers, and the types that occur in their colours
  bool scale_bar = true;          ///< a bar of round length
  double stroke_width_px = 1.0;   ///< of contours on the screen, whatever the zoom; vectors are finer; positive
  unsigned long first_layer = 0;  ///< the number of the first slice, for who draws a selection
};

/// Draws slices as one SVG picture, each as a group `layer-N` with its height in `data-z-mm`.
///
/// Coordinates in the picture are millimetres with y upward. Colours tell types apart, also for colour-blind people,
/// and are the same in every picture. Closed contours are filled lightly, with holes left out; area contours are
/// dashed. Slices are written as they come, so that memory stays flat; the same slices give the same bytes.
///
/// The file appears under its name when `StopAddingSlices` returns; a target that is destroyed before leaves none. The
/// target keeps no slice, so `AddSlice` gives null. Throws `std::invalid_argument` for a stroke width that is not
/// positive, and `std::system_error` if the disk refuses; the file cannot be finished then.
class VELSDK_EXPORT SvgTarget final : public ITarget2DSlices {
 public:
  /// `report`, if given, receives what a picture cannot carry and outlives the target. Nothing is opened before
  /// `StartAddingSlices`.
  explicit SvgTarget(std::string path, SvgOptions options = {}, FormatReport* report = nullptr);
  ~SvgTarget() override;
  SvgTarget(SvgTarget const&) = delete;
  SvgTarget& operator=(SvgTarget const&) = delete;

 protected:
  PersistentProperties& _OnGetProperties() override;
  MSliceFileParameters& _OnGetSliceParameters() override;
  M2DSliceIOParameters& _OnGetSliceIOParameters() override;
  bool _OnStartAddingSlices() const override;
  M2DSlice* _OnAddSlice(M2DSlice const& slice) override;
  M2DSlice* _OnAddSlice(M2DSlice& slice, bool move) override;
  bool _OnStopAddingSlices() const override;

 private:
  class Drawing;

  std::string m_path;
  SvgOptions m_options;
  FormatReport* m_report;
  PersistentProperties m_properties;
  MSliceFileParameters m_slice_parameters;
  M2DSliceIOParameters m_slice_io_parameters;
  mutable std::unique_ptr<Drawing> m_drawing;  ///< between start and stop
};

}  // namespace SliceFormats
