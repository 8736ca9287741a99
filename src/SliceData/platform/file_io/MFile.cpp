#include <SliceData/platform/file_io/MFile.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

/// What the first read at a new place takes: a small record costs little, a long one soon reads the whole buffer at a
/// time.
constexpr std::size_t kFirstRead = 4096;

constexpr char const* kIsCut =
    "ends before the data that was written to it: someone else has cut it; keep others away from it";

}  // namespace

MFile::MFile(unsigned long buffer_size)
    : m_buffer(new char[std::max(buffer_size, 64ul)]),
      m_capacity(std::max(buffer_size, 64ul)),
      m_cursor(m_buffer.get()),
      m_write_end(m_cursor),
      m_read_end(m_cursor),
      m_valid_end(m_cursor),
      m_unwritten_begin(m_cursor),
      m_unwritten_end(m_cursor),
      m_next_read(kFirstRead) {}

MFile::~MFile() {
  if (m_descriptor < 0) return;
  MFile::FLUSH();
  ::close(m_descriptor);
}

bool MFile::OPEN_WRITE(char const* path) {
  return _Open(path, O_RDWR | O_CREAT | O_TRUNC);
}
bool MFile::OPEN_UPDATE(char const* path) {
  return _Open(path, O_RDWR | O_NOFOLLOW);
}

bool MFile::_Open(char const* path, int flags) {
  if (m_descriptor >= 0) CLOSE();
  m_path = path;
  m_open_flags = flags;
  m_size_on_disk = 0;
  return _OpenAgain();
}

/// What is known of the size stays: a file that was cut meanwhile is noticed.
bool MFile::_OpenAgain() {
  m_descriptor = ::open(m_path.c_str(), m_open_flags | O_CLOEXEC, 0666);
  if (m_descriptor < 0) {
    m_last_error = errno;
    return false;
  }
  m_open_flags &= ~(O_CREAT | O_TRUNC);  // from now on its content counts
  struct stat status {};
  if (::fstat(m_descriptor, &status) == 0) ExpectSize(status.st_size);
  return true;
}

void MFile::_EnsureOpen() {
  if (m_descriptor < 0 && !_OpenAgain()) _Throw(m_last_error, "cannot be opened; see whether it is still there");
}

void MFile::SEEK(long long offset, int origin) {
  if (origin == 0 && offset == _Position()) return;  // records are mostly read one after the other
  _LeaveModes();
  if (origin == 1) {
    offset += _Position();
  } else if (origin == 2) {
    _EnsureOpen();
    offset += _Size();
  }
  if (offset < 0) _Throw(EINVAL, "was asked for a place before its start");
  long long const window_end = m_base + (m_valid_end - m_buffer.get());
  if (offset >= m_base && offset <= window_end) {
    m_cursor = m_buffer.get() + (offset - m_base);
    m_detached = -1;
  } else {
    m_detached = offset;
    m_next_read = kFirstRead;
  }
}

long long MFile::TELL() {
  return _Position();
}

bool MFile::FLUSH() {
  _LeaveModes();  // what is written from now on has to be marked anew
  if (m_unwritten_begin == m_unwritten_end) return true;
  if (m_descriptor < 0 && !_OpenAgain()) return false;
  return _WriteOut();
}

bool MFile::IsWhole() {
  if (m_descriptor < 0 && !_OpenAgain()) return m_last_error != ENOENT && m_last_error != ELOOP;
  struct stat status {};
  return ::fstat(m_descriptor, &status) == 0 && status.st_nlink > 0 && status.st_size >= m_size_on_disk;
}

void MFile::CLOSE() {
  if (!MFile::FLUSH()) _ThrowUnwritten();
  DiscardUnwritten();
  m_detached = -1;
  m_base = 0;
  if (m_descriptor >= 0 && ::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR) {
    _Throw(errno, "cannot be closed");
  }
}

/// The window holds nothing afterwards.
void MFile::DiscardUnwritten() noexcept {
  long long const position = _Position();
  m_cursor = m_write_end = m_read_end = m_valid_end = m_unwritten_begin = m_unwritten_end = m_buffer.get();
  m_base = position;
  m_detached = -1;
  m_next_read = kFirstRead;
}

void MFile::_WriteSlow(char const* bytes, std::size_t count) {
  while (count > 0) {
    std::size_t const piece = std::min(count, m_capacity);
    std::memcpy(PrepareWrite(piece), bytes, piece);
    CommitWrite(piece);
    bytes += piece;
    count -= piece;
  }
}

void MFile::_ReadSlow(char* bytes, std::size_t count) {
  while (count > 0) {
    std::size_t const piece = std::min(count, m_capacity);
    std::memcpy(bytes, PrepareRead(piece), piece);
    CommitRead(piece);
    bytes += piece;
    count -= piece;
  }
}

