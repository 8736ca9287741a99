#include <SliceData/platform/file_io/MInputFile.h>

#include <cassert>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

/// Tells the cause, where there is one, in front of the advice.
class InputError : public std::system_error {
 public:
  InputError(int error, std::string text) : system_error(error, std::generic_category()), m_text(std::move(text)) {}

  char const* what() const noexcept override { return m_text.c_str(); }

 private:
  std::string m_text;
};

/// \param advice  what to do, unless it is the system that lacks something
[[noreturn]] void Throw(int error, std::string const& path, char const* what, char const* advice) {
  if (error == EMFILE || error == ENFILE) advice = "close other files, or raise the limit (ulimit -n)";
  if (error == EIO) advice = "check the disk and try again";
  if (error == ENOMEM) advice = "close other programs and try again";
  throw InputError(error, path + ": " + what + ": " + std::generic_category().message(error) + "; " + advice);
}

}  // namespace

MInputFile::MInputFile(std::string path, Order order) : m_path(std::move(path)) {
  // Not blocking, so that a pipe is refused below instead of waited for.
  m_descriptor = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (m_descriptor < 0) Throw(errno, m_path, "cannot be opened", "check the name and the permissions");
  struct stat status {};
  if (::fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(m_descriptor);
    throw InputError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL,
                     m_path + ": is no regular file; give the name of a file");
  }
  m_size = status.st_size;
  if (order == Order::Sequential) static_cast<void>(::posix_fadvise(m_descriptor, 0, 0, POSIX_FADV_SEQUENTIAL));
}

MInputFile::MInputFile(MInputFile const& whole, long long offset, long long size, std::string path)
    : m_path(std::move(path)),
      m_descriptor(::fcntl(whole.m_descriptor, F_DUPFD_CLOEXEC, 0)),
      m_offset(whole.m_offset + offset),
      m_size(size) {
  assert(offset >= 0 && size >= 0 && offset <= whole.m_size && size <= whole.m_size - offset);
  if (m_descriptor < 0) Throw(errno, m_path, "cannot be opened", "close other files");
}

MInputFile::~MInputFile() {
  ::close(m_descriptor);
}

void MInputFile::Read(long long offset, void* buffer, std::size_t size) const {
  assert(offset >= 0 && offset <= m_size && static_cast<unsigned long long>(m_size - offset) >= size);
  auto* bytes = static_cast<char*>(buffer);
  offset += m_offset;
  while (size != 0) {
    ssize_t const got = ::pread(m_descriptor, bytes, size, offset);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) Throw(errno, m_path, "cannot be read", "check the disk");
    if (got == 0) {
      throw InputError(EIO, m_path + ": has become shorter while it was read; try again when nobody writes to it");
    }
    bytes += got;
    offset += got;
    size -= static_cast<std::size_t>(got);
  }
}
