#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxWrite.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfoSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfoSaxWrite.h>
#include <SliceData/slice_data_cache/CachedSliceStackSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackSaxWrite.h>

namespace SliceDataCaching {

CachedSliceStackSaxRead::CachedSliceStackSaxRead(CachedSliceStack* stack) : m_stack(stack) {}
CachedSliceStackSaxRead::~CachedSliceStackSaxRead() = default;

void CachedSliceStackSaxRead::SetDefaults() {
  m_stack->m_data.clear();
}

bool CachedSliceStackSaxRead::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "KeyInfo") {
    reader.ReadOwnedSubObject(new CachedSliceStackKeyInfoSaxRead(m_stack));
    return true;
  }
  if (tag == "Properties") {
    reader.ReadOwnedSubObject(new PersistentPropertiesSax(&m_stack->GetProperties(), false));
    return true;
  }
  if (tag == "DataVector") return true;  // what it holds comes here
  if (tag == "Data") {
    m_stack->m_data.push_back(std::make_shared<CachedSliceStack::Data>());
    reader.ReadOwnedSubObject(new CachedSliceStackDataSaxRead(m_stack->m_data.back().get()));
    return true;
  }
  return false;
}

CachedSliceStackSaxWrite::CachedSliceStackSaxWrite(CachedSliceStack const* stack) : m_stack(stack) {}
CachedSliceStackSaxWrite::~CachedSliceStackSaxWrite() = default;

bool CachedSliceStackSaxWrite::Write(MSAXWriter& writer) const {
  {
    MSAXTagWriter const tag(writer, "KeyInfo");
    CachedSliceStackKeyInfoSaxWrite(m_stack).Write(writer);
  }
  {
    MSAXTagWriter const tag(writer, "Properties");
    // Writing changes nothing.
    PersistentPropertiesSax(const_cast<PersistentProperties*>(&m_stack->GetProperties()), false).Write(writer);
  }
  MSAXTagWriter const tag(writer, "DataVector");
  for (auto const& data : m_stack->m_data) {
    MSAXTagWriter const data_tag(writer, "Data");
    CachedSliceStackDataSaxWrite(data.get(), true).Write(writer);
  }
  return true;
}

}  // namespace SliceDataCaching
