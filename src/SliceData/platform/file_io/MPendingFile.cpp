#include <SliceData/platform/file_io/MPendingFile.h>

#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

// The paths of the temporary files that exist. A path belongs to the file that put it there. While a signal handler
// reads it, the slot holds `g_in_use` instead, and the file waits for its path to come back before it frees it.
using PathSlot = std::atomic<char*>;
static_assert(PathSlot::is_always_lock_free, "a signal handler uses the slots");
std::array<PathSlot, 16384> g_pending_paths{};
char g_in_use = 0;
/// Whose the paths are: a process that was forked off inherits them, but not the files.
std::array<std::atomic<int>, g_pending_paths.size()> g_processes{};

/// The slot taken, or -1 if there is none left; the file is then beyond the reach of a signal handler.
int Enlist(char* path) {
  for (std::size_t i = 0; i < g_pending_paths.size(); ++i) {
    char* expected = nullptr;
    if (!g_pending_paths[i].compare_exchange_strong(expected, path)) continue;
    g_processes[i] = ::getpid();
    return static_cast<int>(i);
  }
  return -1;
}

void Delist(int slot, char* path) {
  if (slot < 0) return;
  for (char* expected = path;
       !g_pending_paths[static_cast<std::size_t>(slot)].compare_exchange_weak(expected, nullptr);) {
    expected = path;
  }
}

[[noreturn]] void Throw(int error, std::string const& path, char const* what) {
  throw std::system_error(error, std::generic_category(), path + ": " + what);
}

/// Absolute, so that it means the same file after the process has changed its directory; the target of a symbolic link
/// instead of the link.
std::string GetFinalPath(std::string const& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) Throw(EISDIR, path, "cannot be written; give the name of a file");
    if (!S_ISREG(status.st_mode)) Throw(EINVAL, path, "is no regular file and cannot be replaced; give another name");
    std::unique_ptr<char, decltype(&std::free)> const resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (resolved == nullptr) Throw(errno, path, "cannot be written");
    return resolved.get();
  }
  auto const slash = path.rfind('/');
  std::string const name = slash == std::string::npos ? path : path.substr(slash + 1);
  std::string const directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  if (name.empty() || name == "." || name == "..") Throw(EINVAL, path, "is no file name; give the name of a file");
  std::unique_ptr<char, decltype(&std::free)> const resolved(::realpath(directory.c_str(), nullptr), &std::free);
  if (resolved == nullptr) Throw(errno, path, "its directory cannot be used");
  std::string result = resolved.get();
  if (result.back() != '/') result += '/';
  return result + name;
}

std::string GetDirectory(std::string const& absolute_path) {
  return absolute_path.substr(0, absolute_path.rfind('/') + 1);
}

