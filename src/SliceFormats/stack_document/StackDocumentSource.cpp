#include <SliceData/persistence/MSax2DSliceZArea.h>
#include <SliceData/persistence/MSax2DSliceZAreaTypeInfo.h>
#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/platform/sax/MDocumentText.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceFormats/stack_document/OpenStackDocument.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace SliceFormats {

namespace {

/// A "Slice" as the contents tell of it.
struct Record {
  long z;
  long thickness;
  std::uint32_t part;
  std::uint32_t ordinal;
  std::uint32_t offset;
  std::uint8_t type;
  std::uint8_t effective_type;

  M2DSliceZArea GetZArea() const {
    M2DSliceZArea area(z);
    area.SetTypeInfo(
        {static_cast<e2DSliceZAreaType>(type), static_cast<e2DSliceZAreaEffectiveType>(effective_type), thickness});
    return area;
  }
};

/// Where in a document a child of its root is.
struct Place {
  unsigned long part;
  unsigned long ordinal;
};

bool ReadNumber(MDocument::Child const& child, char const* leaf, long& number) {
  std::string const* const text = child.FindLeaf(leaf);
  if (text == nullptr) return false;
  MStreamTextIn in(*text);
  in >> number;
  return true;
}

/// Reads a slice into one that stands alone, and makes sure that it is the one that was looked for.
class SliceElement final : public ISAXPersistHelper {
 public:
  SliceElement(M2DSlice& slice, long z) : m_element(&slice, nullptr), m_z(z) {}

  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    if (tag == "Height" && reader.GetEnclosingTag(1) == "Slice") {
      long z = 0;
      m_is_right = reader.ReadValue(z) && z == m_z;
    }
    return m_element.HandleTag(tag, reader);
  }
  void InitAfterLoading() override { m_element.ReadingFinished(); }

  bool IsRight() const { return m_is_right; }

 private:
  MSaxM2DSlice m_element;
  long m_z;
  bool m_is_right = false;
};

/// Reads where a slice is, and nothing else of it.
class HeadElement final : public ISAXPersistHelper {
 public:
  bool HandleTag(std::string const& tag, MSAXReader& reader) override {
    if (tag == "Height") return m_has_height = reader.ReadValue(m_height);
    if (tag != "AreaZ") return false;
    reader.ReadOwnedSubObject(new MSax2DSliceZArea(&m_area));
    return true;
  }

  bool HasHeight() const { return m_has_height; }
  long GetHeight() const { return m_height; }
  M2DSliceZAreaTypeInfo const& GetRange() const { return m_area.GetTypeInfo(); }

 private:
  M2DSliceZArea m_area;
  long m_height = 0;
  bool m_has_height = false;
};

}  // namespace

class StackDocumentSource::Reading {
 public:
  Reading(std::string const& path, FormatReport* report)
      : m_document(OpenStackDocument(path)), m_reader(MakeStackReader(m_document)), m_report(report) {
    m_document->VisitChildren([&](MDocument::Child const& child) { _Take(child); });
    m_records.shrink_to_fit();
    auto const is_below = [](Record const& a, Record const& b) { return a.z < b.z; };
    if (!std::is_sorted(m_records.begin(), m_records.end(), is_below)) {
      throw MDocumentError(path, "its slices do not stand in ascending z; read it into a stack and save that");
    }
    for (std::size_t i = 0; i < m_records.size(); ++i) {
      if (i == 0 || m_records[i].z != m_records[i - 1].z) m_slices.push_back(static_cast<std::uint32_t>(i));
    }
    m_slices.shrink_to_fit();
  }

  unsigned long GetNumSlices() const { return m_slices.size(); }

  long GetZ(unsigned long slice) const { return m_records[m_slices[slice]].z; }
  M2DSliceZArea GetZArea(unsigned long slice) const { return m_records[_GetEnd(slice) - 1].GetZArea(); }

  void Read(M2DSlice& slice, unsigned long index) {
    for (std::size_t i = m_slices[index]; i != _GetEnd(index); ++i) {
      Record const& record = m_records[i];
      SliceElement element(slice, record.z);
      m_reader->ReadChild(record.part, record.ordinal, element);
      if (!element.IsRight() || slice.GetZArea().GetZ() != record.z) {
        m_document->FailInTree(
            record.part, record.offset,
            "there is no slice at the height " + std::to_string(record.z) + ", as the contents tell");
      }
    }
  }

