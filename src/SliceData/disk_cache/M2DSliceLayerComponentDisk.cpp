#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/geometry/MapPoint.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>
#include <SliceData/slice_model/M2DSliceStoredItems.h>
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

using M2DSliceLayerElements::AddElement;
using M2DSliceLayerElements::FillFacts;
using M2DSliceLayerElements::NumItems;
using namespace M2DSliceStoredItems;

std::string_view Tag(M2DSliceContourLayer const&) {
  return "Contours";
}
std::string_view Tag(M2DSliceVectorLayer const&) {
  return "Vectors";
}
std::string_view Tag(M2DSlicePointLayer const&) {
  return "Points";
}

/// What stored values are unpacked to.
template <class Value>
using ItemOf = std::conditional_t<std::is_same_v<Value, Value4>, M2DSliceVector, M2DSlicePoint>;

/// The box of what is stored. That of a contour is the box of the stored values, that of a block of the full ones.
struct Measure {
  M2DSliceXYArea box;

  void operator()(M2DSliceContourPoint const&, Value2 const& stored) { box.Extend(stored.x, stored.y); }
  void operator()(M2DSlicePoint const& point, Value2 const&) { box.Extend(point.x, point.y); }
  void operator()(M2DSliceVector const& vector, Value4 const&) {
    box.Extend(vector.x1, vector.y1);
    box.Extend(vector.x2, vector.y2);
  }
};

/// Stored values as the mapping leaves them, truncated towards zero.
template <class Mapping>
struct MapStored {
  Mapping const& mapping;

  void operator()(Value2 const& stored, M2DSlicePoint& point) const {
    AsStored()(stored, point);
    M2DSliceUtilities::MapPoint(mapping, point.x, point.y);
  }
  void operator()(Value4 const& stored, M2DSliceVector& vector) const {
    AsStored()(stored, vector);
    M2DSliceUtilities::MapPoint(mapping, vector.x1, vector.y1);
    M2DSliceUtilities::MapPoint(mapping, vector.x2, vector.y2);
  }
};

/// Calls `function` with what turns the stored values of a record into items: nothing is called if the record is not
/// mapped, and nothing virtual for a single matrix.
template <class Record, class Function>
void WithUnpacker(Record const& record, Function&& function) {
  if (!record.IsMapped()) return function(AsStored());
  auto const& mappings = record.m_transformation->GetVector();
  auto const map = [&](auto const& plain) { function(MapStored<std::decay_t<decltype(plain)>>{plain}); };
  if (mappings.size() == 1) {
    M2DSliceUtilities::WithPlainType(*mappings.front(), map);
  } else {
    map(static_cast<M2DSliceUtilities::iTransformation const&>(*record.m_transformation));
  }
}

/// Collects what is written to it and hands it on piece by piece.
template <class Take>
class PieceSink {
 public:
  explicit PieceSink(Take const& take) : m_take(take) {}
  char* PrepareWrite(std::size_t) { return m_piece; }
  void CommitWrite(std::size_t bytes) { m_take(m_piece, bytes); }

 private:
  Take const& m_take;
  char m_piece[kPieceBytes];
};

/// Hands over the next `count` items of a file: as they lie there if nothing is to be done to them.
template <class Value, class Take>
void VisitItems(MFile& file, unsigned long count, AsStored const&, Take const& take) {
  for (std::size_t remaining = count * sizeof(Value); remaining != 0;) {
    std::size_t const piece = std::min(remaining, kPieceBytes);
    take(file.PrepareRead(piece), piece);
    file.CommitRead(piece);
    remaining -= piece;
  }
}