std::unique_ptr<char[]> MakeTemporaryPath(std::string const& final_path) {
  std::array<std::uint64_t, 2> random{};
  if (::getrandom(random.data(), sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
    Throw(errno, final_path, "no random name for the temporary file");
  }
  std::array<char, 64> name{};
  int const length =
      std::snprintf(name.data(), name.size(), ".pending-%016llx%016llx", static_cast<unsigned long long>(random[0]),
                    static_cast<unsigned long long>(random[1]));
  std::string const path = GetDirectory(final_path).append(name.data(), static_cast<std::size_t>(length));
  std::unique_ptr<char[]> result(new char[path.size() + 1]);
  std::memcpy(result.get(), path.c_str(), path.size() + 1);
  return result;
}

bool WriteFully(int descriptor, char const* data, std::size_t size, long long offset) {
  while (size != 0) {
    ssize_t const written = ::pwrite(descriptor, data, size, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = ENOSPC;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
    offset += written;
  }
  return true;
}

}  // namespace

MPendingFile::MPendingFile(std::string path)
    : m_path(std::move(path)),
      m_final_path(GetFinalPath(m_path)),
      m_temporary_path(MakeTemporaryPath(m_final_path)),
      m_buffer(new char[kBufferSize]),
      m_process(::getpid()) {
  // Listed before it exists, so that a signal in between leaves nothing behind.
  m_slot = Enlist(m_temporary_path.get());
  m_descriptor = ::open(m_temporary_path.get(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (m_descriptor < 0) {
    int const error = errno;
    _CloseAndForget();
    Throw(error, m_path, "cannot be created");
  }
  // The file that is replaced may be private, or a group's: the new one is as it was, as far as that is allowed.
  struct stat replaced {};
  if (::stat(m_final_path.c_str(), &replaced) == 0) {
    static_cast<void>(::fchown(m_descriptor, replaced.st_uid, replaced.st_gid) == 0);
    static_cast<void>(::fchmod(m_descriptor, replaced.st_mode & 0777));
  }
}

MPendingFile::~MPendingFile() {
  if (m_descriptor >= 0 && m_process == ::getpid()) ::unlink(m_temporary_path.get());
  _CloseAndForget();
}

void MPendingFile::Write(void const* data, std::size_t size) {
  auto const* bytes = static_cast<char const*>(data);
  if (kBufferSize - m_buffered < size) {
    _Flush();
    if (size >= kBufferSize) {
      if (!WriteFully(m_descriptor, bytes, size, m_flushed)) _Fail(errno, "cannot be written");
      m_flushed += static_cast<long long>(size);
      return;
    }
  }
  if (size != 0) std::memcpy(m_buffer.get() + m_buffered, bytes, size);
  m_buffered += size;
}

void MPendingFile::WriteAt(long long offset, void const* data, std::size_t size) {
  assert(offset >= 0 && offset + static_cast<long long>(size) <= TellSize());
  _Flush();
  if (!WriteFully(m_descriptor, static_cast<char const*>(data), size, offset)) _Fail(errno, "cannot be written");
}

void MPendingFile::Seal(bool durable) {
  if (m_is_sealed) return;
  _Flush();
  if (durable && ::fsync(m_descriptor) != 0) _Fail(errno, "cannot be brought to the disk");
  m_is_sealed = true;
}

void MPendingFile::Commit(bool durable) {
  Seal(durable);
  std::string const directory_path = GetDirectory(m_final_path);  // takes memory, and nothing may after the renaming
  int const closed = ::close(std::exchange(m_descriptor, -1));
  int error = closed != 0 ? errno : 0;
  if (error == 0 && ::rename(m_temporary_path.get(), m_final_path.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(m_temporary_path.get());
    _Fail(error, "cannot be put in its place");
  }
  _CloseAndForget();
  if (!durable) return;

  int const directory = ::open(directory_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return;  // a directory that may be written but not read: the name cannot be made safer
  error = ::fsync(directory) != 0 ? errno : 0;
  ::close(directory);
  if (error != 0 && error != EINVAL && error != ENOTSUP) {
    throw NameNotDurable(error, std::generic_category(),
                         m_path + ": is written, but its name may not survive a power failure");
  }
}

void MPendingFile::RemoveAllPendingFromSignalHandler() noexcept {
  int const error = errno;
  int const process = ::getpid();
  for (std::size_t i = 0; i < g_pending_paths.size(); ++i) {
    if (g_processes[i] != process) continue;
    PathSlot& slot = g_pending_paths[i];
    char* path = slot.load();
    if (path == nullptr || path == &g_in_use || !slot.compare_exchange_strong(path, &g_in_use)) continue;
    ::unlink(path);
    slot.store(path);
  }
  errno = error;
}

void MPendingFile::_Flush() {
  if (m_failed || m_descriptor < 0) Throw(EIO, m_path, "has failed before and cannot be finished; write it anew");
  if (!WriteFully(m_descriptor, m_buffer.get(), m_buffered, m_flushed)) _Fail(errno, "cannot be written");
  m_flushed += static_cast<long long>(m_buffered);
  m_buffered = 0;
}

void MPendingFile::_Fail(int error, char const* what) {
  m_failed = true;
  Throw(error, m_path, what);
}

void MPendingFile::_CloseAndForget() noexcept {
  if (m_descriptor >= 0) ::close(std::exchange(m_descriptor, -1));
  Delist(std::exchange(m_slot, -1), m_temporary_path.get());
  m_temporary_path.reset();
}
