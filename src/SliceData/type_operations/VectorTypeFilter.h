#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <array>
#include <set>

namespace M2DSliceUtilities {

/// Decides on elements by their type records. Never deleted through this class.
class VELSDK_EXPORT IVectorTypeFilterObject {
 public:
  virtual bool Matches(M2DSliceVectorTypeInfo const& info) const = 0;

 protected:
  ~IVectorTypeFilterObject() = default;
};

/// A list of types, index values and flags, read in one of two ways.
///
/// Made with false it tells what is allowed: a record matches if its type, one of its index values or one of its flags
/// is enabled. Made with true it tells what is excluded: a record matches unless its type or one of its index values is
/// disabled; and a flag that is disabled must be set, which mirrors the other way and is relied upon.
///
/// Enumerators outside the built-in vocabulary change nothing; records of run-time types are judged as if their type
/// had never been mentioned, and run-time indices and flags are not looked at.
class VELSDK_EXPORT VectorTypeFilterObjectGeneric : public IVectorTypeFilterObject {
 public:
  /// Matches every record if `default_value`, otherwise none, until something is enabled or disabled.
  explicit VectorTypeFilterObjectGeneric(bool default_value);

  bool Matches(M2DSliceVectorTypeInfo const& info) const override;

  /// Forgets everything and begins anew with this default.
  void Reset(bool default_value);

  void EnableType(e2DSliceVectorType const& type);
  void DisableType(e2DSliceVectorType const& type);

  /// Tell a value of an index. A negative one does nothing. Larger values of the same index that were told before are
  /// forgotten, so that a caller names values in ascending order.
  void EnableIndex(e2DSliceVectorTypeIndex const& index, long value);
  void DisableIndex(e2DSliceVectorTypeIndex const& index, long value);

  void EnableFlag(e2DSliceVectorTypeFlag const& flag);
  void DisableFlag(e2DSliceVectorTypeFlag const& flag);

 private:
  using Registry = M2DSliceVectorTypeInfo::Registry;

  void _SetIndex(e2DSliceVectorTypeIndex index, long value, bool enabled);

  bool m_default;
  std::array<bool, Registry::kNumTypes> m_types;
  std::array<std::set<long>, Registry::kNumIndices> m_indices;  ///< by index, the values that differ from the default
  std::array<bool, Registry::kNumFlags> m_flags;
};

}  // namespace M2DSliceUtilities
