#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/slice_data_cache/AllDatabases.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>

#include <memory>
#include <vector>

namespace SliceDataCaching {

class ICachedSliceStackSelector;

/// A collection of cached slice stacks, which it owns. `ReadDatabaseDocument` and `WriteDatabaseDocument` keep it.
///
/// Every living database is found by the functions of `FindCachedStacks.h`. Databases are made, searched and destroyed
/// by one thread at a time.
class VELSDK_EXPORT DatabaseCachedSliceStacks {
 public:
  /// `is_target`: whether it takes new entries, for who asks `FindSuitedTargetDatabase`.
  explicit DatabaseCachedSliceStacks(bool is_target);
  virtual ~DatabaseCachedSliceStacks();
  DatabaseCachedSliceStacks(DatabaseCachedSliceStacks const&) = delete;
  DatabaseCachedSliceStacks& operator=(DatabaseCachedSliceStacks const&) = delete;

  /// Whether an entry of that key may be added.
  virtual bool IsSuitedTargetFor(CachedSliceStackKeyInfo const& key) const;
  /// Whether this is a target, for every key. A derived database may be choosier.
  virtual bool _OnIsSuitedTargetFor(CachedSliceStackKeyInfo const& key) const;

  void SetIsTarget(bool is_target) { m_is_target = is_target; }

  /// Destroys all entries. The properties stay.
  void Clear();
  /// The number of entries.
  unsigned long GetSize() const { return m_cached_stacks.size(); }

  /// The oldest entry that suits; null if none does. Asks the selector about one entry after the other.
  CachedSliceStack* GetSuitedCachedStack(ICachedSliceStackSelector const& selector) const;

  /// Adds an entry with a copy of the key, even if there is one of the same key. The entry stays the database's.
  CachedSliceStack* AddCachedSliceStack(CachedSliceStackKeyInfo const& key);
  CachedSliceStack* _AddCachedSliceStack(CachedSliceStackKeyInfo const& key);

  /// Destroys an entry. False if it is none of this database.
  bool RemoveCachedSliceStack(CachedSliceStack* stack);
  /// Destroys all entries that suit, and tells how many.
  unsigned long RemoveCachedSliceStacks(ICachedSliceStackSelector const& selector);

  /// All entries in the order of addition. They stay the database's.
  std::vector<CachedSliceStack*> GetAllCachedStacks() const;

  /// Properties of the database itself, for hosts.
  PersistentProperties& GetProperties() { return m_properties; }
  PersistentProperties const& GetProperties() const { return m_properties; }

 private:
  friend class DatabaseCachedSliceStacksSaxRead;
  friend class DatabaseCachedSliceStacksSaxWrite;

  bool m_is_target;
  std::vector<std::unique_ptr<CachedSliceStack>> m_cached_stacks;
  PersistentProperties m_properties;

  // What a document held beside the entries: it may tell more than is known here.
  PersistentProperties m_properties_as_read;
  MDocumentTag m_source_of_properties;
  std::vector<MDocumentTag> m_other_tags;  ///< those of unknown names
};

}  // namespace SliceDataCaching
