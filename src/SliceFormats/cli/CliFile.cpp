#include <SliceFormats/cli/CliFile.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace SliceFormats {

namespace {

std::string Describe(int error) {
  return std::generic_category().message(error);
}

}  // namespace

CliFile::CliFile(std::string path) : m_path(std::move(path)) {
  // Not blocking, so that a pipe is refused below instead of waited for.
  m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (m_descriptor < 0) Fail("cannot be opened: " + Describe(errno) + "; check the name and the permissions");
  struct stat status {};
  if (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(m_descriptor);
    Fail("is no regular file; give the name of a CLI file");
  }
  m_size = status.st_size;
  static_cast<void>(::posix_fadvise(m_descriptor, 0, 0, POSIX_FADV_SEQUENTIAL));
}

CliFile::~CliFile() {
  ::close(m_descriptor);
}

void CliFile::Read(long long offset, char* buffer, std::size_t size) const {
  while (size != 0) {
    ssize_t const got = ::pread(m_descriptor, buffer, size, offset);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) Fail("cannot be read: " + Describe(errno) + "; check the disk");
    if (got == 0) Fail("has become shorter while it was read; try again when nobody writes to it");
    buffer += got;
    offset += got;
    size -= static_cast<std::size_t>(got);
  }
}

void CliFile::Fail(long long offset, std::string const& what) const {
  if (!m_is_text) throw FormatError(m_path, "byte " + std::to_string(offset), what);
  long long line = 1;
  CliWindow window(*this);
  for (long long at = 0; at < offset;) {
    char const* const bytes = window.At(at, 1);
    long long const count = std::min<long long>(window.GetEnd() - bytes, offset - at);
    line += std::count(bytes, bytes + count, '\n');
    at += count;
  }
  throw FormatError(m_path, "line " + std::to_string(line), what);
}

bool CliWindow::_Load(long long offset, std::size_t size) {
  if (offset < 0 || offset > m_file.GetSize() || m_file.GetSize() - offset < static_cast<long long>(size)) return false;
  auto const count = std::min<long long>(static_cast<long long>(kSize), m_file.GetSize() - offset);
  m_begin = m_end = offset;
  m_file.Read(offset, m_bytes.get(), static_cast<std::size_t>(count));
  m_end = offset + count;
  return true;
}

}  // namespace SliceFormats
