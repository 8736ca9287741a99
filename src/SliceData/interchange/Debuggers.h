#pragma once

#include <SliceData/platform/common/Export.h>

#include <vector>

namespace M2DSliceDebugUtilities {

class IDebugExport;

/// The debuggers that are alive, the newest last. Owns none of them.
class Debuggers : public std::vector<IDebugExport*> {};

/// All debuggers must be destroyed before it, at the end of the process.
extern VELSDK_EXPORT Debuggers g_debuggers;

}  // namespace M2DSliceDebugUtilities
