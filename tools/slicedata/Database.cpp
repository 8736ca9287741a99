#include "Database.h"

#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/properties/FileContent.h>
#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentReader.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/slice_data_cache/CachedSliceStackDataSaxRead.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "Console.h"
#include "Length.h"

namespace Tool {

namespace {

using SliceDataCaching::CachedSliceStack;
using SliceDataCaching::CachedSliceStackKeyInfo;

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

void WaitOptions::AddTo(Command& command) {
  command.AddOption(
      "--wait", "SECONDS",
      "wait no longer than this for others who change the database; without it, until they are done",
      [this](std::string const& value) { longest = std::chrono::seconds(ParseWhole(value, 0, 1000000)); });
}

Database::Database(std::string path, Use use, WaitOptions const& wait) : m_path(std::move(path)) {
  if (use != Use::Read) _Lock(wait);
  if (IsThere(m_path)) {
    auto const warnings = ReadKeys(m_path, m_stacks);
    if (use != Use::Read) return;  // what is not understood is kept as it is
    for (std::string const& warning : warnings) TellNote(m_path + ": " + warning);
  } else if (use != Use::ChangeOrMake) {
    throw Trouble(m_path, "there is no such file", "check the name, or make a database by 'slicedata db put'");
  } else {
    m_existing = MPendingFile::Existing::Keep;
  }
}

void Database::Check(std::string const& path) {
  if (IsThere(path)) {
    SliceDataCaching::DatabaseCachedSliceStacks stacks(false);
    ReadKeys(path, stacks);
  } else {
    static_cast<void>(MPendingFile::FindFinalPath(path));  // throws if there is no folder for it
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
    SliceDataCaching::WriteDatabaseDocument(m_path, m_stacks, m_existing);
  } catch (MDocumentError const&) {
    _RefuseDamagedEntries();
    throw;
  }
}

std::string Database::Describe(CachedSliceStackKeyInfo::ID const& id) {
  return "part '" + id.m_global + "', revision '" + id.m_revision + "'";
}

void Database::_Lock(WaitOptions const& wait) {
  m_lock.emplace(m_path);
  if (m_lock->TryLock()) return;
  using Clock = MFileLock::Clock;
  bool is_locked = false;
  if (wait.longest != std::chrono::seconds(0)) {
    std::string const doubtful = m_lock->GetDoubtfulFile();
    TellNote(m_path + ": waiting for " + m_lock->DescribeHolder() + ", which changes it" +
             (doubtful.empty() ? "" : "; if that has ended, remove " + doubtful));
    is_locked = m_lock->LockUntil(wait.longest ? Clock::now() + *wait.longest : Clock::time_point::max());
  }
  if (!is_locked) {
    std::string const doubtful = m_lock->GetDoubtfulFile();
    throw Trouble(m_path, m_lock->DescribeHolder() + " changes it",
                  doubtful.empty() ? "try again later, or give a longer time by --wait"
                                   : "try again later, or remove " + doubtful + " if that process has ended");
  }
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
