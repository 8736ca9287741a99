#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;

namespace M2DSliceDebugUtilities {

/// Takes contours and vectors to look at while a program is developed.
///
/// Debuggers form a stack: one is on top from its creation until its destruction, which takes the topmost off,
/// whichever that is. So they are destroyed in the reverse order of their creation. One thread only.
class VELSDK_EXPORT IDebugExport {
 public:
  virtual ~IDebugExport();
  IDebugExport(IDebugExport const&) = delete;
  IDebugExport& operator=(IDebugExport const&) = delete;

  /// `z`: where what follows lies, in internal units.
  virtual void SetCurrentProject(std::string const& project, long z) = 0;
  virtual void SetCurrentScene(std::string const& scene, long z) = 0;

  virtual void Add(M2DSliceContourLayer const& layer, std::string const& text) = 0;
  virtual void Add(M2DSliceContour const& contour, std::string const& text) = 0;
  virtual void Add(M2DSliceVectorLayer const& layer, std::string const& text) = 0;
  virtual void Add(M2DSliceVectorBlock const& block, std::string const& text) = 0;

  /// Writes out what was added since the last clearing; forgets it then if `clear`.
  virtual void Flush(bool clear) = 0;

 protected:
  IDebugExport();
};

}  // namespace M2DSliceDebugUtilities
