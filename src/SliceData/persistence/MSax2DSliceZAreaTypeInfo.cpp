#include <SliceData/persistence/MSax2DSliceZAreaTypeInfo.h>
#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/sax/MSAXReader.h>

namespace {

template <class Type>
struct Text {
  Type type;
  char const* text;
};

// The custom types have none.
constexpr Text<e2DSliceZAreaType> kTypes[] = {{e2DSliceZAreaType::Below, "Below"},
                                              {e2DSliceZAreaType::Symmetric, "Symmetric"},
                                              {e2DSliceZAreaType::Above, "Above"}};
constexpr Text<e2DSliceZAreaEffectiveType> kEffectiveTypes[] = {{e2DSliceZAreaEffectiveType::Top, "Top"},
                                                                {e2DSliceZAreaEffectiveType::Middle, "Middle"},
                                                                {e2DSliceZAreaEffectiveType::Bottom, "Bottom"}};

template <class Texts, class Type>
bool Find(Texts const& texts, std::string const& text, Type& type) {
  for (auto const& known : texts) {
    if (text != known.text) continue;
    type = known.type;
    return true;
  }
  return false;
}

template <class Texts, class Type>
void WriteType(MSAXWriter& writer, char const* tag, Texts const& texts, Type type) {
  for (auto const& known : texts) {
    if (known.type == type) MSaxTagWithValue::Write(writer, tag, known.text);
  }
}

/// An unknown text is no reason to refuse the tag.
template <class Type>
void ReadType(MSAXReader& reader, Type& type) {
  std::string text;
  if (reader.ReadString(text)) MSax2DSliceZAreaTypeInfo::FromText(text, type);
}

}  // namespace

MSax2DSliceZAreaTypeInfo::MSax2DSliceZAreaTypeInfo(M2DSliceZAreaTypeInfo* info) : m_info(info) {}
MSax2DSliceZAreaTypeInfo::~MSax2DSliceZAreaTypeInfo() = default;

bool MSax2DSliceZAreaTypeInfo::FromText(std::string const& text, e2DSliceZAreaType& type) {
  return Find(kTypes, text, type);
}
bool MSax2DSliceZAreaTypeInfo::FromText(std::string const& text, e2DSliceZAreaEffectiveType& type) {
  return Find(kEffectiveTypes, text, type);
}

bool MSax2DSliceZAreaTypeInfo::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "Thickness") return reader.ReadValue(m_info->thickness);
  if (tag == "Type") {
    ReadType(reader, m_info->type);
    return true;
  }
  if (tag == "TypeEffective") {
    ReadType(reader, m_info->effectiveType);
    return true;
  }
  return false;
}

bool MSax2DSliceZAreaTypeInfo::Write(MSAXWriter& writer) const {
  MSaxTagWithValue::Write(writer, "Thickness", m_info->thickness);
  WriteType(writer, "Type", kTypes, m_info->type);
  WriteType(writer, "TypeEffective", kEffectiveTypes, m_info->effectiveType);
  return true;
}
