#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

#include <string>

/// Reads and writes properties as an element: one tag "Property" for each, with "Name", "Type" and "Value".
///
/// Types are "bool", "long", "unsigned long", "double", "string", "matrix" and "properties", whose value holds
/// properties in turn. Deleted ones are not written. A property of any other type keeps its text, and is written back
/// as it was read, in its place.
///
/// A name or type that is missing is empty, and a missing value is the default of the type. Refused are a value whose
/// text is none of its type (there is no property then), a name, type or value that comes a second time, and a name or
/// type behind the value.
class VELSDK_EXPORT PersistentPropertiesSax final : public ISAXPersistHelper {
 public:
  /// \param properties   outlives this
  /// \param keep_others  reading adds to what is there; with false it replaces that
  PersistentPropertiesSax(PersistentProperties* properties, bool keep_others);
  ~PersistentPropertiesSax() override;

  void SetDefaults() override;
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  bool Write(MSAXWriter& writer) const override;

 private:
  PersistentProperties* m_properties;
  bool m_keep_others;
};
