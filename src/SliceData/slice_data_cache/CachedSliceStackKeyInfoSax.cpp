#include <SliceData/persistence/MSax2DSliceZAreaTypeInfo.h>
#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfoSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfoSaxWrite.h>

namespace SliceDataCaching {

namespace {

void WriteText(MSAXWriter& writer, char const* name, std::string const& text) {
  MSAXTagWriter const tag(writer, name);
  writer.WriteTextValue(text);
}

}  // namespace

CachedSliceStackKeyInfoSaxRead::CachedSliceStackKeyInfoSaxRead(CachedSliceStackKeyInfo* key) : m_key(key) {}
CachedSliceStackKeyInfoSaxRead::~CachedSliceStackKeyInfoSaxRead() = default;

bool CachedSliceStackKeyInfoSaxRead::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "ID") return true;  // what it holds comes here
  if (tag == "Global") return reader.ReadString(m_key->m_id.m_global);
  if (tag == "Revision") return reader.ReadString(m_key->m_id.m_revision);
  if (tag == "ZInfo") {
    reader.ReadOwnedSubObject(new MSax2DSliceZAreaTypeInfo(&m_key->m_z_info));
    return true;
  }
  if (tag == "Transform") return reader.ReadValue(m_key->m_transform);
  if (tag == "Properties") {
    reader.ReadOwnedSubObject(new PersistentPropertiesSax(&m_key->m_properties, false));
    return true;
  }
  return false;
}

CachedSliceStackKeyInfoSaxWrite::CachedSliceStackKeyInfoSaxWrite(CachedSliceStackKeyInfo const* key) : m_key(key) {}
CachedSliceStackKeyInfoSaxWrite::~CachedSliceStackKeyInfoSaxWrite() = default;

bool CachedSliceStackKeyInfoSaxWrite::Write(MSAXWriter& writer) const {
  // The elements of the parts take what could be read as well; writing changes nothing.
  auto& key = const_cast<CachedSliceStackKeyInfo&>(*m_key);
  {
    MSAXTagWriter const tag(writer, "ID");
    WriteText(writer, "Global", key.m_id.m_global);
    WriteText(writer, "Revision", key.m_id.m_revision);
  }
  {
    MSAXTagWriter const tag(writer, "ZInfo");
    MSax2DSliceZAreaTypeInfo(&key.m_z_info).Write(writer);
  }
  writer.StartTag("Transform");
  writer.WriteValue(key.m_transform);
  writer.EndTag("Transform");
  MSAXTagWriter const tag(writer, "Properties");
  PersistentPropertiesSax(&key.m_properties, false).Write(writer);
  return true;
}

}  // namespace SliceDataCaching
