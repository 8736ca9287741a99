#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_model/M2DSliceZArea.h>

#include <string>

/// The Z area of a slice in a document: "Z" and "TypeInfo". Bottom, top and effective z are computed when both are
/// read.
class VELSDK_EXPORT MSax2DSliceZArea final : public ISAXPersistHelper {
 public:
  /// `area` outlives this.
  explicit MSax2DSliceZArea(M2DSliceZArea* area);
  ~MSax2DSliceZArea() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  void HandleEndTag(std::string const& tag) override;
  bool Write(MSAXWriter& writer) const override;

 private:
  M2DSliceZArea* m_area;
};
