#include <SliceData/platform/file_io/FileLocking.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/ReadWriteFully.h>
#include <SliceData/platform/file_io/RemovedOnSignal.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <set>
#include <sys/random.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

// A temporary file is called `.pending-MARK-RANDOM`. Its writer holds a lock on it until it has its final name; the
// mark says where this lock can be seen, or that the file system gave none (see FileLocking.h). A file whose lock is
// free although it would be seen has no writer any more.
//
// It may also have one that is just between making and locking it. So whoever removes a file holds its lock meanwhile,
// and a writer that does not get the lock, or finds the file gone after it, makes another one.

namespace {

constexpr std::string_view kPrefix = ".pending-";
constexpr std::size_t kRandomSize = 32;
constexpr int kAttempts = 100;
/// Names of a directory that are looked through for leftovers: some milliseconds.
constexpr int kMaxNames = 10000;

[[noreturn]] void Throw(int error, std::string const& path, char const* what) {
  throw std::system_error(error, std::generic_category(), path + ": " + what);
}

std::string GetDirectory(std::string const& absolute_path) {
  return absolute_path.substr(0, absolute_path.rfind('/') + 1);
}

std::string MakeTemporaryPath(std::string const& final_path, std::string_view mark) {
  std::array<std::uint64_t, 2> random{};
  if (::getrandom(random.data(), sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
    Throw(errno, final_path, "no random name for the temporary file");
  }
  std::array<char, kRandomSize + 1> text{};
  std::snprintf(text.data(), text.size(), "%016llx%016llx", static_cast<unsigned long long>(random[0]),
                static_cast<unsigned long long>(random[1]));
  return GetDirectory(final_path).append(kPrefix).append(mark).append("-").append(text.data());
}

/// The mark in the name of a temporary file; empty for any other name.
std::string_view FindMark(std::string_view name) {
  constexpr std::size_t kMarkEnd = kPrefix.size() + FileLocking::kMarkSize;
  bool const is_ours =
      name.size() == kMarkEnd + 1 + kRandomSize && name.substr(0, kPrefix.size()) == kPrefix && name[kMarkEnd] == '-';
  return is_ours ? name.substr(kPrefix.size(), FileLocking::kMarkSize) : std::string_view();
}

/// Removes a temporary file of this user whose writer is dead.
void RemoveIfLeftover(int directory, char const* name) {
  std::string_view const mark = FindMark(name);
  if (mark.empty()) return;
  int const file = FileLocking::Open(directory, name);
  if (file < 0) return;
  struct stat status {};
  if (::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
      FileLocking::IsSeenHere(file, mark) && FileLocking::TryLock(file) == FileLocking::Outcome::Taken) {
    ::unlinkat(directory, name, 0);
  }
  ::close(file);
}

/// Removes what dead processes left in a directory, once a process.
void RemoveLeftovers(std::string const& directory) {
  static std::mutex mutex;
  static auto* const cleaned = new std::set<std::string>;
  {
    std::lock_guard<std::mutex> const lock(mutex);
    if (!cleaned->insert(directory).second) return;
  }
  DIR* const stream = ::opendir(directory.c_str());
  if (stream == nullptr) return;  // one that may be written but not read
  dirent const* entry = nullptr;
  for (int i = 0; i < kMaxNames && (entry = ::readdir(stream)) != nullptr; ++i) {
    RemoveIfLeftover(::dirfd(stream), entry->d_name);
  }
  ::closedir(stream);
}

/// What a network file system keeps back until a descriptor is closed. Ours stays open.
bool FlushByClosing(int descriptor) {
  int const copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  return copy >= 0 && ::close(copy) == 0;
}

}  // namespace

MPendingFile::MPendingFile(std::string path, Existing existing)
    : m_path(std::move(path)),
      m_final_path(FindFinalPath(m_path)),
      m_existing(existing),
      m_buffer(new char[kBufferSize]) {
  struct stat replaced {};
  bool const replaces = ::stat(m_final_path.c_str(), &replaced) == 0;
  if (replaces && existing == Existing::Keep) Throw(EEXIST, m_path, "is there already");
  RemoveLeftovers(GetDirectory(m_final_path));
  _CreateTemporaryFile();
  // The file that is replaced may be private, or a group's: the new one is as it was, as far as that is allowed.
  if (replaces) {
    static_cast<void>(::fchown(m_descriptor, replaced.st_uid, replaced.st_gid) == 0);
    static_cast<void>(::fchmod(m_descriptor, replaced.st_mode & 0777));
  }
}

MPendingFile::~MPendingFile() {
  if (m_descriptor >= 0 && m_temporary->IsOurs()) ::unlink(m_temporary->GetPath().c_str());
  _CloseAndForget();
}

void MPendingFile::Write(void const* data, std::size_t size) {
  assert(m_sealed == Sealed::No);
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
  assert(m_sealed == Sealed::No && offset >= 0 && offset + static_cast<long long>(size) <= TellSize());
  _Flush();
  if (!WriteFully(m_descriptor, static_cast<char const*>(data), size, offset)) _Fail(errno, "cannot be written");
}

void MPendingFile::Seal(bool durable) {
  Sealed const wanted = durable ? Sealed::OnDisk : Sealed::Written;
  if (m_sealed >= wanted) return;
  _Flush();
  bool const is_on_disk = durable ? ::fsync(m_descriptor) == 0 : FlushByClosing(m_descriptor);
  if (!is_on_disk) _Fail(errno, "cannot be brought to the disk");
  m_sealed = wanted;
}

void MPendingFile::Commit(bool durable) {
  Seal(durable);
  std::string const directory_path = GetDirectory(m_final_path);  // takes memory, and nothing may after the renaming
  // With its lock, or it would be taken for a leftover.
  int error = _GiveName();
  if (error != 0) {
    ::unlink(m_temporary->GetPath().c_str());
    _Fail(error, error == EEXIST ? "another process has made it meanwhile" : "cannot be put in its place");
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

std::string MPendingFile::FindFinalPath(std::string const& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) Throw(EISDIR, path, "cannot be written; give the name of a file");
    if (!S_ISREG(status.st_mode)) Throw(EINVAL, path, "is no regular file and cannot be replaced; give another name");
    std::unique_ptr<char, decltype(&std::free)> const resolved(::realpath(path.c_str(), nullptr), &std::free);
    if (resolved == nullptr) Throw(errno, path, "cannot be written");
    return resolved.get();
  }
  if (errno != ENOENT) Throw(errno, path, "cannot be written");
  // A link to a file that is not there yet. The system has followed it: it goes round in no circle.
  std::filesystem::path target = path;
  for (std::error_code error; std::filesystem::is_symlink(target, error);) {
    target = target.parent_path() / std::filesystem::read_symlink(target);
  }
  std::string const name = target.filename().string();
  if (name.empty() || name == "." || name == "..") Throw(EINVAL, path, "is no file name; give the name of a file");
  std::string const directory = target.has_parent_path() ? target.parent_path().string() : ".";
  std::unique_ptr<char, decltype(&std::free)> const resolved(::realpath(directory.c_str(), nullptr), &std::free);
  if (resolved == nullptr) Throw(errno, path, "its directory cannot be used");
  std::string result = resolved.get();
  if (result.back() != '/') result += '/';
  return result + name;
}

void MPendingFile::RemoveAllPendingFromSignalHandler() noexcept {
  RemovedOnSignal::RemoveAll();
}

void MPendingFile::_CreateTemporaryFile() {
  std::string_view mark = FileLocking::GetMark();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    m_temporary = std::make_unique<RemovedOnSignal>(MakeTemporaryPath(m_final_path, mark));
    char const* const path = m_temporary->GetPath().c_str();
    m_descriptor = ::open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (m_descriptor < 0) Throw(errno, m_path, "cannot be created");
    if (mark == FileLocking::kNotLocked) return;
    auto const outcome = FileLocking::TryLock(m_descriptor);
    if (outcome == FileLocking::Outcome::Taken && FileLocking::HasName(m_descriptor, path) != false) return;
    if (outcome == FileLocking::Outcome::NotPossible) mark = FileLocking::kNotLocked;
    ::unlink(path);
    ::close(std::exchange(m_descriptor, -1));
  }
  Throw(EBUSY, m_path, "other processes take its temporary file for a leftover");
}

/// The error, or 0. To keep what exists there are three ways, as no file system knows all of them. Each one fails if
/// the name is taken.
int MPendingFile::_GiveName() const {
  char const* const from = m_temporary->GetPath().c_str();
  char const* const to = m_final_path.c_str();
  if (m_existing == Existing::Replace) return ::rename(from, to) == 0 ? 0 : errno;

  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  // A network may lose the answer and ask again: then the name is taken by this file.
  if (::link(from, to) == 0 || FileLocking::HasName(m_descriptor, to) == true) {
    ::unlink(from);
    return 0;
  }
  // An empty file holds the name until ours replaces it.
  int const claim = ::open(to, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (claim < 0) return errno;
  ::close(claim);
  if (::rename(from, to) == 0) return 0;
  int const error = errno;
  ::unlink(to);
  return error;
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
  m_temporary.reset();
}
