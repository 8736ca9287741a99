#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <stdexcept>
#include <utility>

namespace {

constexpr long kNoIndex = -1;
constexpr bool kNoFlag = false;
constexpr double kNoNumber = std::numeric_limits<double>::max();

template <class Map, class Value>
Value Lookup(Map const& entries, typename Map::key_type key, Value missing) {
  if (key == nullptr) return missing;
  auto const found = entries.find(key);
  return found != entries.end() ? found->second : missing;
}

/// Walks two ordered maps side by side and tells whether every key reads the same in both, a missing one as `missing`.
template <class Map, class Value>
bool ReadTheSame(Map const& a, Map const& b, Value missing) {
  auto const less = a.key_comp();
  auto left = a.begin();
  auto right = b.begin();
  while (left != a.end() || right != b.end()) {
    bool const left_only = right == b.end() || (left != a.end() && less(left->first, right->first));
    bool const right_only = !left_only && (left == a.end() || less(right->first, left->first));
    Value const left_value = right_only ? missing : left->second;
    Value const right_value = left_only ? missing : right->second;
    if (!(left_value == right_value)) return false;
    if (!right_only) ++left;
    if (!left_only) ++right;
  }
  return true;
}

/// Decides at the first key, in the order of registration, that reads differently: -1, 1, or 0 if there is none.
template <class Keys, class Map, class Value>
int CompareInKeyOrder(Keys const& keys, Map const& a, Map const& b, Value missing) {
  if (a.empty() && b.empty()) return 0;
  for (std::size_t i = 0, count = keys.size(); i < count; ++i) {
    Value const left = Lookup(a, keys[i], missing);
    Value const right = Lookup(b, keys[i], missing);
    if (left < right) return -1;
    if (right < left) return 1;
  }
  return 0;
}

template <class Enumerator>
constexpr std::size_t kVocabularySize = 0;
template <>
constexpr std::size_t kVocabularySize<e2DSliceVectorType> = M2DSliceVectorTypeInfo::Registry::kNumTypes;
template <>
constexpr std::size_t kVocabularySize<e2DSliceVectorTypeIndex> = M2DSliceVectorTypeInfo::Registry::kNumIndices;
template <>
constexpr std::size_t kVocabularySize<e2DSliceVectorTypeFlag> = M2DSliceVectorTypeInfo::Registry::kNumFlags;

/// The process-wide registry and the flag that guards its making. Both are initialised as constants, since the first
/// record may be a static object of a host. The registry goes with the library's static objects.
struct RegistryLocalStaticThreadSafeHandler {
  using Registry = M2DSliceVectorTypeInfo::Registry;
  struct Deleter {
    void operator()(Registry* registry) const { delete registry; }
  };
  static std::unique_ptr<Registry, Deleter> gp_registry;
  static std::once_flag g_create;
};

std::unique_ptr<M2DSliceVectorTypeInfo::Registry, RegistryLocalStaticThreadSafeHandler::Deleter>
    RegistryLocalStaticThreadSafeHandler::gp_registry;
std::once_flag RegistryLocalStaticThreadSafeHandler::g_create;

}  // namespace

template <class Enumerator>
M2DSliceVectorTypeInfo::Key<Enumerator>::Key(std::string const& key_name)
    : name(key_name), enumerator(static_cast<Enumerator>(kVocabularySize<Enumerator>)) {}

M2DSliceVectorTypeInfo::Registry::Registry() : m_mutex(std::make_unique<std::mutex>()) {
  m_types.names = {
      "General",  "Border",       "BorderDown", "BorderUp",       "BorderAdditional",   "BorderAdditionalOutside",
      "Hatching", "HatchingDown", "HatchingUp", "HatchingBorder", "HatchingDownBorder", "HatchingUpBorder"};
  m_indices.names = {"IndexModel",
                     "IndexAssemblyItem",
                     "IndexBorder",
                     "IndexCore2D",
                     "IndexCore3D",
                     "IndexScanArea",
                     "IndexPattern",
                     "IndexArea",
                     "IndexProcessParameters",
                     "IndexPostProcessParameters",
                     "IndexScanPriority",
                     "IndexScanPass",
                     "IndexPrintHead"};
  m_flags.names = {"IsZeroVolume",   "IsSupport",     "IsDownFacing", "IsUpFacing",  "IsBlockedPath",
                   "IsInnerContour", "IsOnSubstrate", "IsGhostPath",  "IsRecoating", "IsAdditionalVolume"};
}

