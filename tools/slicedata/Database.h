#pragma once

#include <SliceData/platform/file_io/MFileLock.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>

#include <chrono>
#include <optional>
#include <string>

#include "Options.h"
#include "Trouble.h"

class MDocumentError;

namespace Tool {

/// How long a command waits for others who change the database.
struct WaitOptions {
  std::optional<std::chrono::seconds> longest;  ///< none: as long as they take

  void AddTo(Command& command);
};

/// A database document, open for a command.
class Database {
 public:
  enum class Use { Read, Change, ChangeOrMake };

  /// The bytes of an entry's slices are not those that were written.
  class Damage : public Trouble {
    using Trouble::Trouble;
  };

  /// Reads the keys of the database; its stacks stay where they are. Whoever is to change it holds its lock, and waits
  /// for it first. Throws `Trouble` if the database is not there, unless it may be made, or if the wait is over.
  Database(std::string path, Use use, WaitOptions const& wait = {});
  Database(Database const&) = delete;
  Database& operator=(Database const&) = delete;

  /// Throws what `ChangeOrMake` would, without waiting and without a word about what is not understood.
  static void Check(std::string const& path);

  SliceDataCaching::DatabaseCachedSliceStacks& GetStacks() { return m_stacks; }

  /// Brings the stacks of an entry into memory, and tells what was not understood. Throws `Trouble` that names the
  /// entry if that cannot be done, `Damage` if they are damaged, and what comes from disk and memory.
  void Load(SliceDataCaching::CachedSliceStack& entry, TalkOptions const& talk) const;
  /// The number of slices in all stacks of an entry, from the contents of their documents alone. Throws as `Load`.
  unsigned long CountSlices(SliceDataCaching::CachedSliceStack const& entry) const;

  /// Writes the database over itself. The old one stays until the new one is whole.
  void Save();

  /// "part 'gear', revision '2'"
  static std::string Describe(SliceDataCaching::CachedSliceStackKeyInfo::ID const& id);

 private:
  void _Lock(WaitOptions const& wait);
  template <class Function>
  void _NamingEntry(SliceDataCaching::CachedSliceStack const& entry, Function const& function) const;
  std::string _GetCause(MDocumentError const& error) const;
  void _RefuseDamagedEntries() const;

  std::string m_path;
  std::optional<MFileLock> m_lock;
  MPendingFile::Existing m_existing = MPendingFile::Existing::Replace;  ///< only what was read is replaced
  SliceDataCaching::DatabaseCachedSliceStacks m_stacks{false};
};

}  // namespace Tool
