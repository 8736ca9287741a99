#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/serInt32_t.h>

#include <cassert>
#include <cstddef>
#include <cstring>

/// Takes the bytes of one binary value of a document. Single values cost a compare and a store.
///
/// Throws `std::system_error` where the bytes cannot be taken over.
class VELSDK_EXPORT MSAXStreamBinaryOut {
 public:
  /// The most that may be prepared at a time.
  static constexpr std::size_t kMaxPiece = 65536;

  MSAXStreamBinaryOut(MSAXStreamBinaryOut const&) = delete;
  MSAXStreamBinaryOut& operator=(MSAXStreamBinaryOut const&) = delete;

  /// Room for `bytes` bytes, at most `kMaxPiece`, to be filled by the caller and taken with `CommitWrite`.
  char* PrepareWrite(std::size_t bytes) {
    assert(bytes <= kMaxPiece);
    if (static_cast<std::size_t>(m_end - m_cursor) < bytes) _MakeRoom();
    return m_cursor;
  }
  void CommitWrite(std::size_t bytes) { m_cursor += bytes; }

  /// Appends any number of bytes.
  void Write(void const* bytes, std::size_t count);

 protected:
  MSAXStreamBinaryOut() = default;
  ~MSAXStreamBinaryOut() = default;

  /// Makes room for `kMaxPiece` bytes between cursor and end.
  virtual void _MakeRoom() = 0;

  char* m_cursor = nullptr;
  char* m_end = nullptr;
};

inline MSAXStreamBinaryOut& operator<<(MSAXStreamBinaryOut& out, serInt32_t const& integer) {
  std::int32_t const value = integer.GetValue();
  std::memcpy(out.PrepareWrite(sizeof value), &value, sizeof value);
  out.CommitWrite(sizeof value);
  return out;
}