/// Begins or goes on writing at the present position, with room for `bytes` bytes.
void MFile::_MakeRoom(std::size_t bytes) {
  assert(bytes <= m_capacity);
  _EnsureOpen();
  _LeaveModes();
  char* const end = m_buffer.get() + m_capacity;
  if (m_detached >= 0 || static_cast<std::size_t>(end - m_cursor) < bytes) _MoveWindow(_Position());
  if (m_unwritten_begin == m_unwritten_end) m_unwritten_begin = m_unwritten_end = m_cursor;
  m_unwritten_begin = std::min(m_unwritten_begin, m_cursor);
  m_write_end = end;
}

/// Begins or goes on reading at the present position, with `bytes` bytes in the window.
void MFile::_Refill(std::size_t bytes) {
  assert(bytes <= m_capacity);
  _EnsureOpen();
  _LeaveModes();
  if (m_detached >= 0 || static_cast<std::size_t>(m_valid_end - m_cursor) < bytes) {
    long long const position = _Position();
    bool const goes_on = m_detached < 0;
    std::size_t const kept = goes_on ? static_cast<std::size_t>(m_valid_end - m_cursor) : 0;
    if (m_unwritten_begin != m_unwritten_end && !_WriteOut()) _ThrowUnwritten();
    std::memmove(m_buffer.get(), m_cursor, kept);
    m_base = position;
    m_detached = -1;
    m_cursor = m_unwritten_begin = m_unwritten_end = m_buffer.get();
    m_valid_end = m_cursor + kept;
    if (goes_on) m_next_read = std::min(2 * m_next_read, m_capacity);
    std::size_t const wanted = std::min(std::max(m_next_read, bytes), m_capacity);
    while (static_cast<std::size_t>(m_valid_end - m_cursor) < bytes) {
      auto const have = static_cast<std::size_t>(m_valid_end - m_cursor);
      ssize_t const got = ::pread(m_descriptor, m_valid_end, wanted - have, m_base + static_cast<long long>(have));
      if (got > 0) {
        m_valid_end += got;
      } else if (got == 0) {
        _Throw(EIO, kIsCut);
      } else if (errno != EINTR) {
        _Throw(errno, "cannot be read");
      }
    }
  }
  m_read_end = m_valid_end;
}

/// While writing, the cursor alone tells how far; everyone else goes by the marks.
void MFile::_NoteWritten() {
  if (m_write_end == m_buffer.get()) return;
  m_unwritten_end = std::max(m_unwritten_end, m_cursor);
  m_valid_end = std::max(m_valid_end, m_cursor);
}

void MFile::_LeaveModes() {
  _NoteWritten();
  m_write_end = m_read_end = m_buffer.get();
}

void MFile::_MoveWindow(long long position) {
  if (m_unwritten_begin != m_unwritten_end && !_WriteOut()) _ThrowUnwritten();
  m_base = position;
  m_detached = -1;
  m_cursor = m_valid_end = m_unwritten_begin = m_unwritten_end = m_buffer.get();
}

/// Keeps what the system does not take. A file that has become shorter than what was written to it is not written on:
/// the gap would read as zeros.
bool MFile::_WriteOut() {
  struct stat status {};
  if (::fstat(m_descriptor, &status) == 0 && status.st_size < m_size_on_disk) {
    m_last_error = EIO;
    return false;
  }
  while (m_unwritten_begin != m_unwritten_end) {
    ssize_t const written =
        ::pwrite(m_descriptor, m_unwritten_begin, static_cast<std::size_t>(m_unwritten_end - m_unwritten_begin),
                 m_base + (m_unwritten_begin - m_buffer.get()));
    if (written < 0) {
      if (errno == EINTR) continue;
      m_last_error = errno;
      return false;
    }
    m_unwritten_begin += written;
    m_size_on_disk = std::max(m_size_on_disk, m_base + (m_unwritten_begin - m_buffer.get()));
  }
  return true;
}

long long MFile::_Position() const {
  return m_detached >= 0 ? m_detached : m_base + (m_cursor - m_buffer.get());
}

long long MFile::_Size() const {
  char const* const end = m_write_end != m_buffer.get() ? std::max(m_unwritten_end, m_cursor) : m_unwritten_end;
  return m_unwritten_begin == end ? m_size_on_disk : std::max(m_size_on_disk, m_base + (end - m_buffer.get()));
}

void MFile::_ThrowUnwritten() {
  if (!IsWhole()) _Throw(m_last_error, kIsCut);
  _Throw(m_last_error, "cannot take the bytes written to it; make room for them, they are kept");
}

void MFile::_Throw(int error, char const* what) const {
  throw std::system_error(error, std::generic_category(), m_path + ": the file " + what);
}
