#pragma once

#include <SliceData/slice_data_cache/CachedSliceStack.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>

#include <optional>
#include <string>

#include "Options.h"
#include "Trouble.h"

class MDocumentError;

namespace Tool {

/// A database document, open for a command.
class Database {
 public:
  enum class Use { Read, Change, ChangeOrMake };

  /// The bytes of an entry's slices are not those that were written.
  class Damage : public Trouble {
    using Trouble::Trouble;
  };

  /// Reads the keys of the database; its stacks stay where they are. Whoever is to change it waits for others who
  /// change a database in the same folder. Throws `Trouble` if it is not there, unless it may be made.
  Database(std::string path, Use use);
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
  /// A locked folder. Where it cannot be locked, nobody waits.
  class Lock {
   public:
    explicit Lock(std::string const& folder);
    ~Lock();
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;

   private:
    int m_descriptor;
  };

  template <class Function>
  void _NamingEntry(SliceDataCaching::CachedSliceStack const& entry, Function const& function) const;
  std::string _GetCause(MDocumentError const& error) const;
  void _RefuseDamagedEntries() const;

  std::string m_path;
  std::optional<Lock> m_lock;  ///< of the folder that the file is in
  SliceDataCaching::DatabaseCachedSliceStacks m_stacks{false};
};

}  // namespace Tool
