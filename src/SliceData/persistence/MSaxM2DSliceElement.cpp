#include <SliceData/persistence/MSaxM2DSliceContour.h>
#include <SliceData/persistence/MSaxM2DSliceContourOnDisk.h>
#include <SliceData/persistence/MSaxM2DSlicePointBlock.h>
#include <SliceData/persistence/MSaxM2DSlicePointBlockOnDisk.h>
#include <SliceData/persistence/MSaxM2DSliceVectorBlock.h>
#include <SliceData/persistence/MSaxM2DSliceVectorBlockOnDisk.h>
#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/sax/BinaryInHolder.h>
#include <SliceData/platform/sax/BinaryOutHolder.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/slice_model/M2DSliceStoredItems.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

namespace {

using namespace M2DSliceStoredItems;
using M2DSliceLayerElements::NumItems;

static_assert(kPieceBytes <= MSAXStreamBinaryIn::kMaxPiece && kPieceBytes <= MSAXStreamBinaryOut::kMaxPiece);

template <class Element>
constexpr bool kIsContour = std::is_same_v<Element, M2DSliceContour>;

// Fixed words of the format. The dimension of a block is 1, although its items have two coordinates and four.

template <class Element>
constexpr std::string_view kCoordinatesTag = kIsContour<Element> ? "Points" : "Coordinates";
template <class Element>
constexpr int kDimension = kIsContour<Element> ? 2 : 1;
constexpr std::string_view kDataType = "long";

/// A block gets its room as soon as the number of its items is known; but for more than this the bytes must be there,
/// since a damaged document may give any number.
constexpr unsigned long kMaxItemsAtOnce = 1024;

// The two places of an element. Reading facts of a record must not open it for a change, hence the const forms.

template <class Element>
M2DSliceVectorTypeInfo const& TypeInfo(MSaxElementInMemory<Element> const& target) {
  return target.element->GetVectorTypeInfo();
}
template <class Component>
M2DSliceVectorTypeInfo const& TypeInfo(MSaxElementOnDisk<Component> const& target) {
  return std::as_const(*target.component).GetTypeInfo(target.index);
}

template <class Element>
M2DSliceVectorTypeInfo& TypeInfoForChange(MSaxElementInMemory<Element> const& target) {
  return target.element->GetVectorTypeInfo();
}
template <class Component>
M2DSliceVectorTypeInfo& TypeInfoForChange(MSaxElementOnDisk<Component> const& target) {
  return target.component->GetTypeInfo(target.index);
}

bool IsClosed(MSaxElementInMemory<M2DSliceContour> const& target) {
  return target.element->GetIsClosed();
}
bool IsClosed(MSaxElementOnDisk<M2DSliceComponentContours> const& target) {
  return target.component->GetIsClosed(target.index);
}
bool IsOuter(MSaxElementInMemory<M2DSliceContour> const& target) {
  return target.element->GetIsOuter();
}
bool IsOuter(MSaxElementOnDisk<M2DSliceComponentContours> const& target) {
  return target.component->GetIsOuter(target.index);
}

void SetIsClosed(MSaxElementInMemory<M2DSliceContour> const& target, bool closed) {
  target.element->SetIsClosed(closed);
}
void SetIsClosed(MSaxElementOnDisk<M2DSliceComponentContours> const& target, bool closed) {
  target.component->SetIsClosed(target.index, closed);
}
void SetIsOuter(MSaxElementInMemory<M2DSliceContour> const& target, bool outer) {
  target.element->SetIsOuter(outer);
}
void SetIsOuter(MSaxElementOnDisk<M2DSliceComponentContours> const& target, bool outer) {
  target.component->SetIsOuter(target.index, outer);
}

/// Writes the items; gives their number.
template <class Element>
unsigned long WriteTo(MSAXStreamBinaryOut& out, MSaxElementInMemory<Element> const& target) {
  WriteItems(out, *target.element, [](auto const&...) {});
  return NumItems(std::as_const(*target.element));
}
template <class Component>
unsigned long WriteTo(MSAXStreamBinaryOut& out, MSaxElementOnDisk<Component> const& target) {
  unsigned long const count = target.component->GetNumItems(target.index);
  target.component->VisitStoredItems(target.index, [&out](char const* bytes, std::size_t size) {
    std::memcpy(out.PrepareWrite(size), bytes, size);
    out.CommitWrite(size);
  });
  return count;
}

/// Takes the number of items.
template <class Target>
bool ReadCount(MSAXReader& reader, Target const&, unsigned long& count) {
  unsigned long value = 0;
  if (!reader.ReadValue(value)) return false;
  count = value;
  return true;
}
template <class Element, class = std::enable_if_t<!kIsContour<Element>>>
bool ReadCount(MSAXReader& reader, MSaxElementInMemory<Element> const& target, unsigned long& count) {
  long value = 0;
  if (!reader.ReadValue(value) || value < 0) return false;
  count = static_cast<unsigned long>(value);
  Resize(*target.element, std::min(count, kMaxItemsAtOnce));
  return true;
}

/// How many items are to be read, if so many are there: as many as were announced, or as a block has room for.
template <class Target>
unsigned long NumItemsToRead(Target const&, unsigned long count, unsigned long) {
  return count;
}
template <class Element, class = std::enable_if_t<!kIsContour<Element>>>
unsigned long NumItemsToRead(MSaxElementInMemory<Element> const& target, unsigned long count, unsigned long there) {
  unsigned long const room = NumItems(std::as_const(*target.element));
  if (std::min(count, there) > room) Resize(*target.element, std::min(count, there));
  return std::max(count, room);
}

template <class Element>
void ReadFrom(MSAXStreamBinaryIn& in, unsigned long count, MSaxElementInMemory<Element> const& target) {
  ReadItems(in, count, AsStored(), *target.element);
}
template <class Component>
void ReadFrom(MSAXStreamBinaryIn& in, unsigned long count, MSaxElementOnDisk<Component> const& target) {
  constexpr std::size_t size = sizeof(ValueOf<typename Component::Element>);
  while (count != 0) {
    unsigned long const piece = std::min(count, kPieceBytes / size);
    target.component->PushStoredItems(in.PrepareRead(piece * size), piece);
    in.CommitRead(piece * size);
    count -= piece;
  }
}

}  // namespace

