#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/MAppendOnlyVector.h>
#include <SliceData/platform/sax/ISAXPersist.h>
#include <SliceData/slice_model/e2DSliceVectorType.h>
#include <SliceData/slice_model/e2DSliceVectorTypeFlag.h>
#include <SliceData/slice_model/e2DSliceVectorTypeIndex.h>

#include <array>
#include <atomic>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

/// What an element of a slice is for: one type, and any number of named indices, flags and numbers.
///
/// Names live once, in the process-wide `Registry`; a record refers to them by pointer. Names are open: a host or a
/// document may bring new ones at run time. Records are made in very large numbers, so the entries of a record are
/// shared between its copies until one of them changes: a copy costs a pointer.
///
/// Any thread may make records and look keys up. One record needs outside synchronisation if several threads use it and
/// one of them changes it; copies are independent of each other.
class VELSDK_EXPORT M2DSliceVectorTypeInfo : public ISAXPersist {
 public:
  /// The names of types, indices, flags and numbers, with one key a name. Keys are never removed, so a pointer to one
  /// is valid for the life of the process. All operations may be called from any thread.
  class VELSDK_EXPORT Registry;

  template <class Enumerator>
  struct Key;

  using TypeKey = Key<e2DSliceVectorType>;
  using IndexKey = Key<e2DSliceVectorTypeIndex>;
  using FlagKey = Key<e2DSliceVectorTypeFlag>;

  /// Built-in keys first, by enumerator, then run-time keys by address.
  template <class Enumerator>
  struct KeyCompare {
    bool operator()(Key<Enumerator> const* a, Key<Enumerator> const* b) const {
      return a->enumerator != b->enumerator ? a->enumerator < b->enumerator : std::less<>()(a, b);
    }
  };
  using IndexCompare = KeyCompare<e2DSliceVectorTypeIndex>;
  using FlagCompare = KeyCompare<e2DSliceVectorTypeFlag>;

  /// By name, byte-wise.
  struct IDCompare {
    bool operator()(std::string const* a, std::string const* b) const { return *a < *b; }
  };

  using Indices = std::map<IndexKey const*, long, IndexCompare>;
  using Flags = std::map<FlagKey const*, bool, FlagCompare>;
  using Numbers = std::map<std::string const*, double, IDCompare>;

  /// A `General` record without entries.
  M2DSliceVectorTypeInfo();
  M2DSliceVectorTypeInfo(e2DSliceVectorType const& type);  // NOLINT(google-explicit-constructor): a type is a record
  M2DSliceVectorTypeInfo(M2DSliceVectorTypeInfo const& other);
  M2DSliceVectorTypeInfo& operator=(M2DSliceVectorTypeInfo const& other);
  ~M2DSliceVectorTypeInfo() override;

  static Registry& GetRegistry();

  /// Replaces the type; indices, flags and numbers stay. A new name is registered.
  M2DSliceVectorTypeInfo& operator=(e2DSliceVectorType const& type);
  void SetType(e2DSliceVectorType type);
  void SetType(char const* name);

  TypeKey const& GetType() const { return *m_type; }
  /// Valid for the life of the process.
  char const* GetTypeName() const;

  /// The value, or -1 without an entry. Never registers a name.
  long GetIndex(e2DSliceVectorTypeIndex const& index) const;
  long GetIndex(char const* name) const;
  /// The value, or false without an entry. Never registers a name.
  bool GetFlag(e2DSliceVectorTypeFlag const& flag) const;
  bool GetFlag(char const* name) const;
  /// The value, or the largest finite double without an entry. Never registers a name.
  double GetNumber(char const* name) const;

  /// Store a value, the default too. A new name is registered. Throw `std::bad_alloc` without memory; the record is as
  /// before then.
  void SetIndex(e2DSliceVectorTypeIndex const& index, long value);
  void SetIndex(char const* name, long value);
  void SetFlag(e2DSliceVectorTypeFlag const& flag, bool value);
  void SetFlag(char const* name, bool value);
  void SetNumber(char const* name, double value);

  /// The entries in their order of iteration. Valid until this record is changed, assigned to or destroyed.
  Indices const& GetIndices() const { return _GetEntries().indices; }
  Flags const& GetFlags() const { return _GetEntries().flags; }
  Numbers const& GetNumbers() const { return _GetEntries().numbers; }

  /// Equal if the types are the same and every index, flag and number reads the same, so that an entry with the default
  /// value equals no entry. A record that holds a NaN is not equal to itself.
  bool operator==(M2DSliceVectorTypeInfo const& other) const;
  bool operator!=(M2DSliceVectorTypeInfo const& other) const { return !(*this == other); }

  /// Orders by type, then flags, then indices, then numbers, each in the order in which the names were registered:
  /// stable within a process, but not from one process to the next.
  bool operator<(M2DSliceVectorTypeInfo const& other) const;

  /// Takes over what `other` says: its type unless that is `General`; its indices that are not -1 if `merge_indices`;
  /// its flags that are true if `merge_flags`. Numbers are always taken, for every number name of the process, read
  /// with the default: a number that `other` lacks becomes the largest double here, and an explicit 0.0 in `other` is
  /// skipped. Callers rely on this.
  void MergeWith(M2DSliceVectorTypeInfo const& other, bool merge_indices, bool merge_flags);

