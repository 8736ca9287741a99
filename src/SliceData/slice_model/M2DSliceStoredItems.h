#pragma once

#include <SliceData/slice_model/M2DSliceLayerElements.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// The items of an element as records on disk and documents store them: of each coordinate the low 32 bits,
/// little-endian; x and y of a point; x and y of the start and then those of the end of a vector.
///
/// A sink has `PrepareWrite` and `CommitWrite`, a source `PrepareRead` and `CommitRead`: one check for many items.
namespace M2DSliceStoredItems {

/// Items come and go in pieces of at most this many bytes.
constexpr std::size_t kPieceBytes = 32768;
/// How far ahead memory is asked for: the items of an element mostly lie side by side.
constexpr std::size_t kPrefetchBytes = 2048;

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are copied as they lie in memory");

struct Value2 {
  std::int32_t x, y;
};

struct Value4 {
  std::int32_t x1, y1, x2, y2;
};

inline std::int32_t Narrow(long value) {
  return static_cast<std::int32_t>(value);
}

inline Value2 ToStored(M2DSliceContourPoint const& point) {
  return {Narrow(point.x), Narrow(point.y)};
}
inline Value2 ToStored(M2DSlicePoint const& point) {
  return {Narrow(point.x), Narrow(point.y)};
}
inline Value4 ToStored(M2DSliceVector const& vector) {
  return {Narrow(vector.x1), Narrow(vector.y1), Narrow(vector.x2), Narrow(vector.y2)};
}

/// Turns stored values into an item.
struct AsStored {
  void operator()(Value2 const& stored, M2DSlicePoint& point) const { point = {stored.x, stored.y}; }
  void operator()(Value4 const& stored, M2DSliceVector& vector) const {
    vector = {stored.x1, stored.x2, stored.y1, stored.y2};
  }
};

/// What an item of an element is stored as.
template <class Element>
struct ValueOfElement {
  using Type = Value2;
};
template <>
struct ValueOfElement<M2DSliceVectorBlock> {
  using Type = Value4;
};
template <class Element>
using ValueOf = typename ValueOfElement<Element>::Type;

inline auto Items(M2DSliceContour const& contour) {
  return contour.GetPoints();
}
inline M2DSliceVectorBlock const& Items(M2DSliceVectorBlock const& block) {
  return block;
}
inline M2DSlicePointBlock const& Items(M2DSlicePointBlock const& block) {
  return block;
}

/// Gives the block room for so many items, or cuts it. Contours grow point by point.
inline void Resize(M2DSliceContour&, unsigned long) {}
inline void Resize(M2DSliceVectorBlock& block, unsigned long count) {
  block.resize(count);
}
inline void Resize(M2DSlicePointBlock& block, unsigned long count) {
  block.resize(count, M2DSlicePoint());
}

/// Writes all items of an element; `note` is called with each item and what is stored of it, and given back. What it
/// gathers thus stays in registers: bytes are written meanwhile, which might be those of anything outside.
template <class Sink, class Element, class Note>
Note WriteItems(Sink& sink, Element const& element, Note note) {
  using Value = ValueOf<Element>;
  constexpr unsigned long items_of_piece = kPieceBytes / sizeof(Value);
  auto item = Items(element).begin();
  for (unsigned long remaining = M2DSliceLayerElements::NumItems(element); remaining != 0;) {
    unsigned long const count = std::min(remaining, items_of_piece);
    char* out = sink.PrepareWrite(count * sizeof(Value));
    for (unsigned long i = 0; i < count; ++i, ++item, out += sizeof(Value)) {
      __builtin_prefetch(reinterpret_cast<char const*>(&*item) + kPrefetchBytes);
      Value const value = ToStored(*item);
      std::memcpy(out, &value, sizeof value);
      note(*item, value);
    }
    sink.CommitWrite(count * sizeof(Value));
    remaining -= count;
  }
  return note;
}

/// Hands the next `count` values to `take`, until that gives false.
template <class Value, class Source, class Take>
bool ReadValues(Source& source, unsigned long count, Take&& take) {
  constexpr unsigned long values_of_piece = kPieceBytes / sizeof(Value);
  while (count != 0) {
    unsigned long const piece = std::min(count, values_of_piece);
    char const* in = source.PrepareRead(piece * sizeof(Value));
    for (unsigned long i = 0; i < piece; ++i, in += sizeof(Value)) {
      Value value;
      std::memcpy(&value, in, sizeof value);
      if (!take(value)) return false;
    }
    source.CommitRead(piece * sizeof(Value));
    count -= piece;
  }
  return true;
}

/// Reads `count` items: appends them to a contour, or overwrites the first ones of a block.
template <class Source, class Unpack>
void ReadItems(Source& source, unsigned long count, Unpack const& unpack, M2DSliceContour& contour) {
  ReadValues<Value2>(source, count, [&](Value2 const& value) {
    M2DSlicePoint point;
    unpack(value, point);
    contour.AddPoint(point.x, point.y);
    return true;
  });
}

template <class Source, class Unpack, class Block>
void ReadItems(Source& source, unsigned long count, Unpack const& unpack, Block& block) {
  auto item = block.begin();
  ReadValues<ValueOf<Block>>(source, count, [&](auto const& value) {
    unpack(value, *item++);
    return true;
  });
}

}  // namespace M2DSliceStoredItems
