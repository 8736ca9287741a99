#include <SliceData/interchange/Debuggers.h>
#include <SliceData/interchange/IDebugExport.h>

namespace M2DSliceDebugUtilities {

Debuggers g_debuggers;

IDebugExport::IDebugExport() {
  g_debuggers.push_back(this);
}

IDebugExport::~IDebugExport() {
  g_debuggers.pop_back();
}

}  // namespace M2DSliceDebugUtilities
