#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/platform/properties/PersistentPropertiesSax.h>
#include <SliceData/platform/sax/MDocumentWriter.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceFormats/stack_document/StackDocument.h>
#include <SliceFormats/stack_document/StackDocumentTarget.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace SliceFormats {

namespace {

/// True if the six digits of a number in a type record tell all of it.
bool IsWrittenWhole(double value) {
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.6g", value);
  return std::strtod(text.data(), nullptr) == value;
}

class StackDocumentWriting final : public FileWriting {
 public:
  StackDocumentWriting(std::string const& path, MPendingFile::Existing existing, PersistentProperties const& properties,
                       FormatReport* report)
      : FileWriting(path, report), m_properties(properties), m_writer(path, kStackDocumentKind, existing) {
    m_writer.WriteTextTag("Label", "Name");
    m_writer.WriteLateTag("NumSlices");
  }

 private:
  void _Add(M2DSlice const& slice) override {
    long const z = _TakeHeight(slice);
    if (m_num_slices != 0 && z == m_z) _Fail("two slices are at one height; merge them first");
    m_z = z;
    ++m_num_slices;
    M2DSliceZAreaTypeInfo const& range = slice.GetZArea().GetTypeInfo();
    _NoteIf(range.type == e2DSliceZAreaType::Custom || range.effectiveType == e2DSliceZAreaEffectiveType::Custom,
            "Z ranges that were set explicitly were written as their thickness alone");
    M2DSlice::ForEachRow([&](auto row) { _Examine<decltype(row)>(slice); });

    MSAXTagWriter const tag(m_writer, "Slice");
    // Writing leaves the slice as it is, but for what can be computed again.
    MSaxM2DSlice(const_cast<M2DSlice*>(&slice), nullptr).Write(m_writer);
  }

  void _Seal() override {
    {
      PersistentProperties properties = m_properties;
      MSAXTagWriter const tag(m_writer, "Properties");
      PersistentPropertiesSax(&properties, false).Write(m_writer);
    }
    m_writer.SetLateNumber(m_num_slices);
    m_writer.Seal();
  }
  void _Commit() override { m_writer.Finish(); }

  /// Leaves what is paged out where it is, if it can.
  template <class Row>
  void _Examine(M2DSlice const& slice) const {
    auto const& component = Row::Component(slice);
    // What is neither in memory nor on disk waits for its source. Where a mapped record ends up, its points tell.
    if (!component.IsDataValid() && (!component.IsDiskStateValid() || component.IsRecordMapped())) Row::OnAccess(slice);
    M2DSliceXYArea area;
    if (component.IsDataValid()) {
      for (auto const& element : component.GetData()) {
        area.Extend(_ExamineItems(element));
        _ExamineNumbers(element.GetVectorTypeInfo());
      }
    } else {
      typename std::decay_t<decltype(component)>::BaseInfo info;
      component.GetBaseInfo(info);
      area = info.xyArea;
      for (unsigned long i = 0; i < component.GetNumElements(); ++i) _ExamineNumbers(component.GetTypeInfo(i));
    }
    using Limits = std::numeric_limits<std::int32_t>;
    bool const fits = area.IsEmpty() || (area.minX >= Limits::min() && area.minY >= Limits::min() &&
                                         area.maxX <= Limits::max() && area.maxY <= Limits::max());
    if (!fits) _Fail("coordinates beyond 214 m cannot be written; move the geometry to the origin");
  }

  void _ExamineNumbers(M2DSliceVectorTypeInfo const& info) const {
    for (auto const& [name, value] : info.GetNumbers()) {
      _NoteIf(!IsWrittenWhole(value), "numbers of type records were written with six digits");
    }
  }

  PersistentProperties const& m_properties;
  MDocumentWriter m_writer;
  unsigned long m_num_slices = 0;
  long m_z = 0;
};

}  // namespace

StackDocumentTarget::StackDocumentTarget(std::string path, FormatReport* report)
    : FileTarget(std::move(path), report) {}

StackDocumentTarget::~StackDocumentTarget() = default;

std::unique_ptr<FileWriting> StackDocumentTarget::_Open(std::string const& path, MPendingFile::Existing existing,
                                                        PersistentProperties const& properties,
                                                        FormatReport* report) const {
  return std::make_unique<StackDocumentWriting>(path, existing, properties, report);
}

}  // namespace SliceFormats