  PersistentProperties const& GetProperties() {
    if (!m_properties) {
      PersistentProperties properties;
      if (m_place_of_properties) {
        // By a reader of its own: that of the slices keeps its part.
        auto const reader = MakeStackReader(m_document);
        PersistentPropertiesSax element(&properties, false);
        reader->ReadChild(m_place_of_properties->part, m_place_of_properties->ordinal, element);
        NoteWarnings(*reader, m_report);
      }
      m_properties = std::move(properties);
    }
    return *m_properties;
  }

  M2DSliceXYArea const& GetXYArea() {
    if (!m_area) {
      M2DSliceXYArea area;
      for (unsigned long i = 0; i < m_slices.size(); ++i) {
        M2DSlice slice(GetZ(i));
        Read(slice, i);
        area.Extend(slice.GetXYArea());
      }
      m_area = area;
    }
    return *m_area;
  }

  /// Warnings count what was skipped: they count anew from here.
  void StartRun() { m_reader = MakeStackReader(m_document); }
  void StopRun() { NoteWarnings(*m_reader, m_report); }

 private:
  std::size_t _GetEnd(unsigned long slice) const {
    return slice + 1 < m_slices.size() ? m_slices[slice + 1] : m_records.size();
  }

  void _Take(MDocument::Child const& child) {
    if (child.tag == "Slice") {
      _TakeSlice(child);
    } else if (child.tag == "Properties") {
      m_place_of_properties = Place{child.part, child.ordinal};
    } else if (child.tag != "Label" && child.tag != "NumSlices" && m_report != nullptr) {
      m_report->Note("the tag '" + MDocumentText::ForMessage(child.tag) + "' was not understood and left out");
    }
  }

  void _TakeSlice(MDocument::Child const& child) {
    long z = 0;
    M2DSliceZAreaTypeInfo range;
    if (!ReadNumber(child, "Height", z) || !ReadNumber(child, "Thickness", range.thickness)) {
      // The contents tell a few of its tags. Where others come first, the slice itself has to be asked.
      HeadElement head;
      m_reader->ReadChild(child.part, child.ordinal, head);
      if (!head.HasHeight()) {
        if (m_report != nullptr) m_report->Note("slices without a height were left out");
        return;
      }
      z = head.GetHeight();
      range = head.GetRange();
    }
    std::string const* const type = child.FindLeaf("Type");
    std::string const* const effective_type = child.FindLeaf("TypeEffective");
    if (type != nullptr) MSax2DSliceZAreaTypeInfo::FromText(*type, range.type);
    if (effective_type != nullptr) MSax2DSliceZAreaTypeInfo::FromText(*effective_type, range.effectiveType);
    m_records.push_back({z, range.thickness, static_cast<std::uint32_t>(child.part),
                         static_cast<std::uint32_t>(child.ordinal), static_cast<std::uint32_t>(child.offset),
                         static_cast<std::uint8_t>(range.type), static_cast<std::uint8_t>(range.effectiveType)});
  }

  std::shared_ptr<MDocument const> m_document;
  std::unique_ptr<MDocumentReader> m_reader;
  FormatReport* m_report;
  std::vector<Record> m_records;        ///< by z, those of equal z as they stand in the document
  std::vector<std::uint32_t> m_slices;  ///< the first record of each
  std::optional<Place> m_place_of_properties;
  std::optional<PersistentProperties> m_properties;
  std::optional<M2DSliceXYArea> m_area;
};

StackDocumentSource::StackDocumentSource(std::string const& path, FormatReport* report)
    : m_reading(std::make_unique<Reading>(path, report)) {}

StackDocumentSource::~StackDocumentSource() = default;

long StackDocumentSource::_OnGetSliceThickness() const {
  long const* const thickness = m_reading->GetProperties().GetValue<long>("SliceThickness");
  return thickness != nullptr ? *thickness : 0;
}
PersistentProperties const& StackDocumentSource::_OnGetProperties() const {
  return m_reading->GetProperties();
}
M2DSliceXYArea StackDocumentSource::_OnGetXYArea() const {
  return m_reading->GetXYArea();
}

unsigned long StackDocumentSource::_OnStartGettingSlices() const {
  m_reading->StartRun();
  return m_reading->GetNumSlices();
}
unsigned long StackDocumentSource::_OnGetNumSlices() const {
  return m_reading->GetNumSlices();
}
M2DSliceZArea StackDocumentSource::_OnGetSliceZArea(unsigned long index) const {
  return m_reading->GetZArea(index);
}

void StackDocumentSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  // Built apart, so that broken data leave the caller's slice as it is.
  M2DSlice built(m_reading->GetZ(index));
  m_reading->Read(built, index);
  slice.CopyFrom(built, true);
}

void StackDocumentSource::_OnStopGettingSlices() const {
  m_reading->StopRun();
}

}  // namespace SliceFormats
