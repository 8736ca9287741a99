#pragma once

#include <SliceData/interchange/IDebugExport.h>
#include <SliceData/platform/common/Export.h>

#include <string>

/// Lets any code drop contours and vectors into the current debugger, which is the newest one. Without a debugger
/// nothing happens, so such calls may stay in a program. One thread only.
namespace M2DSliceDebugUtilities {

/// Makes a `DebugToStlFile`, which is the current debugger until it is deleted. The caller owns it.
VELSDK_EXPORT IDebugExport* CreateDebugger(std::string const& name);

VELSDK_EXPORT void SetCurrentProject(std::string const& project, long z);
VELSDK_EXPORT void SetCurrentScene(std::string const& scene, long z);
VELSDK_EXPORT void Add(M2DSliceContourLayer const& layer, std::string const& text);
VELSDK_EXPORT void Add(M2DSliceContour const& contour, std::string const& text);
VELSDK_EXPORT void Add(M2DSliceVectorLayer const& layer, std::string const& text);
VELSDK_EXPORT void Add(M2DSliceVectorBlock const& block, std::string const& text);
VELSDK_EXPORT void Flush(bool clear);

/// What stands in front of the project in the path of a debug file, such as "/tmp/debug/".
///
/// At first it is "f:\", where nothing is written: a path that begins with a drive cannot be opened on a system that
/// has no drives. So set this to get files.
VELSDK_EXPORT void SetDebugFilePrefix(std::string const& prefix);
VELSDK_EXPORT std::string const& GetDebugFilePrefix();

}  // namespace M2DSliceDebugUtilities
