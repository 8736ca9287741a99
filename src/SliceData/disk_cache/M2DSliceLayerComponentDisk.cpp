#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/MapPoint.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>
#include <SliceData/slice_stack/M2DSliceStackSlice.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

// A record is a tag, the z of the slice, and the coordinates of all items of all elements, each the low 32 bits. What
// it takes to read it, from the number of elements on, stays in memory.

namespace {

using M2DSliceLayerElements::FillFacts;
using M2DSliceLayerElements::NumItems;

/// Items are handed to the file in pieces of at most this many bytes, with one check of its buffer a piece.
constexpr std::size_t kPieceBytes = 32768;
/// How far ahead memory is asked for: the items of an element mostly lie side by side.
constexpr std::size_t kPrefetchBytes = 2048;

std::string_view Tag(M2DSliceContourLayer const&) {
  return "Contours";
}
std::string_view Tag(M2DSliceVectorLayer const&) {
  return "Vectors";
}
std::string_view Tag(M2DSlicePointLayer const&) {
  return "Points";
}

// The items of an element as they lie in a record: their number of values, and how they come and go.

struct Value2 {
  std::int32_t x, y;
};

struct Value4 {
  std::int32_t x1, y1, x2, y2;
};

std::int32_t Narrow(long value) {
  return static_cast<std::int32_t>(value);
}

Value2 ToRecord(M2DSliceContourPoint const& point) {
  return {Narrow(point.x), Narrow(point.y)};
}
Value2 ToRecord(M2DSlicePoint const& point) {
  return {Narrow(point.x), Narrow(point.y)};
}
Value4 ToRecord(M2DSliceVector const& vector) {
  return {Narrow(vector.x1), Narrow(vector.y1), Narrow(vector.x2), Narrow(vector.y2)};
}

template <class Layer>
struct RecordOf {
  using Value = Value2;
};
template <>
struct RecordOf<M2DSliceVectorLayer> {
  using Value = Value4;
};

auto Items(M2DSliceContour const& contour) {
  return contour.GetPoints();
}
M2DSliceVectorBlock const& Items(M2DSliceVectorBlock const& block) {
  return block;
}
M2DSlicePointBlock const& Items(M2DSlicePointBlock const& block) {
  return block;
}

/// The box of a contour is that of the stored values, the box of a block that of the full ones.
void ExtendByItem(M2DSliceXYArea& area, M2DSliceContourPoint const&, Value2 const& stored) {
  area.Extend(stored.x, stored.y);
}
void ExtendByItem(M2DSliceXYArea& area, M2DSlicePoint const& point, Value2 const&) {
  area.Extend(point.x, point.y);
}
void ExtendByItem(M2DSliceXYArea& area, M2DSliceVector const& vector, Value4 const&) {
  area.Extend(vector.x1, vector.y1);
  area.Extend(vector.x2, vector.y2);
}

template <class Item>
void Prefetch(Item const& item) {
  __builtin_prefetch(reinterpret_cast<char const*>(&item) + kPrefetchBytes);
}

struct NoMapping {
  void operator()(Value2 const& stored, M2DSlicePoint& point) const { point = {stored.x, stored.y}; }
  void operator()(Value4 const& stored, M2DSliceVector& vector) const {
    vector = {stored.x1, stored.x2, stored.y1, stored.y2};
  }
};

/// Stored values as the mapping leaves them, truncated towards zero.
template <class Mapping>
struct MapStored {
  Mapping const& mapping;

