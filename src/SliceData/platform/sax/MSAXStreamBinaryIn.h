#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/serInt32_t.h>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Gives the bytes of one binary value of a document, from its first to its last.
///
/// Throws `MDocumentError` for a read past the end of the value, and where its bytes are not those that were written.
class VELSDK_EXPORT MSAXStreamBinaryIn {
 public:
  /// The most that may be prepared at a time.
  static constexpr std::size_t kMaxPiece = 65536;

  MSAXStreamBinaryIn(MSAXStreamBinaryIn const&) = delete;
  MSAXStreamBinaryIn& operator=(MSAXStreamBinaryIn const&) = delete;

  /// The bytes of the value that have not been taken yet.
  std::uint64_t GetRemaining() const { return m_rest + static_cast<std::uint64_t>(m_end - m_cursor); }

  /// The next bytes of the value, `bytes` of them at least, at most `kMaxPiece`, to be taken with `CommitRead`.
  char const* PrepareRead(std::size_t bytes) {
    assert(bytes <= kMaxPiece);
    if (static_cast<std::size_t>(m_end - m_cursor) < bytes) _Refill(bytes);
    return m_cursor;
  }
  void CommitRead(std::size_t bytes) { m_cursor += bytes; }

  void Read(void* bytes, std::size_t count);

 protected:
  MSAXStreamBinaryIn() = default;
  ~MSAXStreamBinaryIn() = default;

  /// Brings at least `bytes` bytes between cursor and end.
  virtual void _Refill(std::size_t bytes) = 0;

  char const* m_cursor = nullptr;
  char const* m_end = nullptr;
  std::uint64_t m_rest = 0;  ///< bytes of the value behind `m_end`
};

inline MSAXStreamBinaryIn& operator>>(MSAXStreamBinaryIn& in, serInt32_t integer) {
  std::int32_t value;
  std::memcpy(&value, in.PrepareRead(sizeof value), sizeof value);
  in.CommitRead(sizeof value);
  integer.SetValue(value);
  return in;
}