  /// True if the record needs the extended form of the document: a run-time type or index, a number, or an entry of a
  /// flag beyond `IsGhostPath`, built-in ones included and whatever its value.
  bool HasAMX3DynamicInfo() const;

  /// Reads one child tag of the element, in the compact or the extended form, and adds to what the record holds. For
  /// "VectorType" the answer is false although the type has been taken: readers must not take that for an error.
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  /// Writes the compact form, or the extended one where `HasAMX3DynamicInfo`. False if the type could not be written.
  bool Write(MSAXWriter& writer) const override;

 private:
  struct Entries : boost::intrusive_ref_counter<Entries, boost::thread_safe_counter> {
    Indices indices;
    Flags flags;
    Numbers numbers;
  };

  Entries const& _GetEntries() const { return m_entries != nullptr ? *m_entries : _NoEntries(); }
  static Entries const& _NoEntries();
  /// The entries, no longer shared with any other record.
  Entries& _OwnEntries();

  Registry* m_registry;
  TypeKey const* m_type;
  boost::intrusive_ptr<Entries> m_entries;  ///< null while there is none
};

/// One registered name. A name outside the built-in vocabulary has the vocabulary's size as its enumerator.
template <class Enumerator>
struct M2DSliceVectorTypeInfo::Key {
  explicit Key(std::string const& key_name);

  std::string name;
  Enumerator enumerator;
};

class VELSDK_EXPORT M2DSliceVectorTypeInfo::Registry {
 public:
  template <class Enumerator>
  using Key = M2DSliceVectorTypeInfo::Key<Enumerator>;

  static constexpr std::size_t kNumTypes = 12;
  static constexpr std::size_t kNumIndices = 13;
  static constexpr std::size_t kNumFlags = 10;

  Registry();
  ~Registry();
  Registry(Registry const&) = delete;
  Registry& operator=(Registry const&) = delete;

  /// The key of a name. `create` true registers an unknown name and never gives null; false gives null for one and
  /// changes nothing. By enumerator, `create` throws `std::out_of_range` for a value outside the built-in vocabulary.
  TypeKey const* GetTypeID(std::string const& name, bool create);
  IndexKey const* GetIndexID(std::string const& name, bool create);
  FlagKey const* GetFlagID(std::string const& name, bool create);
  std::string const* GetNumberID(std::string const& name, bool create);
  TypeKey const* GetTypeID(e2DSliceVectorType type, bool create);
  IndexKey const* GetIndexID(e2DSliceVectorTypeIndex index, bool create);
  FlagKey const* GetFlagID(e2DSliceVectorTypeFlag flag, bool create);

  /// The built-in names in enumerator order.
  std::array<std::string, kNumTypes> const& GetTypeNames() const { return m_types.names; }
  std::array<std::string, kNumIndices> const& GetIndexNames() const { return m_indices.names; }
  std::array<std::string, kNumFlags> const& GetFlagNames() const { return m_flags.names; }

  /// All keys in the order of their registration. May be walked while other threads register.
  MAppendOnlyVector<TypeKey const*> const& GetTypes() const { return m_types.keys; }
  MAppendOnlyVector<IndexKey const*> const& GetIndices() const { return m_indices.keys; }
  MAppendOnlyVector<FlagKey const*> const& GetFlags() const { return m_flags.keys; }
  MAppendOnlyVector<std::string const*> const& GetNumbers() const { return m_numbers; }

 private:
  /// Keys of one kind. A key of a built-in name is published in `table`, so that the way from an enumerator to its key
  /// takes no lock; everything else is changed and looked up under the mutex.
  template <class Enumerator, std::size_t Size>
  struct Vocabulary {
    std::array<std::string, Size> names;
    std::array<std::atomic<Key<Enumerator> const*>, Size> table{};
    MAppendOnlyVector<Key<Enumerator> const*> keys;
    std::map<std::string, Key<Enumerator> const*> by_name;
  };

  TypeKey const* _GetTypeID(std::string const& name, bool create);
  IndexKey const* _GetIndexID(std::string const& name, bool create);
  FlagKey const* _GetFlagID(std::string const& name, bool create);

  template <class Enumerator, std::size_t Size>
  static Key<Enumerator> const* _GetID(Vocabulary<Enumerator, Size>& vocabulary, std::string const& name, bool create);
  template <class Enumerator, std::size_t Size>
  Key<Enumerator> const* _GetIDOf(Vocabulary<Enumerator, Size>& vocabulary, Enumerator enumerator, bool create);

  std::unique_ptr<std::mutex> m_mutex;
  Vocabulary<e2DSliceVectorType, kNumTypes> m_types;
  Vocabulary<e2DSliceVectorTypeIndex, kNumIndices> m_indices;
  Vocabulary<e2DSliceVectorTypeFlag, kNumFlags> m_flags;
  MAppendOnlyVector<std::string const*> m_numbers;
  std::map<std::string, std::string const*> m_numbers_by_name;
};
