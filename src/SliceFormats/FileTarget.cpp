#include <SliceFormats/FileTarget.h>

#include <stdexcept>
#include <utility>

namespace SliceFormats {

FileTarget::FileTarget(std::string path, FormatReport* report) : m_path(std::move(path)), m_report(report) {}

FileTarget::~FileTarget() = default;

PersistentProperties& FileTarget::_OnGetProperties() {
  return m_properties;
}
MSliceFileParameters& FileTarget::_OnGetSliceParameters() {
  return m_slice_parameters;
}
M2DSliceIOParameters& FileTarget::_OnGetSliceIOParameters() {
  return m_slice_io_parameters;
}

void FileTarget::Seal() const {
  if (m_writing == nullptr) throw std::logic_error(m_path + ": not begun; call StartAddingSlices before Seal");
  m_writing->Seal();
}

bool FileTarget::_OnStartAddingSlices() const {
  if (m_writing != nullptr) return false;
  m_writing = _Open(m_path, m_existing, m_properties, m_report);
  return true;
}

M2DSlice* FileTarget::_OnAddSlice(M2DSlice const& slice) {
  if (m_writing == nullptr) throw std::logic_error(m_path + ": not begun; call StartAddingSlices before AddSlice");
  m_writing->Add(slice);
  return nullptr;
}

M2DSlice* FileTarget::_OnAddSlice(M2DSlice& slice, bool) {
  return _OnAddSlice(std::as_const(slice));
}

bool FileTarget::_OnStopAddingSlices() const {
  if (m_writing == nullptr) return false;
  auto const writing = std::move(m_writing);
  writing->Finish();
  return true;
}

}  // namespace SliceFormats
