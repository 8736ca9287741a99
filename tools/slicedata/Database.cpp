#include "Database.h"

#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxRead.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "Console.h"

namespace Tool {

namespace {

using SliceDataCaching::CachedSliceStack;
using SliceDataCaching::CachedSliceStackKeyInfo;

/// The folder of the file itself, to which a path may be a symbolic link.
std::filesystem::path FindFolder(std::string const& path) {
  return std::filesystem::weakly_canonical(std::filesystem::absolute(path)).parent_path();
}

/// False only if it is certain that there is no such file: whatever else keeps it from being looked at is thrown.
bool IsThere(std::string const& path) {
  std::error_code error;
  auto const type = std::filesystem::status(path, error).type();
  if (type == std::filesystem::file_type::not_found) return false;
  if (type == std::filesystem::file_type::none) throw std::system_error(error, path + ": cannot be looked at");
  return true;
}

/// The document of a stored stack.
struct Stored {
  /// Throws `MDocumentError` if it is none that can be read.
  explicit Stored(VelAM::FileContent const& content) {
    MDocumentBytes const* const bytes = content.GetDocumentBytes();
    document = bytes != nullptr ? std::make_shared<MDocument>(*bytes) : std::make_shared<MDocument>(content.GetPath());
    document->VisitChildren([&](MDocument::Child const& child) {
      if (child.tag != "Stack") return;  // of a newer version
      if (std::string const* const text = child.FindLeaf("NumSlices")) MStreamTextIn(*text) >> num_slices;
    });
  }

  std::shared_ptr<MDocument const> document;
  unsigned long num_slices = 0;  ///< as its head tells
};

/// Reads the keys. What was not understood is given.
std::vector<std::string> ReadKeys(std::string const& path, SliceDataCaching::DatabaseCachedSliceStacks& stacks) {
  VelAM::SaxUtilities::ReadReport report;
  if (!SliceDataCaching::ReadDatabaseDocument(path, stacks, &report)) throw std::runtime_error(report.error);
  return report.warnings;
}

}  // namespace

Database::Lock::Lock(std::string const& folder)
    : m_descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  if (m_descriptor >= 0 && ::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    TellNote(folder + ": waiting for another process that changes a database there");
    static_cast<void>(::flock(m_descriptor, LOCK_EX));
  }
}

Database::Lock::~Lock() {
  if (m_descriptor >= 0) ::close(m_descriptor);
}

Database::Database(std::string path, Use use) : m_path(std::move(path)) {
  // The folder is there before and after the file in it is replaced.
  if (use != Use::Read) m_lock.emplace(FindFolder(m_path).string());
  if (IsThere(m_path)) {
    auto const warnings = ReadKeys(m_path, m_stacks);
    if (use != Use::Read) return;  // what is not understood is kept as it is
    for (std::string const& warning : warnings) TellNote(m_path + ": " + warning);
  } else if (use != Use::ChangeOrMake) {
    throw Trouble(m_path, "there is no such file", "check the name, or make a database by 'slicedata db put'");
  }
}

void Database::Check(std::string const& path) {
  if (IsThere(path)) {
    SliceDataCaching::DatabaseCachedSliceStacks stacks(false);
    ReadKeys(path, stacks);
  } else if (!std::filesystem::is_directory(FindFolder(path))) {
    throw Trouble(path, "its folder is not there", "make it first, or check the name");
  }
}

void Database::Load(CachedSliceStack& entry, TalkOptions const& talk) const {
  _NamingEntry(entry, [&] {
    for (auto const& data : entry.m_data) {
      if (data->m_loaded_data != nullptr || data->m_file_content == nullptr) continue;
      // In its place in the database: no copy is needed.
      MDocumentReader reader(Stored(*data->m_file_content).document);
      reader.ExpectRefusal("VectorTypeInfo/VectorType");
      SliceDataCaching::CachedSliceStackDataSaxRead root(data.get());
      reader.Read(root);
      if (talk.quiet) continue;
      for (std::string const& warning : reader.GetWarnings()) {
        TellNote(m_path + ": " + Describe(entry.m_id) + ": " + warning);
      }
    }
  });
}

unsigned long Database::CountSlices(CachedSliceStack const& entry) const {
  unsigned long num_slices = 0;
  _NamingEntry(entry, [&] {
    for (auto const& data : entry.m_data) {
      if (data->m_loaded_data != nullptr) {
        num_slices += data->m_loaded_data->m_stack->GetNumSlices();
      } else if (data->m_file_content != nullptr) {
        num_slices += Stored(*data->m_file_content).num_slices;
      }
    }
  });
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

/// Runs what reads the stacks of an entry. What is wrong with their documents becomes a trouble with the entry. Only
/// damage is a reason to give it up.
template <class Function>
void Database::_NamingEntry(CachedSliceStack const& entry, Function const& function) const {
  try {
    function();
  } catch (MDocumentMismatch const& error) {
    throw Trouble(m_path, "the slices of " + Describe(entry.m_id) + " cannot be read here: " + _GetCause(error),
                  "use a newer version of this program");
  } catch (MDocumentError const& error) {
    throw Damage(m_path, "the slices of " + Describe(entry.m_id) + " are damaged: " + _GetCause(error),
                 "drop the entry by 'slicedata db drop', and put it anew");
  }
}

/// Without the name of the file, and without advice: that is for a document that stands alone.
std::string Database::_GetCause(MDocumentError const& error) const {
  std::string cause = error.what();
  if (cause.compare(0, m_path.size() + 2, m_path + ": ") == 0) cause.erase(0, m_path.size() + 2);
  return cause.substr(0, cause.find("; "));
}

/// Throws for the first entry whose bytes are not those that were written.
void Database::_RefuseDamagedEntries() const {
  for (CachedSliceStack const* const entry : m_stacks.GetAllCachedStacks()) {
    _NamingEntry(*entry, [&] {
      for (auto const& data : entry->m_data) {
        MDocumentBytes const* const bytes =
            data->m_file_content != nullptr ? data->m_file_content->GetDocumentBytes() : nullptr;
        if (bytes != nullptr) bytes->CopyTo([](char const*, std::size_t) {});
      }
    });
  }
}

}  // namespace Tool
