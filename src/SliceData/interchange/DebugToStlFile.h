#pragma once

#include <SliceData/interchange/IDebugExport.h>
#include <SliceData/slice_model/M2DSlice.h>

class MFile;

namespace M2DSliceDebugUtilities {

/// Gathers what is added in a slice and writes its contours to a binary STL file, which any viewer of meshes shows.
///
/// The file is named after the current project, behind the prefix of `SetDebugFilePrefix`. A contour becomes a fence of
/// slivers, one a segment, standing from Z 0 to Z 1; 10000 internal units (one millimetre) are 1 in the file. The count
/// of facets in the file is the number of points: open contours and single points have fewer facets than it says.
/// Vectors are gathered, but not written.
class VELSDK_EXPORT DebugToStlFile : public IDebugExport {
 public:
  explicit DebugToStlFile(std::string const& name);
  ~DebugToStlFile() override;

  void SetCurrentProject(std::string const& project, long z) override;
  void SetCurrentScene(std::string const& scene, long z) override;

  // The texts have no use in this format.

  void Add(M2DSliceContourLayer const& layer, std::string const& text) override;
  void Add(M2DSliceContour const& contour, std::string const& text) override;
  void Add(M2DSliceVectorLayer const& layer, std::string const& text) override;
  void Add(M2DSliceVectorBlock const& block, std::string const& text) override;

  /// Replaces the file by one with all contours added since the last clearing. Does nothing if the file cannot be
  /// opened; throws `std::system_error` if it can, but does not take the bytes. Clears in any case if `clear`.
  void Flush(bool clear) override;

 private:
  void _Write() const;
  static void _WriteContour(M2DSliceContour const& contour, MFile& file);

  M2DSlice m_slice;
  std::string m_name;
  std::string m_current_project;
  std::string m_current_scene;
};

}  // namespace M2DSliceDebugUtilities
