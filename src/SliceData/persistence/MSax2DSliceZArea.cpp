#include <SliceData/persistence/MSax2DSliceZArea.h>
#include <SliceData/persistence/MSax2DSliceZAreaTypeInfo.h>
#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/sax/MSAXReader.h>

MSax2DSliceZArea::MSax2DSliceZArea(M2DSliceZArea* area) : m_area(area) {}
MSax2DSliceZArea::~MSax2DSliceZArea() = default;

bool MSax2DSliceZArea::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "Z") return reader.ReadValue(m_area->m_z);
  if (tag == "TypeInfo") {
    reader.ReadOwnedSubObject(new MSax2DSliceZAreaTypeInfo(&m_area->m_type_info));
    return true;
  }
  return false;
}

void MSax2DSliceZArea::HandleEndTag(std::string const& tag) {
  if (tag == "TypeInfo") m_area->SetZ(m_area->GetZ());
}

bool MSax2DSliceZArea::Write(MSAXWriter& writer) const {
  MSaxTagWithValue::Write(writer, "Z", m_area->GetZ());
  MSAXTagWriter const tag(writer, "TypeInfo");
  return MSax2DSliceZAreaTypeInfo(&m_area->m_type_info).Write(writer);
}