M2DSliceVectorTypeInfo::Registry::~Registry() {
  m_mutex.reset();
  auto const free_all = [](auto const& keys) {
    for (std::size_t i = 0; i < keys.size(); ++i) delete keys[i];
  };
  free_all(m_types.keys);
  free_all(m_indices.keys);
  free_all(m_flags.keys);
  free_all(m_numbers);
}

M2DSliceVectorTypeInfo::TypeKey const* M2DSliceVectorTypeInfo::Registry::GetTypeID(std::string const& name,
                                                                                   bool create) {
  std::lock_guard<std::mutex> const lock(*m_mutex);
  return _GetTypeID(name, create);
}

M2DSliceVectorTypeInfo::IndexKey const* M2DSliceVectorTypeInfo::Registry::GetIndexID(std::string const& name,
                                                                                     bool create) {
  std::lock_guard<std::mutex> const lock(*m_mutex);
  return _GetIndexID(name, create);
}

M2DSliceVectorTypeInfo::FlagKey const* M2DSliceVectorTypeInfo::Registry::GetFlagID(std::string const& name,
                                                                                   bool create) {
  std::lock_guard<std::mutex> const lock(*m_mutex);
  return _GetFlagID(name, create);
}

std::string const* M2DSliceVectorTypeInfo::Registry::GetNumberID(std::string const& name, bool create) {
  std::lock_guard<std::mutex> const lock(*m_mutex);
  auto const found = m_numbers_by_name.find(name);
  if (found != m_numbers_by_name.end()) return found->second;
  if (!create) return nullptr;

  auto key = std::make_unique<std::string>(name);
  m_numbers.ReserveOne();
  m_numbers_by_name.emplace(name, key.get());
  m_numbers.push_back(key.get());
  return key.release();
}

M2DSliceVectorTypeInfo::TypeKey const* M2DSliceVectorTypeInfo::Registry::GetTypeID(e2DSliceVectorType type,
                                                                                   bool create) {
  return _GetIDOf(m_types, type, create);
}

M2DSliceVectorTypeInfo::IndexKey const* M2DSliceVectorTypeInfo::Registry::GetIndexID(e2DSliceVectorTypeIndex index,
                                                                                     bool create) {
  return _GetIDOf(m_indices, index, create);
}

M2DSliceVectorTypeInfo::FlagKey const* M2DSliceVectorTypeInfo::Registry::GetFlagID(e2DSliceVectorTypeFlag flag,
                                                                                   bool create) {
  return _GetIDOf(m_flags, flag, create);
}

M2DSliceVectorTypeInfo::TypeKey const* M2DSliceVectorTypeInfo::Registry::_GetTypeID(std::string const& name,
                                                                                    bool create) {
  return _GetID(m_types, name, create);
}

M2DSliceVectorTypeInfo::IndexKey const* M2DSliceVectorTypeInfo::Registry::_GetIndexID(std::string const& name,
                                                                                      bool create) {
  return _GetID(m_indices, name, create);
}

M2DSliceVectorTypeInfo::FlagKey const* M2DSliceVectorTypeInfo::Registry::_GetFlagID(std::string const& name,
                                                                                    bool create) {
  return _GetID(m_flags, name, create);
}

template <class Enumerator, std::size_t Size>
M2DSliceVectorTypeInfo::Key<Enumerator> const* M2DSliceVectorTypeInfo::Registry::_GetID(
    Vocabulary<Enumerator, Size>& vocabulary, std::string const& name, bool create) {
  auto const found = vocabulary.by_name.find(name);
  if (found != vocabulary.by_name.end()) return found->second;
  if (!create) return nullptr;

  // Everything that can throw comes before the first step that a reader could see.
  auto key = std::make_unique<Key<Enumerator>>(name);
  auto const built_in = std::find(vocabulary.names.begin(), vocabulary.names.end(), name);
  if (built_in != vocabulary.names.end())
    key->enumerator = static_cast<Enumerator>(built_in - vocabulary.names.begin());
  vocabulary.keys.ReserveOne();
  vocabulary.by_name.emplace(name, key.get());

  vocabulary.keys.push_back(key.get());
  if (built_in != vocabulary.names.end()) {
    vocabulary.table[static_cast<std::size_t>(key->enumerator)].store(key.get(), std::memory_order_release);
  }
  return key.release();
}

