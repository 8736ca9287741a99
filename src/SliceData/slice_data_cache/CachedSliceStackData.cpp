#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxWrite.h>

#include <boost/make_shared.hpp>
#include <utility>

namespace SliceDataCaching {

CachedSliceStack::Data::LoadedData::LoadedData() : m_stack(boost::make_shared<M2DSliceStack>()) {}
CachedSliceStack::Data::LoadedData::~LoadedData() = default;

CachedSliceStack::Data::Data() = default;
CachedSliceStack::Data::~Data() = default;

bool CachedSliceStack::Data::ValidateLoadedData(bool release_file) {
  if (m_loaded_data != nullptr) return true;
  m_loaded_data = std::make_unique<LoadedData>();
  if (m_file_content == nullptr) return true;
  bool is_whole = false;
  try {
    std::string const path = m_file_content->GetPath();
    CachedSliceStackDataSaxRead reader(this);
    is_whole = VelAM::SaxUtilities::ReadFile(path, reader);
  } catch (...) {
    m_loaded_data.reset();  // an empty stack must not pass for the one in the document
    throw;
  }
  if (release_file) m_file_content.reset();
  return is_whole;
}

bool CachedSliceStack::Data::ValidateTempFile(bool write) const {
  if (m_file_content != nullptr) return true;
  auto content = std::make_unique<VelAM::FileContent>();
  content->CreateTempFile(true);
  if (write) {
    VelAM::SaxUtilities::WriteOptions options;
    options.format = 0;
    options.kind = "CachedSliceDataFile";
    options.durable = false;  // a scratch file
    VelAM::SaxUtilities::WriteFile(content->GetPath(), CachedSliceStackDataSaxWrite(this, false), options);
  }
  m_file_content = std::move(content);  // at last: a document that could not be written must not pass for the stack
  return true;
}

}  // namespace SliceDataCaching
