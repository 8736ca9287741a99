#include "Database.h"

#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

#include "Console.h"
#include "Trouble.h"

namespace Tool {

namespace {

using SliceDataCaching::CachedSliceStack;
using SliceDataCaching::CachedSliceStackKeyInfo;

/// Locks a folder, which is there before and after a file in it is replaced. Where that is not possible, nobody waits.
int LockFolder(std::filesystem::path const& folder) {
  int const descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor >= 0) static_cast<void>(::flock(descriptor, LOCK_EX));
  return descriptor;
}

/// The number of slices that the head of a stored stack tells; 0 without a stack.
unsigned long ReadNumSlices(VelAM::FileContent const& content) {
  MDocumentBytes const* const bytes = content.GetDocumentBytes();
  MDocument const document = bytes != nullptr ? MDocument(*bytes) : MDocument(content.GetPath());
  unsigned long num_slices = 0;
  document.VisitChildren([&](MDocument::Child const& child) {
    std::string const* const text = child.tag == "Stack" ? child.FindLeaf("NumSlices") : nullptr;
    if (text != nullptr) MStreamTextIn(*text) >> num_slices;
  });
  return num_slices;
}

}  // namespace

Database::Database(std::string path, Use use) : m_path(std::move(path)) {
  if (use != Use::Read) m_lock = LockFolder(std::filesystem::path(m_path).parent_path());
  std::error_code ignored;
  if (!std::filesystem::exists(m_path, ignored)) {
    if (use == Use::ChangeOrMake) return;
    throw Trouble(m_path, "there is no such file", "check the name, or make a database by 'slicedata db put'");
  }
  VelAM::SaxUtilities::ReadReport report;
  if (!SliceDataCaching::ReadDatabaseDocument(m_path, m_stacks, &report)) throw std::runtime_error(report.error);
  for (std::string const& warning : report.warnings) TellNote(m_path + ": " + warning);
}

Database::~Database() {
  if (m_lock >= 0) ::close(m_lock);
}

void Database::Load(CachedSliceStack& entry) const {
  try {
    if (entry.ValidateLoadedData(false)) return;
  } catch (MDocumentError const& error) {
    _FailDamaged(entry, error.what());
  }
  _FailDamaged(entry, "its document cannot be read to the end");
}

unsigned long Database::CountSlices(CachedSliceStack const& entry) const {
  unsigned long num_slices = 0;
  try {
    for (auto const& data : entry.m_data) {
      if (data->m_file_content != nullptr) num_slices += ReadNumSlices(*data->m_file_content);
    }
  } catch (MDocumentError const& error) {
    _FailDamaged(entry, error.what());
  }
  return num_slices;
}

void Database::Save() {
  try {
    SliceDataCaching::WriteDatabaseDocument(m_path, m_stacks);
  } catch (MDocumentError const&) {
    _RefuseDamagedEntries();
    throw;
  }
}

std::string Database::Describe(CachedSliceStackKeyInfo::ID const& id) {
  return "part '" + id.m_global + "', revision '" + id.m_revision + "'";
}

void Database::_FailDamaged(CachedSliceStack const& entry, std::string const& cause) const {
  // The cause has an advice of its own, for a document that stands alone.
  throw Trouble(m_path, "the slices of " + Describe(entry.m_id) + " are damaged: " + cause.substr(0, cause.find("; ")),
                "drop the entry by 'slicedata db drop', and put it anew");
}

/// Throws for the first entry whose bytes are not those that were written.
void Database::_RefuseDamagedEntries() const {
  for (CachedSliceStack const* const entry : m_stacks.GetAllCachedStacks()) {
    for (auto const& data : entry->m_data) {
      MDocumentBytes const* const bytes =
          data->m_file_content != nullptr ? data->m_file_content->GetDocumentBytes() : nullptr;
      if (bytes == nullptr) continue;
      try {
        bytes->CopyTo([](char const*, std::size_t) {});
      } catch (MDocumentError const& error) {
        _FailDamaged(*entry, error.what());
      }
    }
  }
}

}  // namespace Tool
