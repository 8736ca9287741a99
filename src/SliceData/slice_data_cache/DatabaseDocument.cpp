#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxRead.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxWrite.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>

namespace SliceDataCaching {

bool ReadDatabaseDocument(std::string const& path, DatabaseCachedSliceStacks& database,
                          VelAM::SaxUtilities::ReadReport* report) {
  VelAM::SaxUtilities::ReadReport own;
  VelAM::SaxUtilities::ReadReport& told = report != nullptr ? *report : own;
  told.expected_kind = kDatabaseDocumentKind;
  DatabaseCachedSliceStacksSaxRead root(&database);
  return VelAM::SaxUtilities::ReadFile(path, root, &told);
}

void WriteDatabaseDocument(std::string const& path, DatabaseCachedSliceStacks const& database,
                           MPendingFile::Existing existing) {
  VelAM::SaxUtilities::WriteOptions options;
  options.kind = kDatabaseDocumentKind;
  options.existing = existing;
  VelAM::SaxUtilities::WriteFile(path, DatabaseCachedSliceStacksSaxWrite(&database), options);
}

}  // namespace SliceDataCaching