template <class Enumerator, std::size_t Size>
M2DSliceVectorTypeInfo::Key<Enumerator> const* M2DSliceVectorTypeInfo::Registry::_GetIDOf(
    Vocabulary<Enumerator, Size>& vocabulary, Enumerator enumerator, bool create) {
  auto const position = static_cast<std::size_t>(enumerator);
  if (position >= Size) {
    if (!create) return nullptr;
    throw std::out_of_range("A run-time name cannot be set by its enumerator; set it by its name.");
  }
  if (auto const* const key = vocabulary.table[position].load(std::memory_order_acquire)) return key;
  std::lock_guard<std::mutex> const lock(*m_mutex);
  return _GetID(vocabulary, vocabulary.names[position], create);
}

M2DSliceVectorTypeInfo::M2DSliceVectorTypeInfo() : M2DSliceVectorTypeInfo(e2DSliceVectorType::General) {}

M2DSliceVectorTypeInfo::M2DSliceVectorTypeInfo(e2DSliceVectorType const& type)
    : m_registry(&GetRegistry()), m_type(m_registry->GetTypeID(type, true)) {}

M2DSliceVectorTypeInfo::M2DSliceVectorTypeInfo(M2DSliceVectorTypeInfo const& other) = default;
M2DSliceVectorTypeInfo& M2DSliceVectorTypeInfo::operator=(M2DSliceVectorTypeInfo const& other) = default;
M2DSliceVectorTypeInfo::~M2DSliceVectorTypeInfo() = default;

M2DSliceVectorTypeInfo::Registry& M2DSliceVectorTypeInfo::GetRegistry() {
  using Handler = RegistryLocalStaticThreadSafeHandler;
  static std::atomic<bool> is_created{false};
  if (!is_created.load(std::memory_order_acquire)) {
    // Made outside: an exception that passes through `call_once` ends the process if there is no memory to unwind it.
    std::unique_ptr<Registry, Handler::Deleter> made(new Registry);
    std::call_once(Handler::g_create, [&]() noexcept { Handler::gp_registry = std::move(made); });
    is_created.store(true, std::memory_order_release);
  }
  return *Handler::gp_registry;
}

M2DSliceVectorTypeInfo& M2DSliceVectorTypeInfo::operator=(e2DSliceVectorType const& type) {
  SetType(type);
  return *this;
}

void M2DSliceVectorTypeInfo::SetType(e2DSliceVectorType type) {
  m_type = m_registry->GetTypeID(type, true);
}
void M2DSliceVectorTypeInfo::SetType(char const* name) {
  m_type = m_registry->GetTypeID(name, true);
}

char const* M2DSliceVectorTypeInfo::GetTypeName() const {
  return m_type->name.c_str();
}

long M2DSliceVectorTypeInfo::GetIndex(e2DSliceVectorTypeIndex const& index) const {
  return Lookup(GetIndices(), m_registry->GetIndexID(index, false), kNoIndex);
}

long M2DSliceVectorTypeInfo::GetIndex(char const* name) const {
  return Lookup(GetIndices(), m_registry->GetIndexID(name, false), kNoIndex);
}

bool M2DSliceVectorTypeInfo::GetFlag(e2DSliceVectorTypeFlag const& flag) const {
  return Lookup(GetFlags(), m_registry->GetFlagID(flag, false), kNoFlag);
}

bool M2DSliceVectorTypeInfo::GetFlag(char const* name) const {
  return Lookup(GetFlags(), m_registry->GetFlagID(name, false), kNoFlag);
}

double M2DSliceVectorTypeInfo::GetNumber(char const* name) const {
  return Lookup(GetNumbers(), m_registry->GetNumberID(name, false), kNoNumber);
}

void M2DSliceVectorTypeInfo::SetIndex(e2DSliceVectorTypeIndex const& index, long value) {
  auto const* const key = m_registry->GetIndexID(index, true);
  _OwnEntries().indices[key] = value;
}

void M2DSliceVectorTypeInfo::SetIndex(char const* name, long value) {
  auto const* const key = m_registry->GetIndexID(name, true);
  _OwnEntries().indices[key] = value;
}