template <class Target>
MSaxM2DSliceElement<Target>::MSaxM2DSliceElement(Target target, char const* stream_name)
    : m_target(target), m_stream_name(stream_name) {}

template <class Target>
MSaxM2DSliceElement<Target>::~MSaxM2DSliceElement() = default;

template <class Target>
void MSaxM2DSliceElement<Target>::SetDefaults() {
  if constexpr (std::is_same_v<Target, MSaxElementInMemory<M2DSliceContour>>) m_target.element->MakeEmpty();
}

template <class Target>
bool MSaxM2DSliceElement<Target>::HandleTag(std::string const& tag, MSAXReader& reader) {
  using Element = typename Target::Element;
  std::string_view const name = tag;
  if (name == kCoordinatesTag<Element>) return true;
  // First, so that what lies inside is not taken for a tag of the element.
  if (reader.GetEnclosingTag(1) == kCoordinatesTag<Element>) return _HandleTagCoordinates(tag, reader);
  if constexpr (kIsContour<Element>) {
    if (name == "Closed") {
      bool closed = IsClosed(m_target);
      if (!reader.ReadValue(closed)) return false;
      SetIsClosed(m_target, closed);
      return true;
    }
    if (name == "Outer") {
      bool outer = IsOuter(m_target);
      if (!reader.ReadValue(outer)) return false;
      SetIsOuter(m_target, outer);
      return true;
    }
  }
  if (name == "VectorTypeInfo") {
    reader.ReadSubObject(TypeInfoForChange(m_target));
    return true;
  }
  return false;
}

template <class Target>
bool MSaxM2DSliceElement<Target>::_HandleTagCoordinates(std::string const& tag, MSAXReader& reader) {
  using Element = typename Target::Element;
  constexpr std::size_t size = sizeof(ValueOf<Element>);
  std::string_view const name = tag;
  if (name == "DataType") {
    std::string type;
    return reader.ReadString(type) && type == kDataType;
  }
  if (name == "Dim") {
    int dimension = 0;
    return reader.ReadValue(dimension) && dimension == kDimension<Element>;
  }
  if (name == "Count") return ReadCount(reader, m_target, m_count);
  if (name != "Data") return false;

  BinaryInHolder* holder = nullptr;
  if (!reader.GetBinaryStream(holder)) return false;
  MSAXStreamBinaryIn& in = holder->GetStream();
  unsigned long const there = in.GetRemaining() / size;
  unsigned long const count = NumItemsToRead(m_target, m_count, there);
  ReadFrom(in, std::min(count, there), m_target);
  if (count > there) in.PrepareRead(size);  // throws
  return true;
}

template <class Target>
bool MSaxM2DSliceElement<Target>::Write(MSAXWriter& writer) const {
  using Element = typename Target::Element;
  {
    MSAXTagWriter const tag(writer, kCoordinatesTag<Element>.data());
    _WriteCoordinates(writer);
  }
  if constexpr (kIsContour<Element>) {
    MSaxTagWithValue::Write(writer, "Closed", IsClosed(m_target));
    MSaxTagWithValue::Write(writer, "Outer", IsOuter(m_target));
  }
  MSAXTagWriter const tag(writer, "VectorTypeInfo");
  TypeInfo(m_target).Write(writer);
  return true;
}

template <class Target>
bool MSaxM2DSliceElement<Target>::_WriteCoordinates(MSAXWriter& writer) const {
  BinaryOutHolder* holder =
      m_stream_name != nullptr ? writer.CreateBinaryStream(m_stream_name) : writer.CreateBinaryStream();
  unsigned long const count = WriteTo(holder->GetStream(), m_target);
  MSaxTagWithValue::Write(writer, "Dim", long{kDimension<typename Target::Element>});
  MSaxTagWithValue::Write(writer, "DataType", kDataType.data());
  MSaxTagWithValue::Write(writer, "Count", count);
  writer.WriteBinaryStream("Data", &holder);
  return true;
}

template class MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceContour>>;
template class MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceVectorBlock>>;
template class MSaxM2DSliceElement<MSaxElementInMemory<M2DSlicePointBlock>>;
template class MSaxM2DSliceElement<MSaxElementOnDisk<M2DSliceComponentContours>>;
template class MSaxM2DSliceElement<MSaxElementOnDisk<M2DSliceComponentVectors>>;
template class MSaxM2DSliceElement<MSaxElementOnDisk<M2DSliceComponentPoints>>;
