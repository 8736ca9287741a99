#include <SliceData/type_operations/M2DSliceVectorTypes.h>

#include <array>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cstddef>
#include <map>
#include <variant>

namespace {

using Type = e2DSliceVectorType;
using Index = e2DSliceVectorTypeIndex;
using Flag = e2DSliceVectorTypeFlag;

constexpr std::size_t kNumTypes = M2DSliceVectorTypeInfo::Registry::kNumTypes;
constexpr std::size_t kNumCodes = 256;

struct TypeRow {
  char const* display_name;
  char const* short_name;
  unsigned short code;
};

/// By type.
constexpr TypeRow kTypes[kNumTypes] = {
    {"Other", "Other", 1},
    {"Slice Border", "SliceBorder", 1},
    {"Down-Skin Slice Border", "SliceBorderDown", 5},
    {"Up-Skin Slice Border", "SliceBorderUp", 3},
    {"Additional Border", "AdditionalBorder", 9},
    {"Additional Border Outside", "AdditionalBorderOutside", 9},
    {"Volume Hatch", "Hatching", 2},
    {"Down-Skin Hatch", "DownSkin", 6},
    {"Up-Skin Hatch", "UpSkin", 4},
    {"Fill Contour", "FillContour", 9},
    {"Down-Skin Hatch Border", "DownSkinBorder", 5},
    {"Up-Skin Hatch Border", "UpSkinBorder", 3},
};

/// By code; those that follow are `General`.
constexpr Type kTypesOfCodes[] = {
    Type::General,    Type::Border,           Type::Hatching,     Type::BorderUp,
    Type::HatchingUp, Type::BorderDown,       Type::HatchingDown, Type::BorderUp,
    Type::HatchingUp, Type::BorderAdditional, Type::HatchingDown, Type::HatchingDown,
};

struct Suffix {
  char const* word;
  std::variant<Flag, Index> entry;
};

/// In the order in which they are written.
constexpr Suffix kSuffixes[] = {
    {"Support", Flag::IsSupport},
    {"Up", Flag::IsUpFacing},
    {"Down", Flag::IsDownFacing},
    {"Core", Index::IndexCore3D},
    {"Multipass", Index::IndexScanPass},
    {"FirstLayer", Flag::IsOnSubstrate},
    {"Blocked Path", Flag::IsBlockedPath},
    {"Recoating", Flag::IsRecoating},
    {"AdditionalVolume", Flag::IsAdditionalVolume},
};

bool Has(M2DSliceVectorTypeInfo const& info, Flag flag) {
  return info.GetFlag(flag);
}
bool Has(M2DSliceVectorTypeInfo const& info, Index index) {
  return info.GetIndex(index) >= 0;
}

void Set(M2DSliceVectorTypeInfo& info, Flag flag) {
  info.SetFlag(flag, true);
}
void Set(M2DSliceVectorTypeInfo& info, Index index) {
  info.SetIndex(index, 0);
}

/// A run-time type has the number of built-in ones.
std::size_t PositionOf(M2DSliceVectorTypeInfo const& info) {
  return static_cast<std::size_t>(info.GetType().enumerator);
}

}  // namespace

class M2DSliceVectorTypes::M2DSliceVectorTypeConvertTableFiller {
 public:
  M2DSliceVectorTypeConvertTableFiller() {
    for (std::size_t i = 0; i < kNumTypes; ++i) {
      m_codes[i] = kTypes[i].code;
      m_display_names[i] = kTypes[i].display_name;
      m_short_names[i] = kTypes[i].short_name;
      for (std::string const& name : {m_display_names[i], m_short_names[i]}) {
        if (m_types_by_name.emplace(name, static_cast<Type>(i)).second) m_names.push_back(name);
      }
    }
    for (std::size_t code = 0; code < std::size(kTypesOfCodes); ++code) m_records[code] = kTypesOfCodes[code];
    for (Suffix const& suffix : kSuffixes) m_suffixes.emplace_back(suffix.word);
  }

  Type m_default_type = Type::General;  ///< of a text that begins with no known name
  std::array<unsigned short, kNumTypes> m_codes;
  std::array<M2DSliceVectorTypeInfo, kNumCodes> m_records;
  std::array<std::string, kNumTypes> m_display_names;
  std::array<std::string, kNumTypes> m_short_names;
  std::map<std::string, Type> m_types_by_name;
  std::vector<std::string> m_names;
  std::vector<std::string> m_suffixes;
};

M2DSliceVectorTypes::M2DSliceVectorTypeConvertTableFiller const& M2DSliceVectorTypes::GetInstance() {
  static M2DSliceVectorTypeConvertTableFiller const g_instance;
  return g_instance;
}

unsigned short M2DSliceVectorTypes::ConvertToSliType(M2DSliceVectorTypeInfo const& info) {
  std::size_t const type = PositionOf(info);
  return type < kNumTypes ? GetInstance().m_codes[type] : static_cast<unsigned short>(0);
}

unsigned short M2DSliceVectorTypes::ConvertToFSType(M2DSliceVectorTypeInfo const& info) {
  return ConvertToSliType(info);
}

M2DSliceVectorTypeInfo const& M2DSliceVectorTypes::ConvertFromSliType(unsigned short code) {
  return GetInstance().m_records[code < kNumCodes ? code : 0];
}

M2DSliceVectorTypeInfo const& M2DSliceVectorTypes::ConvertFromFSType(unsigned short code) {
  return ConvertFromSliType(code);
}

std::string M2DSliceVectorTypes::ConvertToString(M2DSliceVectorTypeInfo const& info) {
  std::size_t const type = PositionOf(info);
  std::string text = type < kNumTypes ? GetInstance().m_display_names[type] : info.GetTypeName();
  for (Suffix const& suffix : kSuffixes) {
    if (std::visit([&](auto entry) { return Has(info, entry); }, suffix.entry)) (text += '|') += suffix.word;
  }
  return text;
}

M2DSliceVectorTypeInfo M2DSliceVectorTypes::ConvertToTypeInfo(std::string const& text) {
  auto const& table = GetInstance();
  M2DSliceVectorTypeInfo info(table.m_default_type);
  std::vector<std::string> tokens;
  boost::algorithm::split(tokens, text, boost::algorithm::is_any_of("|"));
  auto const type = table.m_types_by_name.find(tokens.front());
  if (type != table.m_types_by_name.end()) info = type->second;
  for (auto token = tokens.begin() + 1; token != tokens.end(); ++token) {
    for (Suffix const& suffix : kSuffixes) {
      if (*token == suffix.word) std::visit([&](auto entry) { Set(info, entry); }, suffix.entry);
    }
  }
  return info;
}

std::vector<std::string> const& M2DSliceVectorTypes::GetNames() {
  return GetInstance().m_names;
}

std::vector<std::string> const& M2DSliceVectorTypes::GetSuffixes() {
  return GetInstance().m_suffixes;
}
