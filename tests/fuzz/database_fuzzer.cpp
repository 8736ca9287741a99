// Reads arbitrary bytes as a database document, and asks for all that is in it. The first byte says how: as a whole
// file, as the parts of a document, or as a stored stack in a document that is otherwise as a database writes it.

#include <SliceData/platform/common/SaxUtilities.h>
#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

#include "DocumentParts.h"

using namespace SliceDataCaching;

namespace {

void WriteInput(std::string const& path, bool as_parts, char const* kind, std::string_view input) {
  if (as_parts) {
    fuzz::WriteParts(path, kind, input);
  } else {
    std::ofstream(path, std::ios::binary) << input;
  }
}

void WriteAsStoredStack(std::string const& path, bool as_parts, std::string_view input) {
  auto const data = std::make_shared<CachedSliceStack::Data>();
  data->ValidateTempFile(false);
  WriteInput(data->m_file_content->GetPath(), as_parts, "CachedSliceDataFile", input);
  DatabaseCachedSliceStacks database(false);
  database.AddCachedSliceStack(CachedSliceStackKeyInfo())->m_data = {data, data};
  WriteDatabaseDocument(path, database);
}

void AskForAll(CachedSliceStack& entry) {
  MMTransformMatrix const position;
  MMTransformMatrix difference;
  entry.GetAdditionalTransformation(&position, difference);
  entry.AddUsedPosition(position);
  std::vector<MMTransformMatrix const*> positions;
  entry.GetUsedPositions(positions);
  for (auto const& stack : entry.GetStacks()) {
    for (unsigned long i = 0; i < stack->GetSize(); ++i) {
      M2DSlice slice;
      entry.GetSlice(slice, stack->GetSlice(i)->GetZArea(), &position);
    }
  }
  entry.ReleaseLoadedData();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::string_view const input(reinterpret_cast<char const*>(data) + 1, size - 1);
  static fuzz::ScratchFiles const files;
  bool const as_parts = (data[0] & 1) != 0;
  if ((data[0] & 2) != 0) {
    WriteAsStoredStack(files.path, as_parts, input);
  } else {
    WriteInput(files.path, as_parts, kDatabaseDocumentKind, input);
  }

  DatabaseCachedSliceStacks database(false);
  fuzz::Try([&] { ReadDatabaseDocument(files.path, database); });
  for (CachedSliceStack* const entry : database.GetAllCachedStacks()) {
    database.GetSuitedCachedStack(CachedSliceStackSelectorDefault(entry));
    fuzz::Try([&] { AskForAll(*entry); });
  }
  // What has been read can be saved.
  if ((data[0] & 4) != 0) fuzz::Try([&] { WriteDatabaseDocument(files.again, database); });
  return 0;
}
