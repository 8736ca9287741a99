#include <SliceData/interchange/DebugToStlFile.h>
#include <SliceData/interchange/Debuggers.h>
#include <SliceData/interchange/M2DSliceDebugUtilities.h>

namespace M2DSliceDebugUtilities {

namespace {

std::string& DebugFilePrefix() {
  static std::string prefix = "f:\\";
  return prefix;
}

/// Calls `function` with the current debugger, if there is one.
template <class Function>
void WithCurrent(Function&& function) {
  if (!g_debuggers.empty()) function(*g_debuggers.back());
}

}  // namespace

IDebugExport* CreateDebugger(std::string const& name) {
  return new DebugToStlFile(name);
}

void SetCurrentProject(std::string const& project, long z) {
  WithCurrent([&](IDebugExport& debugger) { debugger.SetCurrentProject(project, z); });
}
void SetCurrentScene(std::string const& scene, long z) {
  WithCurrent([&](IDebugExport& debugger) { debugger.SetCurrentScene(scene, z); });
}
void Add(M2DSliceContourLayer const& layer, std::string const& text) {
  WithCurrent([&](IDebugExport& debugger) { debugger.Add(layer, text); });
}
void Add(M2DSliceContour const& contour, std::string const& text) {
  WithCurrent([&](IDebugExport& debugger) { debugger.Add(contour, text); });
}
void Add(M2DSliceVectorLayer const& layer, std::string const& text) {
  WithCurrent([&](IDebugExport& debugger) { debugger.Add(layer, text); });
}
void Add(M2DSliceVectorBlock const& block, std::string const& text) {
  WithCurrent([&](IDebugExport& debugger) { debugger.Add(block, text); });
}
void Flush(bool clear) {
  WithCurrent([&](IDebugExport& debugger) { debugger.Flush(clear); });
}

void SetDebugFilePrefix(std::string const& prefix) {
  DebugFilePrefix() = prefix;
}
std::string const& GetDebugFilePrefix() {
  return DebugFilePrefix();
}

}  // namespace M2DSliceDebugUtilities
