#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/platform/sax/MSAXWriter.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <algorithm>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>

namespace {

/// The compact form knows only these flags; the later ones came with the extended form.
constexpr std::size_t kNumCompactFlags = 8;

template <class T>
std::string ToText(T value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());  // a host's own locale must not reach its documents
  stream << value;
  return stream.str();
}

/// What the text says, or what the stream makes of a text that says nothing.
template <class T>
T FromText(std::string const& text) {
  T value{};
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  stream >> value;
  return value;
}

/// The position of a name among the first `count` names, or `count`.
template <class Names>
std::size_t FindName(Names const& names, std::size_t count, std::string const& name) {
  return static_cast<std::size_t>(std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count), name) -
                                  names.begin());
}

}  // namespace

bool M2DSliceVectorTypeInfo::Write(MSAXWriter& writer) const {
  if (!writer.WriteTextTag("VectorType", m_type->name)) return false;

  if (!HasAMX3DynamicInfo()) {
    // Built-in entries come in the order of their enumerators.
    for (auto const& [key, value] : GetIndices()) {
      if (value != -1) MSaxTagWithValue::Write(writer, key->name.c_str(), value);
    }
    for (auto const& [key, value] : GetFlags()) {
      if (value) MSaxTagWithValue::Write(writer, key->name.c_str(), true);
    }
    return true;
  }

  if (!GetIndices().empty()) {
    MSAXTagWriter const tag(writer, "Indices");
    for (auto const& [key, value] : GetIndices()) writer.WriteTextAttribute(key->name.c_str(), ToText(value));
  }
  if (!GetFlags().empty()) {
    MSAXTagWriter const tag(writer, "Flags");
    for (auto const& [key, value] : GetFlags()) {
      if (value) {
        writer.WriteAttribute(key->name.c_str(), "1");
      } else {
        writer.WriteAttribute(key->name.c_str(), "0");
      }
    }
  }
  if (!GetNumbers().empty()) {
    MSAXTagWriter const tag(writer, "Numbers");
    for (auto const& [name, value] : GetNumbers()) writer.WriteTextAttribute(name->c_str(), ToText(value));
  }
  return true;
}

bool M2DSliceVectorTypeInfo::HandleTag(std::string const& tag, MSAXReader& reader) {
  std::string_view const name = tag;
  if (name == "VectorType") {
    std::string type;
    if (reader.ReadString(type)) SetType(type.c_str());
    return false;  // also when the type has been taken: readers of this tag expect it
  }
  if (name == "Indices") {
    for (auto const& [key, text] : reader.GetAttributes()) SetIndex(key.c_str(), FromText<long>(text));
    return true;
  }
  if (name == "Flags") {
    for (auto const& [key, text] : reader.GetAttributes()) SetFlag(key.c_str(), text == "1");
    return true;
  }
  if (name == "Numbers") {
    for (auto const& [key, text] : reader.GetAttributes()) SetNumber(key.c_str(), FromText<double>(text));
    return true;
  }
  if (auto const i = FindName(m_registry->GetIndexNames(), Registry::kNumIndices, tag); i != Registry::kNumIndices) {
    long value = 0;
    reader.ReadValue(value);
    SetIndex(static_cast<e2DSliceVectorTypeIndex>(i), value);
    return true;
  }
  if (auto const i = FindName(m_registry->GetFlagNames(), kNumCompactFlags, tag); i != kNumCompactFlags) {
    bool value = false;
    bool const has_value = reader.ReadValue(value);
    SetFlag(static_cast<e2DSliceVectorTypeFlag>(i), value);
    return has_value;
  }
  return false;
}
