#include <SliceFormats/FileWriting.h>

#include <utility>

namespace SliceFormats {

FileWriting::FileWriting(std::string path, FormatReport* report) : m_path(std::move(path)), m_report(report) {}

FileWriting::~FileWriting() = default;

void FileWriting::Add(M2DSlice const& slice) {
  _RequireWhole();
  _Add(slice);
  m_is_whole = true;
}

void FileWriting::Seal() {
  _RequireWhole();
  _Seal();
  m_is_sealed = true;
}

void FileWriting::Finish() {
  if (!m_is_sealed) Seal();
  m_is_sealed = false;  // a second attempt is refused, as after any failure
  _Commit();
}

long FileWriting::_TakeHeight(M2DSlice const& slice) {
  if (!slice.GetZArea().IsValid()) _Fail("a slice without a height cannot be written; give it a z");
  long const z = slice.GetZArea().GetZ();
  if (m_height && z < *m_height) _Fail("layers must come from bottom to top; sort the slices by z");
  m_height = z;
  return z;
}

bool FileWriting::_IsTelling(PersistentPropertyBase const& property) {
  return !property.IsDeleted() && property.GetName() != "SliceThickness";
}

M2DSliceXYArea FileWriting::_ExamineItems(M2DSliceContour const& contour) const {
  M2DSliceXYArea area;
  long any_z = 0;
  bool any_info = false;
  for (M2DSliceContourPoint const& point : contour.GetPoints()) {
    area.Extend(point.x, point.y);
    any_z |= point.z;
    any_info |= point.info != nullptr;
  }
  _NoteIf(any_z != 0 || any_info, "heights and further information of single contour points were left out");
  return area;
}

M2DSliceXYArea FileWriting::_ExamineItems(M2DSliceVectorBlock const& block) {
  M2DSliceXYArea area;
  for (M2DSliceVector const& vector : block) {
    area.Extend(vector.x1, vector.y1);
    area.Extend(vector.x2, vector.y2);
  }
  return area;
}

M2DSliceXYArea FileWriting::_ExamineItems(M2DSlicePointBlock const& block) {
  M2DSliceXYArea area;
  for (M2DSlicePoint const& point : block) area.Extend(point.x, point.y);
  return area;
}

void FileWriting::_Note(char const* text) const {
  if (m_report != nullptr) m_report->Note(text);
}

void FileWriting::_RequireWhole() {
  if (!std::exchange(m_is_whole, false)) _Fail("cannot be finished after an earlier failure; write it anew");
}

}  // namespace SliceFormats
