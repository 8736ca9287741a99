#pragma once

#include <SliceData/platform/common/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

/// A file with one buffer for both directions. Offsets are 64 bits wide, values little-endian.
///
/// The buffer is a window on the file, `[m_base, m_base + length)`. Bytes that are written stay in it until they are
/// flushed: a failed flush keeps them, reads serve them, and a later attempt goes on. So a full disk loses nothing.
///
/// Use throws `std::system_error`, with path and cause, where bytes cannot be taken over or served: a write while the
/// buffer is full and cannot be flushed, a read past the end, a close with unwritten bytes. A file that could not be
/// opened is tried again at its next use.
class VELSDK_EXPORT MFile {
 public:
  /// `buffer_size`: bytes of the buffer, at least 64.
  explicit MFile(unsigned long buffer_size);
  MFile(MFile const&) = delete;
  MFile& operator=(MFile const&) = delete;

  // The order of the virtual operations is part of the interface.

  /// Moves to `offset` from the start (`origin` 0), the present position (1) or the end (2). A place inside the
  /// buffered range keeps the buffer.
  virtual void SEEK(long long offset, int origin);
  /// The present position.
  virtual long long TELL();
  /// Hands unwritten bytes to the system. False, with the bytes kept, if it does not take them.
  virtual bool FLUSH();
  /// Flushes and closes. Throws, with file and bytes kept, if that fails.
  virtual void CLOSE();
  /// Closes. Bytes that cannot be written are lost.
  virtual ~MFile();

  /// Creates the file or empties the one that is there. False if that is not possible.
  bool OPEN_WRITE(char const* path);
  /// Opens an existing file for both directions. Never creates one, follows no symbolic link. False if not possible.
  bool OPEN_UPDATE(char const* path);

  /// Forgets bytes that are not written yet.
  void DiscardUnwritten() noexcept;

  /// The bytes of the file, those not written yet included.
  long long GetSize() const { return _Size(); }
  /// False if the file is gone, or is shorter than what was written to it. New content belongs elsewhere then.
  bool IsWhole();
  /// True if the last thing done was a write.
  bool IsWriting() const { return m_write_end != m_buffer.get(); }
  /// Tells how many bytes the file must hold already: if it is found shorter, nothing more is written to it.
  void ExpectSize(long long size) { m_size_on_disk = m_size_on_disk > size ? m_size_on_disk : size; }

  void WRITE(char const* bytes, std::size_t count) { _Write(bytes, count); }
  void READ(char* bytes, std::size_t count) { _Read(bytes, count); }
  /// A `long` is 32 bits wide on disk: the low ones are written, and read back with their sign.
  void WRITE(long const* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      auto const narrow = static_cast<std::int32_t>(values[i]);
      _Write(&narrow, sizeof narrow);
    }
  }
  void READ(long* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      std::int32_t narrow;
      _Read(&narrow, sizeof narrow);
      values[i] = narrow;
    }
  }
  void WriteInt32(std::int32_t const* values, std::size_t count) { _Write(values, count * sizeof *values); }
  void ReadInt32(std::int32_t* values, std::size_t count) { _Read(values, count * sizeof *values); }
  void WriteInt16(std::uint16_t const* values, std::size_t count) { _Write(values, count * sizeof *values); }
  void WRITE(float const* values, std::size_t count) { _Write(values, count * sizeof *values); }

  /// Room for `bytes` bytes at the present position, to be filled by the caller and taken with `CommitWrite`: one check
  /// for many values. At most the size of the buffer.
  char* PrepareWrite(std::size_t bytes) {
    if (!_Holds(m_write_end, bytes)) _MakeRoom(bytes);
    return m_cursor;
  }
  void CommitWrite(std::size_t bytes) { m_cursor += bytes; }

  /// The next bytes of the file, `bytes` of them at least, to be taken with `CommitRead`. At most the size of the
  /// buffer.
  char const* PrepareRead(std::size_t bytes) {
    if (!_Holds(m_read_end, bytes)) _Refill(bytes);
    return m_cursor;
  }
  void CommitRead(std::size_t bytes) { m_cursor += bytes; }
  /// True if the next `bytes` bytes can be read from the buffer as it is.
  bool IsBuffered(std::size_t bytes) const { return _Holds(m_read_end, bytes); }

  std::size_t GetBufferSize() const { return m_capacity; }

 private:
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "values are copied as they lie in memory");

  /// True if `bytes` bytes lie from the cursor to `end`, which is not behind the cursor outside its mode.
  bool _Holds(char const* end, std::size_t bytes) const { return end - m_cursor >= static_cast<std::ptrdiff_t>(bytes); }

  void _Write(void const* bytes, std::size_t count) {
    if (!_Holds(m_write_end, count)) return _WriteSlow(static_cast<char const*>(bytes), count);
    std::memcpy(m_cursor, bytes, count);
    m_cursor += count;
  }

  void _Read(void* bytes, std::size_t count) {
    if (!_Holds(m_read_end, count)) return _ReadSlow(static_cast<char*>(bytes), count);
    std::memcpy(bytes, m_cursor, count);
    m_cursor += count;
  }

  bool _Open(char const* path, int flags);
  bool _OpenAgain();
  void _EnsureOpen();
  void _WriteSlow(char const* bytes, std::size_t count);
  void _ReadSlow(char* bytes, std::size_t count);
  void _MakeRoom(std::size_t bytes);
  void _Refill(std::size_t bytes);
  void _NoteWritten();
  void _LeaveModes();
  void _MoveWindow(long long position);
  bool _WriteOut();
  long long _Position() const;
  long long _Size() const;
  [[noreturn]] void _ThrowUnwritten();
  [[noreturn]] void _Throw(int error, char const* what) const;

  std::unique_ptr<char[]> m_buffer;
  std::size_t m_capacity;
  char* m_cursor;           ///< in the buffer; past the end of neither mode
  char* m_write_end;        ///< end of the buffer while writing, its start otherwise
  char* m_read_end;         ///< end of the valid bytes while reading, the start of the buffer otherwise
  char* m_valid_end;        ///< end of the bytes that the window holds
  char* m_unwritten_begin;  ///< bytes not yet handed to the system; none if the two are equal
  char* m_unwritten_end;
  long long m_base = 0;       ///< offset of the window in the file
  long long m_detached = -1;  ///< the position, if it is outside the window; -1 if it is the cursor's
  long long m_size_on_disk = 0;
  std::size_t m_next_read;  ///< grows while reads go on in sequence
  int m_descriptor = -1;
  int m_open_flags = 0;
  int m_last_error = 0;
  std::string m_path;
};
