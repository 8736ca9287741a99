#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_data_cache/CachedSliceStackSaxRead.h>
#include <SliceData/slice_data_cache/CachedSliceStackSaxWrite.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxRead.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxWrite.h>

namespace SliceDataCaching {

DatabaseCachedSliceStacksSaxRead::DatabaseCachedSliceStacksSaxRead(DatabaseCachedSliceStacks* database)
    : m_database(database) {}
DatabaseCachedSliceStacksSaxRead::~DatabaseCachedSliceStacksSaxRead() = default;

bool DatabaseCachedSliceStacksSaxRead::HandleTag(std::string const& tag, MSAXReader& reader) {
  m_source = MDocumentTag::FromReader(reader);
  if (tag == "Instance") {
    m_entry = m_database->_AddCachedSliceStack(CachedSliceStackKeyInfo());
    reader.ReadOwnedSubObject(new CachedSliceStackSaxRead(m_entry));
    return true;
  }
  if (tag == "Properties") {
    reader.ReadOwnedSubObject(new PersistentPropertiesSax(&m_database->GetProperties(), false));
    return true;
  }
  if (m_source.document != nullptr) m_database->m_other_tags.push_back(m_source);
  return false;
}

void DatabaseCachedSliceStacksSaxRead::HandleEndTag(std::string const& tag) {
  if (m_source.document == nullptr) return;
  if (tag == "Instance") {
    m_entry->_SetSource(m_source);
  } else if (tag == "Properties") {
    m_database->m_source_of_properties = m_source;
    m_database->m_properties_as_read = m_database->m_properties;
  }
}

DatabaseCachedSliceStacksSaxWrite::DatabaseCachedSliceStacksSaxWrite(DatabaseCachedSliceStacks const* database)
    : m_database(database) {}
DatabaseCachedSliceStacksSaxWrite::~DatabaseCachedSliceStacksSaxWrite() = default;

bool DatabaseCachedSliceStacksSaxWrite::Write(MSAXWriter& writer) const {
  for (CachedSliceStack const* const stack : m_database->GetAllCachedStacks()) {
    if (stack->_GetSource().WriteTo(writer)) continue;
    MSAXTagWriter const tag(writer, "Instance");
    CachedSliceStackSaxWrite(stack).Write(writer);
  }
  bool const is_copied = m_database->m_properties == m_database->m_properties_as_read &&
                         m_database->m_source_of_properties.WriteTo(writer);
  if (!is_copied) {
    MSAXTagWriter const tag(writer, "Properties");
    // Writing changes nothing.
    PersistentPropertiesSax(const_cast<PersistentProperties*>(&m_database->GetProperties()), false).Write(writer);
  }
  for (MDocumentTag const& tag : m_database->m_other_tags) tag.WriteTo(writer);
  return true;
}

}  // namespace SliceDataCaching
