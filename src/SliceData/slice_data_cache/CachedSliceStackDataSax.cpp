#include <SliceData/persistence/MSaxM2DSliceStack.h>
#include <SliceData/platform/properties/FileContentRead.h>
#include <SliceData/platform/properties/FileContentWrite.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxWrite.h>

namespace SliceDataCaching {

CachedSliceStackDataSaxRead::CachedSliceStackDataSaxRead(CachedSliceStack::Data* data) : m_data(data) {}
CachedSliceStackDataSaxRead::~CachedSliceStackDataSaxRead() = default;

bool CachedSliceStackDataSaxRead::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "Stack") {
    // A stack that is no file of its own, in a database of another maker.
    if (m_data->m_loaded_data == nullptr) {
      m_data->m_loaded_data = std::make_unique<CachedSliceStack::Data::LoadedData>();
    }
    reader.ReadOwnedSubObject(new MSaxM2DSliceStack(m_data->m_loaded_data->m_stack.get()));
    return true;
  }
  if (tag == "FileContent") {
    m_data->ValidateTempFile(false);
    reader.ReadOwnedSubObject(new VelAM::FileContentRead(m_data->m_file_content.get()));
    return true;
  }
  return false;
}

CachedSliceStackDataSaxWrite::CachedSliceStackDataSaxWrite(CachedSliceStack::Data const* data, bool as_file_content)
    : m_data(data), m_as_file_content(as_file_content) {}
CachedSliceStackDataSaxWrite::~CachedSliceStackDataSaxWrite() = default;

bool CachedSliceStackDataSaxWrite::Write(MSAXWriter& writer) const {
  if (m_as_file_content) {
    MSAXTagWriter const tag(writer, "FileContent");
    m_data->ValidateTempFile(true);
    VelAM::FileContentWriteContext context;
    context.embedded = 1;
    VelAM::FileContentWrite(m_data->m_file_content.get(), context).Write(writer);
  } else if (m_data->m_loaded_data != nullptr) {
    MSAXTagWriter const tag(writer, "Stack");
    MSaxM2DSliceStack(m_data->m_loaded_data->m_stack.get()).Write(writer);
  }
  return true;
}

}  // namespace SliceDataCaching
