#include "TypePattern.h"

#include <SliceData/type_operations/M2DSliceVectorTypes.h>

#include <algorithm>

#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

/// The position of a name among the known ones.
template <class Names>
std::size_t Find(Names const& names, std::string const& name, std::string const& kind) {
  auto const found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return static_cast<std::size_t>(found - names.begin());
  std::vector<std::string> const known(names.begin(), names.end());
  std::string const nearest = Nearest(name, known);
  throw Trouble("", "there is no " + kind + " '" + name + "'",
                (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") + "known are " + Join(known, ", "));
}

std::vector<std::string> GetTypeNames() {
  std::vector<std::string> names = M2DSliceVectorTypes::GetNames();
  for (std::string const& name : M2DSliceVectorTypeInfo::GetRegistry().GetTypeNames()) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  return names;
}

void CheckSuffix(std::string const& name) {
  Find(M2DSliceVectorTypes::GetSuffixes(), name, "suffix");
}

M2DSliceVectorTypeInfo ParseTypeInfo(std::string const& text) {
  auto tokens = Split(text, '|');
  for (std::string& token : tokens) token = TrimBlanks(token);
  Find(GetTypeNames(), tokens.front(), "type");
  std::for_each(tokens.begin() + 1, tokens.end(), CheckSuffix);
  M2DSliceVectorTypeInfo info = M2DSliceVectorTypes::ConvertToTypeInfo(Join(tokens, "|"));
  // The name of a record is its own text.
  auto const& record_names = M2DSliceVectorTypeInfo::GetRegistry().GetTypeNames();
  if (std::find(record_names.begin(), record_names.end(), tokens.front()) != record_names.end()) {
    info.SetType(tokens.front().c_str());
  }
  return info;
}

}  // namespace

TypePattern::TypePattern(std::string const& text) : m_info(ParseTypeInfo(text)) {}

bool TypePattern::Matches(M2DSliceVectorTypeInfo const& info) const {
  auto const& indices = m_info.GetIndices();
  auto const& flags = m_info.GetFlags();
  return &info.GetType() == &m_info.GetType() && std::all_of(indices.begin(), indices.end(), [&](auto const& entry) {
    return info.GetIndex(entry.first->enumerator) >= 0;
  }) && std::all_of(flags.begin(), flags.end(), [&](auto const& entry) {
    return info.GetFlag(entry.first->enumerator);
  });
}

void TypePattern::ApplyTo(M2DSliceVectorTypeInfo& info) const {
  info.SetType(m_info.GetType().enumerator);
  ApplyProperties(m_info, info);
}

std::string TypePattern::GetText() const {
  return M2DSliceVectorTypes::ConvertToString(m_info);
}

M2DSliceVectorTypeInfo ParseTypeSuffixes(std::string const& list) {
  std::string text;
  for (std::string const& word : Split(list, ',')) {
    std::string const name = TrimBlanks(word);
    CheckSuffix(name);
    text += '|' + name;
  }
  return M2DSliceVectorTypes::ConvertToTypeInfo(text);
}

void ApplyProperties(M2DSliceVectorTypeInfo const& properties, M2DSliceVectorTypeInfo& info) {
  for (auto const& [key, value] : properties.GetIndices()) {
    if (info.GetIndex(key->enumerator) < 0) info.SetIndex(key->enumerator, value);
  }
  for (auto const& [key, value] : properties.GetFlags()) info.SetFlag(key->enumerator, value);
}

std::vector<TypePattern> ParseTypePatterns(std::string const& list) {
  std::vector<TypePattern> patterns;
  for (std::string const& text : Split(list, ',')) patterns.emplace_back(text);
  return patterns;
}

e2DSliceVectorTypeFlag ParseFlagName(std::string const& name) {
  return static_cast<e2DSliceVectorTypeFlag>(Find(M2DSliceVectorTypeInfo::GetRegistry().GetFlagNames(), name, "flag"));
}

e2DSliceVectorTypeIndex ParseIndexName(std::string const& name) {
  return static_cast<e2DSliceVectorTypeIndex>(
      Find(M2DSliceVectorTypeInfo::GetRegistry().GetIndexNames(), name, "index"));
}

}  // namespace Tool