  void operator()(Value2 const& stored, M2DSlicePoint& point) const {
    NoMapping()(stored, point);
    M2DSliceUtilities::MapPoint(mapping, point.x, point.y);
  }
  void operator()(Value4 const& stored, M2DSliceVector& vector) const {
    NoMapping()(stored, vector);
    M2DSliceUtilities::MapPoint(mapping, vector.x1, vector.y1);
    M2DSliceUtilities::MapPoint(mapping, vector.x2, vector.y2);
  }
};

/// Calls `function` with what turns stored values into items under a chain: nothing is called for an empty chain, and
/// nothing virtual for a single matrix.
template <class Function>
void WithUnpacker(M2DSliceUtilities::TransformationVector const& chain, Function&& function) {
  auto const& mappings = chain.GetVector();
  if (mappings.empty()) return function(NoMapping());
  auto const map = [&](auto const& plain) { function(MapStored<std::decay_t<decltype(plain)>>{plain}); };
  if (mappings.size() == 1) {
    M2DSliceUtilities::WithPlainType(*mappings.front(), map);
  } else {
    map(static_cast<M2DSliceUtilities::iTransformation const&>(chain));
  }
}

/// The bytes that come next, as one item's values.
template <class Value>
Value ReadValue(MFile& file) {
  Value value;
  std::memcpy(&value, file.PrepareRead(sizeof value), sizeof value);
  file.CommitRead(sizeof value);
  return value;
}

/// Reads the next item of a walk over single items if that takes no more than a look into the buffer, as it mostly
/// does. False otherwise, with nothing done.
template <class Value>
bool ReadBufferedValue(M2DSliceTempFile& file, M2DSliceUtilities::TransformationVector const& chain, Value& value) {
  if (!file.IsOpen() || !file.GetFile().IsBuffered(sizeof value) || !chain.GetVector().empty()) return false;
  value = ReadValue<Value>(file.GetFile());
  return true;
}

/// Runs what is seldom needed, and keeps the code around it free of what that takes.
template <class Function>
[[gnu::noinline]] void OutOfLine(Function const& function) {
  function();
}

template <class Element>
void WriteItems(MFile& file, Element const& element, M2DSliceXYArea& area) {
  using Value = decltype(ToRecord(*Items(element).begin()));
  constexpr unsigned long items_of_piece = kPieceBytes / sizeof(Value);
  auto item = Items(element).begin();
  M2DSliceXYArea box;  // in registers: bytes are written meanwhile, which might be those of `area`
  for (unsigned long remaining = NumItems(element); remaining != 0;) {
    unsigned long const count = std::min(remaining, items_of_piece);
    char* out = file.PrepareWrite(count * sizeof(Value));
    for (unsigned long i = 0; i < count; ++i, ++item, out += sizeof(Value)) {
      Prefetch(*item);
      Value const value = ToRecord(*item);
      std::memcpy(out, &value, sizeof value);
      ExtendByItem(box, *item, value);
    }
    file.CommitWrite(count * sizeof(Value));
    remaining -= count;
  }
  area.Extend(box);
}

/// Hands the next `count` values of the file to `take`, until that gives false.
template <class Value, class Take>
bool ReadValues(MFile& file, unsigned long count, Take&& take) {
  constexpr unsigned long values_of_piece = kPieceBytes / sizeof(Value);
  while (count != 0) {
    unsigned long const piece = std::min(count, values_of_piece);
    char const* in = file.PrepareRead(piece * sizeof(Value));
    for (unsigned long i = 0; i < piece; ++i, in += sizeof(Value)) {
      Value value;
      std::memcpy(&value, in, sizeof value);
      if (!take(value)) return false;
    }
    file.CommitRead(piece * sizeof(Value));
    count -= piece;
  }
  return true;
}

template <class Unpack>
void ReadItems(MFile& file, unsigned long count, Unpack const& unpack, M2DSliceContour& contour) {
  ReadValues<Value2>(file, count, [&](Value2 const& value) {
    M2DSlicePoint point;
    unpack(value, point);
    contour.AddPoint(point.x, point.y);
    return true;
  });
}

template <class Unpack>
void ReadItems(MFile& file, unsigned long count, Unpack const& unpack, M2DSliceVectorBlock& block) {
  block.resize(count);
  auto vector = block.begin();
  ReadValues<Value4>(file, count, [&](Value4 const& value) {
    unpack(value, *vector++);
    return true;
  });
}

template <class Unpack>
void ReadItems(MFile& file, unsigned long count, Unpack const& unpack, M2DSlicePointBlock& block) {
  block.resize(count, M2DSlicePoint());
  auto point = block.begin();
  ReadValues<Value2>(file, count, [&](Value2 const& value) {
    unpack(value, *point++);
    return true;
  });
}

bool IsSame(M2DSlicePoint const& read, M2DSliceContourPoint const& point) {
  return read.x == point.x && read.y == point.y;
}
bool IsSame(M2DSlicePoint const& read, M2DSlicePoint const& point) {
  return read == point;
}
bool IsSame(M2DSliceVector const& read, M2DSliceVector const& vector) {
  return read == vector;
}

template <class Unpack, class Element>
bool HoldsItems(MFile& file, Unpack const& unpack, Element const& element) {
  using Value = decltype(ToRecord(*Items(element).begin()));
  using Item = std::conditional_t<std::is_same_v<Value, Value4>, M2DSliceVector, M2DSlicePoint>;
  auto item = Items(element).begin();
  return ReadValues<Value>(file, NumItems(element), [&](Value const& value) {
    Item read;
    unpack(value, read);
    return IsSame(read, *item++);
  });
}

bool HasSameFlags(M2DSliceBaseInfoContour const& record, M2DSliceContour const& contour) {
  return record.outer == contour.GetIsOuter() && record.closed == contour.GetIsClosed();
}
bool HasSameFlags(M2DSliceBaseInfoVectorBlock const&, M2DSliceVectorBlock const&) {
  return true;
}
bool HasSameFlags(M2DSliceBaseInfoPointBlock const&, M2DSlicePointBlock const&) {
  return true;
}

void SetFlags(M2DSliceContour& contour, M2DSliceBaseInfoContour const& record) {
  contour.SetIsOuter(record.outer);
  contour.SetIsClosed(record.closed);
}
void SetFlags(M2DSliceVectorBlock&, M2DSliceBaseInfoVectorBlock const&) {}
void SetFlags(M2DSlicePointBlock&, M2DSliceBaseInfoPointBlock const&) {}

M2DSliceContour& AddElement(M2DSliceContourLayer& layer) {
  return layer.AddContour();
}
M2DSliceVectorBlock& AddElement(M2DSliceVectorLayer& layer) {
  return layer.AddVectorBlock();
}
M2DSlicePointBlock& AddElement(M2DSlicePointLayer& layer) {
  return layer.AddPointBlock();
}

M2DSliceStackSlice* ToStackSlice(M2DSlice* slice) {
  return dynamic_cast<M2DSliceStackSlice*>(slice);
}

}  // namespace

