#pragma once

#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <string>
#include <vector>

namespace Tool {

/// What a user says of a type record: a type and any number of properties, such as "Slice Border|Support".
class TypePattern {
 public:
  /// Takes the names that people read ("Volume Hatch", "Hatching") and those that 'info' prints ("HatchingUp"), with
  /// suffixes. Throws `Trouble` that lists the known ones and tells the nearest.
  explicit TypePattern(std::string const& text);

  /// True for a record of this type that has all of the properties, whatever else it has.
  bool Matches(M2DSliceVectorTypeInfo const& info) const;
  /// Gives a record the type and the properties. What else it has stays.
  void ApplyTo(M2DSliceVectorTypeInfo& info) const;
  std::string GetText() const;

 private:
  M2DSliceVectorTypeInfo m_info;
};

/// The properties that suffixes of the readable names stand for, such as "Support,Core", as a record of no type. Throws
/// `Trouble` that lists the known ones and tells the nearest.
M2DSliceVectorTypeInfo ParseTypeSuffixes(std::string const& list);

/// Gives a record the indices and flags of another one. What else it has stays, and so does an index that it has.
void ApplyProperties(M2DSliceVectorTypeInfo const& properties, M2DSliceVectorTypeInfo& info);

/// Patterns with commas between them.
std::vector<TypePattern> ParseTypePatterns(std::string const& list);

/// A built-in name of a flag or an index. Throw `Trouble` that lists the known ones and tells the nearest.
e2DSliceVectorTypeFlag ParseFlagName(std::string const& name);
e2DSliceVectorTypeIndex ParseIndexName(std::string const& name);

}  // namespace Tool
