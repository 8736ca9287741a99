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
  if (tag == "Instance") {
    CachedSliceStack* const stack = m_database->_AddCachedSliceStack(CachedSliceStackKeyInfo());
    reader.ReadOwnedSubObject(new CachedSliceStackSaxRead(stack));
    return true;
  }
  if (tag == "Properties") {
    reader.ReadOwnedSubObject(new PersistentPropertiesSax(&m_database->GetProperties(), false));
    return true;
  }
  return false;
}

DatabaseCachedSliceStacksSaxWrite::DatabaseCachedSliceStacksSaxWrite(DatabaseCachedSliceStacks const* database)
    : m_database(database) {}
DatabaseCachedSliceStacksSaxWrite::~DatabaseCachedSliceStacksSaxWrite() = default;

bool DatabaseCachedSliceStacksSaxWrite::Write(MSAXWriter& writer) const {
  for (CachedSliceStack const* const stack : m_database->GetAllCachedStacks()) {
    MSAXTagWriter const tag(writer, "Instance");
    CachedSliceStackSaxWrite(stack).Write(writer);
  }
  MSAXTagWriter const tag(writer, "Properties");
  // Writing changes nothing.
  PersistentPropertiesSax(const_cast<PersistentProperties*>(&m_database->GetProperties()), false).Write(writer);
  return true;
}

}  // namespace SliceDataCaching