template <class Value, class Unpack, class Take>
void VisitItems(MFile& file, unsigned long count, Unpack const& unpack, Take const& take) {
  constexpr unsigned long items_of_piece = kPieceBytes / sizeof(Value);
  PieceSink<Take> sink(take);
  while (count != 0) {
    unsigned long const piece = std::min(count, items_of_piece);
    char* out = sink.PrepareWrite(piece * sizeof(Value));
    ReadValues<Value>(file, piece, [&](Value value) {
      ItemOf<Value> item;
      unpack(value, item);
      value = ToStored(item);
      std::memcpy(out, &value, sizeof value);
      out += sizeof value;
      return true;
    });
    sink.CommitWrite(piece * sizeof(Value));
    count -= piece;
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
template <class Record, class Value>
bool ReadBufferedValue(Record const& record, Value& value) {
  M2DSliceTempFile& file = *record.m_temp_file;
  if (!file.IsOpen() || !file.GetFile().IsBuffered(sizeof value) || record.IsMapped()) return false;
  value = ReadValue<Value>(file.GetFile());
  return true;
}

/// Runs what is seldom needed, and keeps the code around it free of what that takes.
template <class Function>
[[gnu::noinline]] void OutOfLine(Function const& function) {
  function();
}

/// Contours are pushed to disk alone.
void AppendItems(M2DSliceContour&, char const*, unsigned long) {}

template <class Block>
void AppendItems(Block& block, char const* bytes, unsigned long count) {
  for (; count != 0; --count, bytes += sizeof(ValueOf<Block>)) {
    ValueOf<Block> value;
    std::memcpy(&value, bytes, sizeof value);
    ItemOf<ValueOf<Block>> item;
    AsStored()(value, item);
    block.push_back(item);
  }
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
  using Value = ValueOf<Element>;
  auto item = Items(element).begin();
  return ReadValues<Value>(file, NumItems(element), [&](Value const& value) {
    ItemOf<Value> read;
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
  MFile& file = m_record->m_temp_file->GetFile();
  file.PrepareRead(size);
  file.CommitRead(size);
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_WriteDataToDisk() {
  MFile& file = m_record->m_temp_file->GetFile();
  _WriteRecordHead(file);
  m_record->Reset();
  m_record->m_elements.shrink_to_fit();
  m_record->m_elements.reserve(m_data.GetCount());
  for (Element const& element : m_data) {
    ElementOnDisk& record = m_record->m_elements.emplace_back();
    record.m_file_position = file.TELL();
    FillFacts(static_cast<BaseInfoElement&>(record), element);
    record.xyArea = WriteItems(file, element, Measure()).box;
  }
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_ReadDataFromDisk() {
  _ReadRecordHead();
  _ClearData();
  MFile& file = m_record->m_temp_file->GetFile();
  WithUnpacker(*m_record, [&](auto const& unpack) {
    for (ElementOnDisk const& record : m_record->m_elements) {
      Element& element = AddElement(m_data);
      SetFlags(element, record);
      element.SetVectorTypeInfo(record.typeInfo);
      file.SEEK(record.m_file_position, 0);
      Resize(element, NumItems(record));
      ReadItems(file, NumItems(record), unpack, element);
    }
  });
}

template <class Traits>
bool M2DSliceLayerComponent<Traits>::_DoubleCheckDiskValidity() const {
  if (_GetRecord().m_temp_file == nullptr) return false;
  auto const& records = m_record->m_elements;
  bool fits = true;
  try {
    m_record->m_temp_file->InitForReading(m_record->m_file_position);
    _ReadRecordHead();
    if (records.size() != m_data.GetCount()) return false;
    MFile& file = m_record->m_temp_file->GetFile();
    WithUnpacker(*m_record, [&](auto const& unpack) {
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
  InfoOnDisk& record = this->_OpenRecord();
  long long const position = file->InitForWriting();
  _WriteRecordHead(file->GetFile());
  record.m_temp_file = std::move(file);
  record.m_file_position = position;
  record.Reset();
  m_data_valid = false;
  m_disk_state_valid = true;
}

template <class Traits>
unsigned long M2DSliceLayerComponent<Traits>::_PushElementToMemory() {
  _ValidateCachedData();
  m_cached_elements->push_back(&AddElement(m_data));
  return m_cached_elements->size() - 1;
}

/// Reads in between may have moved the position, or have let the file be closed.
template <class Traits>
MFile& M2DSliceLayerComponent<Traits>::_GetFileForPushing() {
  M2DSliceTempFile& file = *m_record->m_temp_file;
  if (!file.IsOpen() || !file.GetFile().IsWriting()) file.InitForWriting();
  return file.GetFile();
}

template <class Traits>
unsigned long M2DSliceLayerComponent<Traits>::_PushElementToDisk() {
  auto& records = m_record->m_elements;
  // They stay in memory, so that they grow by a quarter and not by as much again.
  if (records.size() == records.capacity()) records.reserve(records.size() + records.size() / 4 + 4);
  long long const position = _GetFileForPushing().TELL();
  records.emplace_back().m_file_position = position;
  return records.size() - 1;
}

/// All items or none reach the file, and what is known of them follows, so that a push that failed can be repeated.
/// `fill` writes them to where they belong; the box that is given is to be extended by them.
template <class Traits>
template <class Fill>
M2DSliceXYArea& M2DSliceLayerComponent<Traits>::_AppendToRecord(unsigned long count, Fill const& fill) {
  std::size_t const size = count * sizeof(ValueOf<Element>);
  MFile& file = _GetFileForPushing();
  fill(file.PrepareWrite(size));
  file.CommitWrite(size);
  ElementOnDisk& record = m_record->m_elements.back();
  NumItems(static_cast<BaseInfoElement&>(record)) += count;
  return record.xyArea;
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_PushItemToDisk(std::initializer_list<long> values) {
  if (_GetRecord().m_elements.empty()) return;
  M2DSliceXYArea& box = _AppendToRecord(1, [values](char* out) {
    for (long const value : values) {
      std::int32_t const narrow = Narrow(value);
      std::memcpy(out, &narrow, sizeof narrow);
      out += sizeof narrow;
    }
  });
  for (long const* value = values.begin(); value != values.end(); value += 2) box.Extend(value[0], value[1]);
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::PushStoredItems(char const* bytes, unsigned long count) {
  using Value = ValueOf<Element>;
  if (m_disk_state_valid && !m_record->m_elements.empty()) {
    constexpr unsigned long items_of_piece = kPieceBytes / sizeof(Value);
    for (unsigned long done = 0; done != count;) {
      unsigned long const piece = std::min(count - done, items_of_piece);
      char const* const from = bytes + done * sizeof(Value);
      M2DSliceXYArea& area = _AppendToRecord(piece, [=](char* out) { std::memcpy(out, from, piece * sizeof(Value)); });
      M2DSliceXYArea box;
      for (std::size_t i = 0; i < piece * sizeof(Value); i += sizeof(Value2)) {
        Value2 place;
        std::memcpy(&place, from + i, sizeof place);
        box.Extend(place.x, place.y);
      }
      area.Extend(box);
      done += piece;
    }
  }
  if (m_data_valid && !m_data.IsEmpty()) AppendItems(*m_data.GetLast(), bytes, count);
}

/// A file that was closed meanwhile has lost the position, so that the walk is taken up by the number of the item.
template <class Traits>
void M2DSliceLayerComponent<Traits>::_ReadItemFromDisk(unsigned long element, unsigned long item, long* values) const {
  using Value = ValueOf<Element>;
  constexpr std::size_t count = sizeof(Value) / sizeof(std::int32_t);
  M2DSliceTempFile& file = *m_record->m_temp_file;
  if (item == 0 || !file.IsOpen()) {
    file.Open();
    file.GetFile().SEEK(m_record->m_elements[element].m_file_position + static_cast<long long>(item * sizeof(Value)),
                        0);
  }
  file.GetFile().READ(values, count);
  if (!m_record->IsMapped()) return;
  for (std::size_t i = 0; i < count; i += 2) {
    M2DSliceUtilities::MapPoint(*m_record->m_transformation, values[i], values[i + 1]);
  }
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::VisitStoredItems(unsigned long index, TakeBytes const& take) const {
  if (m_data_valid) {
    PieceSink<TakeBytes> sink(take);
    WriteItems(sink, _GetElement(index), [](auto const&...) {});
  } else if (m_disk_state_valid) {
    ElementOnDisk const& record = m_record->m_elements[index];
    m_record->m_temp_file->Open();
    MFile& file = m_record->m_temp_file->GetFile();
    file.SEEK(record.m_file_position, 0);
    WithUnpacker(*m_record,
                 [&](auto const& unpack) { VisitItems<ValueOf<Element>>(file, NumItems(record), unpack, take); });
  }
}

void M2DSliceComponentContours::GetContourPoint(unsigned long contour, unsigned long point, long& x, long& y) const {
  if (point != 0 && m_data_valid) {
    m_last_point = m_last_point->next;
    x = m_last_point->x;
    y = m_last_point->y;
    return;
  }
  if (Value2 next; point != 0 && ReadBufferedValue(*m_record, next)) {
    x = next.x;
    y = next.y;
    return;
  }
  OutOfLine([=, &x, &y] {
    if (m_data_valid) {
      m_last_point = _GetElement(contour).GetFirstPoint();
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
  if (Value4 next; !m_data_valid && index != 0 && ReadBufferedValue(*m_record, next)) {
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
  if (Value2 next; !m_data_valid && index != 0 && ReadBufferedValue(*m_record, next)) {
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
