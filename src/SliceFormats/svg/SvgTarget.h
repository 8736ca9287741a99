#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FileTarget.h>

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
  bool start_points = false;      ///< a disc where each contour begins
  bool colour_by_area = false;    ///< colours and legend tell `IndexArea` apart instead of types
  bool directions = false;        ///< arrow heads along contours and vectors, their size by that of the layer
};

/// Draws slices as one SVG picture, each as a group `layer-N` with its height in `data-z-mm`.
///
/// Coordinates in the picture are millimetres with y upward. Colours tell types apart, also for colour-blind people,
/// and are the same in every picture. Closed contours are filled lightly, with holes left out; area contours are
/// dashed. Slices are written as they come, so that memory stays flat; the same slices give the same bytes.
///
/// Throws `std::system_error` if the disk refuses.
class VELSDK_EXPORT SvgTarget final : public FileTarget {
 public:
  /// `report`, if given, receives what a picture cannot carry and outlives the target. Throws `std::invalid_argument`
  /// for a stroke width that is not positive.
  explicit SvgTarget(std::string path, SvgOptions options = {}, FormatReport* report = nullptr);
  ~SvgTarget() override;

 protected:
  std::unique_ptr<FileWriting> _Open(std::string const& path, MPendingFile::Existing existing,
                                     PersistentProperties const& properties, FormatReport* report) const override;

 private:
  SvgOptions m_options;
};

}  // namespace SliceFormats
