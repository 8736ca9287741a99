#include <SliceData/interchange/DebugToStlFile.h>
#include <SliceData/interchange/M2DSliceDebugUtilities.h>
#include <SliceData/platform/file_io/MFile.h>

#include <cctype>

namespace M2DSliceDebugUtilities {

namespace {

/// Such a path cannot be opened: there are no drives here. Taken as a name it would make a file in the current folder.
bool IsOnDrive(std::string const& path) {
  return path.size() > 1 && std::isalpha(static_cast<unsigned char>(path[0])) != 0 && path[1] == ':';
}

/// In units of the file, in single precision throughout.
float Scaled(long coordinate) {
  return static_cast<float>(coordinate) / 10000.0f;
}

}  // namespace

DebugToStlFile::DebugToStlFile(std::string const& name) : m_name(name) {}
DebugToStlFile::~DebugToStlFile() = default;

void DebugToStlFile::SetCurrentProject(std::string const& project, long z) {
  m_current_project = project;
  m_slice.GetZArea().SetZ(z);
}

void DebugToStlFile::SetCurrentScene(std::string const& scene, long z) {
  m_current_scene = scene;
  m_slice.GetZArea().SetZ(z);
}

void DebugToStlFile::Add(M2DSliceContourLayer const& layer, std::string const&) {
  m_slice.GetBorderUpdate()->Add(layer);
}
void DebugToStlFile::Add(M2DSliceContour const& contour, std::string const&) {
  m_slice.GetBorderUpdate()->AddContour() = contour;
}
void DebugToStlFile::Add(M2DSliceVectorLayer const& layer, std::string const&) {
  m_slice.GetVectorsUpdate()->Add(layer);
}
void DebugToStlFile::Add(M2DSliceVectorBlock const& block, std::string const&) {
  m_slice.GetVectorsUpdate()->AddVectorBlock() = block;
}

void DebugToStlFile::Flush(bool clear) {
  try {
    _Write();
  } catch (...) {
    if (clear) m_slice.Clear();
    throw;
  }
  if (clear) m_slice.Clear();
}

void DebugToStlFile::_Write() const {
  MFile file(262144);
  std::string const path = GetDebugFilePrefix() + m_current_project + ".stl";
  if (IsOnDrive(path) || !file.OPEN_WRITE(path.c_str())) return;

  char const header[80] = {};
  file.WRITE(header, sizeof header);
  unsigned long num_points = 0;
  for (M2DSliceContour const& contour : m_slice.GetBorder()) num_points += contour.GetNumPoints();
  auto const count = static_cast<long>(num_points);
  file.WRITE(&count, 1);
  for (M2DSliceContour const& contour : m_slice.GetBorder()) _WriteContour(contour, file);
  file.CLOSE();
}

void DebugToStlFile::_WriteContour(M2DSliceContour const& contour, MFile& file) {
  unsigned long const num_points = contour.GetNumPoints();
  if (num_points < 2) return;
  M2DSliceContourPoint const* point = contour.GetFirstPoint();
  for (unsigned long i = contour.GetIsClosed() ? 0 : 1; i < num_points; ++i, point = point->next) {
    M2DSliceContourPoint const& next = *point->next;
    float const normal[] = {0, 0, 0};
    float const vertex_1[] = {Scaled(point->x), Scaled(point->y), 0};
    float const vertex_2[] = {Scaled(next.x), Scaled(next.y), 0};
    float const vertex_3[] = {Scaled(next.x), Scaled(next.y), 1};
    for (float const* const triple : {normal, vertex_1, vertex_2, vertex_3}) file.WRITE(triple, 3);
    std::uint16_t const attribute = 0;
    file.WriteInt16(&attribute, 1);
  }
}

}  // namespace M2DSliceDebugUtilities
