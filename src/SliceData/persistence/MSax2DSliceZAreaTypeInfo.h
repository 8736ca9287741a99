#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_model/M2DSliceZAreaTypeInfo.h>

#include <string>

/// The recipe of a Z area in a document: "Thickness", "Type" and "TypeEffective".
///
/// A custom type has no text: its tag is left out, and reading leaves what the record held.
class VELSDK_EXPORT MSax2DSliceZAreaTypeInfo final : public ISAXPersistHelper {
 public:
  /// `info` outlives this.
  explicit MSax2DSliceZAreaTypeInfo(M2DSliceZAreaTypeInfo* info);
  ~MSax2DSliceZAreaTypeInfo() override;

  /// What a text of a document means. False, with the value left, for one that it does not know.
  static bool FromText(std::string const& text, e2DSliceZAreaType& type);
  static bool FromText(std::string const& text, e2DSliceZAreaEffectiveType& type);

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  bool Write(MSAXWriter& writer) const override;

 private:
  M2DSliceZAreaTypeInfo* m_info;
};