void M2DSliceVectorTypeInfo::SetFlag(e2DSliceVectorTypeFlag const& flag, bool value) {
  auto const* const key = m_registry->GetFlagID(flag, true);
  _OwnEntries().flags[key] = value;
}

void M2DSliceVectorTypeInfo::SetFlag(char const* name, bool value) {
  auto const* const key = m_registry->GetFlagID(name, true);
  _OwnEntries().flags[key] = value;
}

void M2DSliceVectorTypeInfo::SetNumber(char const* name, double value) {
  auto const* const key = m_registry->GetNumberID(name, true);
  _OwnEntries().numbers[key] = value;
}

bool M2DSliceVectorTypeInfo::operator==(M2DSliceVectorTypeInfo const& other) const {
  if (m_type != other.m_type) return false;
  if (m_entries == other.m_entries && GetNumbers().empty()) return true;
  return ReadTheSame(GetIndices(), other.GetIndices(), kNoIndex) &&
         ReadTheSame(GetFlags(), other.GetFlags(), kNoFlag) && ReadTheSame(GetNumbers(), other.GetNumbers(), kNoNumber);
}

bool M2DSliceVectorTypeInfo::operator<(M2DSliceVectorTypeInfo const& other) const {
  if (m_type != other.m_type) {
    if (m_type->enumerator != other.m_type->enumerator) return m_type->enumerator < other.m_type->enumerator;
    return m_type->name < other.m_type->name;
  }
  if (m_entries == other.m_entries) return false;
  if (int const order = CompareInKeyOrder(m_registry->GetFlags(), GetFlags(), other.GetFlags(), kNoFlag))
    return order < 0;
  if (int const order = CompareInKeyOrder(m_registry->GetIndices(), GetIndices(), other.GetIndices(), kNoIndex)) {
    return order < 0;
  }
  return CompareInKeyOrder(m_registry->GetNumbers(), GetNumbers(), other.GetNumbers(), kNoNumber) < 0;
}

void M2DSliceVectorTypeInfo::MergeWith(M2DSliceVectorTypeInfo const& other, bool merge_indices, bool merge_flags) {
  M2DSliceVectorTypeInfo const source(other);  // `other` may be this record, or share its entries
  if (source.m_type->enumerator != e2DSliceVectorType::General) m_type = source.m_type;
  if (merge_indices) {
    for (auto const& [key, value] : source.GetIndices()) {
      if (value != kNoIndex) _OwnEntries().indices[key] = value;
    }
  }
  if (merge_flags) {
    for (auto const& [key, value] : source.GetFlags()) {
      if (value) _OwnEntries().flags[key] = true;
    }
  }
  auto const& number_keys = m_registry->GetNumbers();
  for (std::size_t i = 0, count = number_keys.size(); i < count; ++i) {
    double const value = Lookup(source.GetNumbers(), number_keys[i], kNoNumber);
    if (value != 0.0) _OwnEntries().numbers[number_keys[i]] = value;
  }
}

bool M2DSliceVectorTypeInfo::HasAMX3DynamicInfo() const {
  Entries const& entries = _GetEntries();
  auto const last_is_beyond = [](auto const& map, auto limit) {
    return !map.empty() && map.rbegin()->first->enumerator > limit;
  };
  return m_type->enumerator > e2DSliceVectorType::HatchingUpBorder ||
         last_is_beyond(entries.indices, e2DSliceVectorTypeIndex::IndexPrintHead) ||
         last_is_beyond(entries.flags, e2DSliceVectorTypeFlag::IsGhostPath) || !entries.numbers.empty();
}

M2DSliceVectorTypeInfo::Entries const& M2DSliceVectorTypeInfo::_NoEntries() {
  static Entries const none;
  return none;
}

M2DSliceVectorTypeInfo::Entries& M2DSliceVectorTypeInfo::_OwnEntries() {
  if (m_entries == nullptr) {
    m_entries = new Entries;
  } else if (m_entries->use_count() > 1) {
    m_entries = new Entries(*m_entries);
  }
  return *m_entries;
}

template struct M2DSliceVectorTypeInfo::Key<e2DSliceVectorType>;
template struct M2DSliceVectorTypeInfo::Key<e2DSliceVectorTypeIndex>;
template struct M2DSliceVectorTypeInfo::Key<e2DSliceVectorTypeFlag>;