template <class Traits>
void M2DSliceLayerComponent<Traits>::_WriteRecordHead(MFile& file) {
  std::string_view const tag = Tag(m_data);
  std::int32_t const z = Narrow(m_slice != nullptr ? m_slice->GetZArea().GetZ() : 0);
  char* const head = file.PrepareWrite(tag.size() + sizeof z);
  std::memcpy(head, tag.data(), tag.size());
  std::memcpy(head + tag.size(), &z, sizeof z);
  file.CommitWrite(tag.size() + sizeof z);
}

/// Nothing of the head is needed; reading it finds out early that a file was cut.
template <class Traits>
void M2DSliceLayerComponent<Traits>::_ReadRecordHead() const {
  std::size_t const size = Tag(m_data).size() + sizeof(std::int32_t);
  MFile& file = m_temp_file->GetFile();
  file.PrepareRead(size);
  file.CommitRead(size);
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_WriteDataToDisk() {
  MFile& file = m_temp_file->GetFile();
  _WriteRecordHead(file);
  m_info_on_disk.Reset();
  m_info_on_disk.m_elements.shrink_to_fit();
  m_info_on_disk.m_elements.reserve(m_data.GetCount());
  for (Element const& element : m_data) {
    ElementOnDisk& record = m_info_on_disk.m_elements.emplace_back();
    record.m_file_position = file.TELL();
    FillFacts(static_cast<BaseInfoElement&>(record), element);
    WriteItems(file, element, record.xyArea);
  }
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_ReadDataFromDisk() {
  _ReadRecordHead();
  _ClearData();
  MFile& file = m_temp_file->GetFile();
  WithUnpacker(m_info_on_disk.m_transformation, [&](auto const& unpack) {
    for (ElementOnDisk const& record : m_info_on_disk.m_elements) {
      Element& element = AddElement(m_data);
      SetFlags(element, record);
      element.SetVectorTypeInfo(record.typeInfo);
      file.SEEK(record.m_file_position, 0);
      ReadItems(file, NumItems(record), unpack, element);
    }
  });
}

template <class Traits>
bool M2DSliceLayerComponent<Traits>::_DoubleCheckDiskValidity() const {
  auto const& records = m_info_on_disk.m_elements;
  if (m_temp_file == nullptr) return false;
  bool fits = true;
  try {
    m_temp_file->InitForReading(m_file_position);
    _ReadRecordHead();
    if (records.size() != m_data.GetCount()) return false;
    MFile& file = m_temp_file->GetFile();
    WithUnpacker(m_info_on_disk.m_transformation, [&](auto const& unpack) {
      auto record = records.begin();
      for (Element const& element : m_data) {
        fits = HasSameFlags(*record, element) && record->typeInfo == element.GetVectorTypeInfo() &&
               NumItems(*record) == NumItems(element);
        if (!fits) return;
        file.SEEK(record->m_file_position, 0);
        fits = HoldsItems(file, unpack, element);
        if (!fits) return;
        ++record;
      }
    });
  } catch (std::system_error const&) {
    return false;  // what cannot be read does not fit; the data is in memory and can be written anew
  }
  return fits;
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::InitForOnDiskCaching(boost::shared_ptr<M2DSliceTempFile> file) {
  // What can fail comes first: until the head is written, what was there stays.
  long long const position = file->InitForWriting();
  _WriteRecordHead(file->GetFile());
  m_temp_file = std::move(file);
  m_file_position = position;
  m_data_valid = false;
  m_disk_state_valid = true;
  m_info_on_disk.Reset();
}

template <class Traits>
unsigned long M2DSliceLayerComponent<Traits>::_PushElementToMemory() {
  _ValidateCachedData();
  m_cached_data.m_elements.push_back(&AddElement(m_data));
  return m_cached_data.m_elements.size() - 1;
}

/// Reads in between may have moved the position, or have let the file be closed.
template <class Traits>
MFile& M2DSliceLayerComponent<Traits>::_GetFileForPushing() {
  if (!m_temp_file->IsOpen() || !m_temp_file->GetFile().IsWriting()) m_temp_file->InitForWriting();
  return m_temp_file->GetFile();
}

template <class Traits>
unsigned long M2DSliceLayerComponent<Traits>::_PushElementToDisk() {
  auto& records = m_info_on_disk.m_elements;
  // They stay in memory, so that they grow by a quarter and not by as much again.
  if (records.size() == records.capacity()) records.reserve(records.size() + records.size() / 4 + 4);
  long long const position = _GetFileForPushing().TELL();
  records.emplace_back().m_file_position = position;
  return records.size() - 1;
}

/// All values or none reach the file, and what is known of them follows, so that a push that failed can be repeated.
template <class Traits>
void M2DSliceLayerComponent<Traits>::_PushItemToDisk(std::initializer_list<long> values) {
  if (m_info_on_disk.m_elements.empty()) return;
  MFile& file = _GetFileForPushing();
  std::size_t const size = values.size() * sizeof(std::int32_t);
  char* out = file.PrepareWrite(size);
  for (long const value : values) {
    std::int32_t const narrow = Narrow(value);
    std::memcpy(out, &narrow, sizeof narrow);
    out += sizeof narrow;
  }
  file.CommitWrite(size);
  ElementOnDisk& record = m_info_on_disk.m_elements.back();
  for (long const* value = values.begin(); value != values.end(); value += 2) record.xyArea.Extend(value[0], value[1]);
  ++NumItems(static_cast<BaseInfoElement&>(record));
}

/// A file that was closed meanwhile has lost the position, so that the walk is taken up by the number of the item.
template <class Traits>
void M2DSliceLayerComponent<Traits>::_ReadItemFromDisk(unsigned long element, unsigned long item, long* values) const {
  using Value = typename RecordOf<Layer>::Value;
  constexpr std::size_t count = sizeof(Value) / sizeof(std::int32_t);
  if (item == 0 || !m_temp_file->IsOpen()) {
    m_temp_file->Open();
    m_temp_file->GetFile().SEEK(
        m_info_on_disk.m_elements[element].m_file_position + static_cast<long long>(item * sizeof(Value)), 0);
  }
  m_temp_file->GetFile().READ(values, count);
  if (m_info_on_disk.m_transformation.GetVector().empty()) return;
  for (std::size_t i = 0; i < count; i += 2) {
    M2DSliceUtilities::MapPoint(m_info_on_disk.m_transformation, values[i], values[i + 1]);
  }
}

void M2DSliceComponentContours::GetContourPoint(unsigned long contour, unsigned long point, long& x, long& y) const {
  if (point != 0 && m_data_valid) {
    m_last_point = m_last_point->next;
    m_last_point_index = point;
    x = m_last_point->x;
    y = m_last_point->y;
    return;
  }
  if (Value2 next; point != 0 && ReadBufferedValue(*m_temp_file, m_info_on_disk.m_transformation, next)) {
    x = next.x;
    y = next.y;
    return;
  }
  OutOfLine([=, &x, &y] {
    if (m_data_valid) {
      m_last_point = _GetElement(contour).GetFirstPoint();
      m_last_point_index = point;
      x = m_last_point->x;
      y = m_last_point->y;
      return;
    }
    long values[2];
    _ReadItemFromDisk(contour, point, values);
    x = values[0];
    y = values[1];
  });
}

bool M2DSliceComponentContours::PrepareForPushingData() {
  M2DSliceStackSlice* const slice = ToStackSlice(m_slice);
  if (slice == nullptr) return false;
  if (m_kind == 0) return slice->_PrepareBorderForCaching();
  return m_kind == 1 && slice->_PrepareAreasForCaching();
}

unsigned long M2DSliceComponentContours::PushContour() {
  return _PushElementToDisk();
}
void M2DSliceComponentContours::PushContourPoint(long x, long y) {
  _PushItemToDisk({x, y});
}

void M2DSliceComponentVectors::GetVector(unsigned long block, unsigned long index, long& x1, long& y1, long& x2,
                                         long& y2) const {
  if (Value4 next;
      !m_data_valid && index != 0 && ReadBufferedValue(*m_temp_file, m_info_on_disk.m_transformation, next)) {
    x1 = next.x1;
    y1 = next.y1;
    x2 = next.x2;
    y2 = next.y2;
    return;
  }
  OutOfLine([=, &x1, &y1, &x2, &y2] {
    if (m_data_valid) {
      M2DSliceVector const& vector = _GetElement(block).at(index);
      x1 = vector.x1;
      y1 = vector.y1;
      x2 = vector.x2;
      y2 = vector.y2;
      return;
    }
    long values[4];
    _ReadItemFromDisk(block, index, values);
    x1 = values[0];
    y1 = values[1];
    x2 = values[2];
    y2 = values[3];
  });
}

bool M2DSliceComponentVectors::PrepareForPushingData() {
  if (M2DSliceStackSlice* const slice = ToStackSlice(m_slice)) slice->_PrepareVectorsForCaching();
  return true;
}

unsigned long M2DSliceComponentVectors::PushVectorBlock() {
  if (m_disk_state_valid) return _PushElementToDisk();
  return m_data_valid ? _PushElementToMemory() : 0;
}

void M2DSliceComponentVectors::PushVector(long x1, long y1, long x2, long y2) {
  if (m_disk_state_valid) _PushItemToDisk({x1, y1, x2, y2});
  if (m_data_valid && !m_data.IsEmpty()) m_data.GetLast()->push_back({x1, x2, y1, y2});
}

void M2DSliceComponentPoints::GetPoint(unsigned long block, unsigned long index, long& x, long& y) const {
  if (Value2 next;
      !m_data_valid && index != 0 && ReadBufferedValue(*m_temp_file, m_info_on_disk.m_transformation, next)) {
    x = next.x;
    y = next.y;
    return;
  }
  OutOfLine([=, &x, &y] {
    if (m_data_valid) {
      M2DSlicePoint const& point = _GetElement(block)[index];
      x = point.x;
      y = point.y;
      return;
    }
    long values[2];
    _ReadItemFromDisk(block, index, values);
    x = values[0];
    y = values[1];
  });
}

bool M2DSliceComponentPoints::PrepareForPushingData() {
  if (M2DSliceStackSlice* const slice = ToStackSlice(m_slice)) slice->_PreparePointsForCaching();
  return true;
}

unsigned long M2DSliceComponentPoints::PushPointBlock() {
  if (m_disk_state_valid) return _PushElementToDisk();
  return m_data_valid ? _PushElementToMemory() : 0;
}

void M2DSliceComponentPoints::PushPoint(long x, long y) {
  if (m_disk_state_valid) _PushItemToDisk({x, y});
  if (m_data_valid && !m_data.IsEmpty()) m_data.GetLast()->push_back({x, y});
}

template class M2DSliceLayerComponent<M2DSliceContoursTraits>;
template class M2DSliceLayerComponent<M2DSliceVectorsTraits>;
template class M2DSliceLayerComponent<M2DSlicePointsTraits>;
