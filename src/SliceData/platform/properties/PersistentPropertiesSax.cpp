#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/properties/PersistentPropertyOfOtherType.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/platform/sax/MSAXWriter.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace {

bool WriteAll(PersistentProperties const& properties, MSAXWriter& writer);

// The value of a property as a tag.

template <class T>
bool WriteValueTag(T const& value, MSAXWriter& writer) {
  MSAXTagWriter const tag(writer, "Value");
  return writer.WriteValue(value);
}

bool WriteValueTag(std::string const& value, MSAXWriter& writer) {
  return writer.WriteTextTag("Value", value);
}

bool WriteValueTag(PersistentProperties const& value, MSAXWriter& writer) {
  MSAXTagWriter const tag(writer, "Value");
  return WriteAll(value, writer);
}

// False if the text of the tag is no value of the type.

template <class T>
bool ReadValueTag(T& value, MSAXReader& reader) {
  MStreamTextIn in(reader.GetTagText());
  in >> value;
  return in.IsUsedUp();
}

bool ReadValueTag(std::string& value, MSAXReader& reader) {
  return reader.ReadString(value);
}

bool ReadValueTag(PersistentProperties& value, MSAXReader& reader) {
  reader.ReadOwnedSubObject(new PersistentPropertiesSax(&value, true));
  return true;
}

/// What is done with the properties of one type.
struct PropertyType {
  char const* name;
  bool (*holds)(PersistentPropertyBase const& property);
  bool (*write_value)(PersistentPropertyBase const& property, MSAXWriter& writer);
  /// Adds a property with the value of the current tag, or with the default value if there is no reader. False if the
  /// tag has no value of this type.
  bool (*add)(PersistentProperties& properties, std::string const& name, MSAXReader* reader);
};

template <class T>
constexpr PropertyType MakeType(char const* type_name) {
  return {type_name,
          [](PersistentPropertyBase const& property) {
            return dynamic_cast<PersistentProperty<T> const*>(&property) != nullptr;
          },
          [](PersistentPropertyBase const& property, MSAXWriter& writer) {
            return WriteValueTag(static_cast<PersistentProperty<T> const&>(property).GetValue(), writer);
          },
          [](PersistentProperties& properties, std::string const& name, MSAXReader* reader) {
            auto property = std::make_unique<PersistentProperty<T>>(name);
            if (reader != nullptr && !ReadValueTag(property->GetValue(), *reader)) return false;
            properties.AddProperty(std::move(property));
            return true;
          }};
}

constexpr PropertyType kTypes[] = {
    MakeType<bool>("bool"),
    MakeType<long>("long"),
    MakeType<unsigned long>("unsigned long"),
    MakeType<double>("double"),
    MakeType<std::string>("string"),
    MakeType<MMTransformMatrix>("matrix"),
    MakeType<PersistentProperties>("properties"),
};

/// Null if no type is such.
template <class Predicate>
PropertyType const* FindType(Predicate const& is_wanted) {
  auto const* const found = std::find_if(std::begin(kTypes), std::end(kTypes), is_wanted);
  return found != std::end(kTypes) ? found : nullptr;
}

bool Write(PersistentPropertyBase const& property, MSAXWriter& writer) {
  auto const* const other = dynamic_cast<PersistentPropertyOfOtherType const*>(&property);
  auto const* const type = FindType([&](PropertyType const& candidate) { return candidate.holds(property); });
  if (other == nullptr && type == nullptr) {
    throw std::logic_error("the property '" + property.GetName() +
                           "' has a type that documents do not hold; give it another one or delete it");
  }
  MSAXTagWriter const tag(writer, "Property");
  if (!writer.WriteTextTag("Name", property.GetName())) return false;
  if (other != nullptr) {
    return writer.WriteTextTag("Type", other->GetType()) && writer.WriteTextTag("Value", other->GetText());
  }
  return writer.WriteTextTag("Type", type->name) && type->write_value(property, writer);
}

bool WriteAll(PersistentProperties const& properties, MSAXWriter& writer) {
  for (auto const& property : properties.GetAll()) {
    if (!property->IsDeleted() && !Write(*property, writer)) return false;
  }
  return true;
}

/// One "Property" that is being read.
class PropertyElement final : public ISAXPersistHelper {
 public:
  explicit PropertyElement(PersistentProperties& properties) : m_properties(properties) {}

  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    if (m_is_done) return false;
    if (tag == "Name") return _Take(m_name, reader);
    if (tag == "Type") return _Take(m_type, reader);
    return tag == "Value" && _Add(&reader);
  }

  void InitAfterLoading() override {
    if (!m_is_done) _Add(nullptr);
  }

 private:
  static bool _Take(std::optional<std::string>& text, MSAXReader const& reader) {
    if (text) return false;
    text = reader.GetTagText();
    return true;
  }

  bool _Add(MSAXReader* reader) {
    m_is_done = true;
    std::string const name = m_name.value_or("");
    std::string const type_name = m_type.value_or("");
    auto const* const type = FindType([&](PropertyType const& candidate) { return candidate.name == type_name; });
    if (type != nullptr) return type->add(m_properties, name, reader);
    std::string text;
    if (reader != nullptr && !reader->ReadString(text)) return false;
    m_properties.AddProperty(std::make_unique<PersistentPropertyOfOtherType>(name, type_name, text));
    return true;
  }

  PersistentProperties& m_properties;
  std::optional<std::string> m_name;
  std::optional<std::string> m_type;
  bool m_is_done = false;
};

}  // namespace

PersistentPropertiesSax::PersistentPropertiesSax(PersistentProperties* properties, bool keep_others)
    : m_properties(properties), m_keep_others(keep_others) {}

PersistentPropertiesSax::~PersistentPropertiesSax() = default;

void PersistentPropertiesSax::SetDefaults() {
  if (!m_keep_others) *m_properties = PersistentProperties();
}

bool PersistentPropertiesSax::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag != "Property") return false;
  reader.ReadOwnedSubObject(new PropertyElement(*m_properties));
  return true;
}

bool PersistentPropertiesSax::Write(MSAXWriter& writer) const {
  return WriteAll(*m_properties, writer);
}
