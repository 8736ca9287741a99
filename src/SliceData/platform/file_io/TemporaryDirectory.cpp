#include <SliceData/platform/file_io/TemporaryDirectory.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace VelSDK::FileIO::FileSystem {

namespace {

constexpr char const* kNamePrefix = "velsdk-scratch-";
constexpr int kAttempts = 100;

[[noreturn]] void Throw(int error, std::string const& path, char const* what) {
  throw std::system_error(error, std::generic_category(), path + ": " + what);
}

/// 128 random bits as text.
std::string RandomName() {
  unsigned char bytes[16];
  if (::getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
    Throw(errno, "getrandom", "the system gives no random names for scratch files");
  }
  std::string name;
  for (unsigned char const byte : bytes) {
    name += "0123456789abcdef"[byte >> 4];
    name += "0123456789abcdef"[byte & 15];
  }
  return name;
}

/// A directory that is open and locked, or nothing.
class LockedDirectory {
 public:
  /// Fails quietly if `path` is no directory of this user or somebody holds its lock.
  explicit LockedDirectory(char const* path)
      : m_descriptor(::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
    struct stat opened {};
    struct stat named {};
    bool const is_ours = m_descriptor >= 0 && ::flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 &&
                         ::fstat(m_descriptor, &opened) == 0 && opened.st_uid == ::geteuid() &&
                         ::lstat(path, &named) == 0 && named.st_ino == opened.st_ino;
    int const error = errno;
    if (!is_ours) _Close();
    errno = error;
  }
  ~LockedDirectory() { _Close(); }
  LockedDirectory(LockedDirectory const&) = delete;
  LockedDirectory& operator=(LockedDirectory const&) = delete;

  explicit operator bool() const { return m_descriptor >= 0; }
  int GetDescriptor() const { return m_descriptor; }

 private:
  void _Close() {
    if (m_descriptor >= 0) ::close(std::exchange(m_descriptor, -1));
  }

  int m_descriptor;
};

std::vector<std::string> NamesIn(std::string const& directory) {
  struct Close {
    void operator()(DIR* stream) const { ::closedir(stream); }
  };
  std::vector<std::string> names;
  std::unique_ptr<DIR, Close> const stream(::opendir(directory.c_str()));
  if (stream == nullptr) return names;
  while (dirent const* const entry = ::readdir(stream.get())) names.emplace_back(entry->d_name);
  return names;
}

/// Removes what processes left behind that did not end in order: nobody holds the lock on their directory.
void RemoveLeftovers(std::string const& parent) {
  for (std::string const& name : NamesIn(parent)) {
    if (name.rfind(kNamePrefix, 0) != 0) continue;
    std::string const path = parent + "/" + name;
    LockedDirectory const directory(path.c_str());
    if (!directory) continue;
    for (std::string const& file : NamesIn(path)) ::unlinkat(directory.GetDescriptor(), file.c_str(), 0);
    ::rmdir(path.c_str());
  }
}

/// What a signal handler can read: the paths of the directories of this process. More than these are not removed by it.
constexpr std::size_t kMaxPathsForSignal = 16;
std::atomic<char const*> g_paths_for_signal[kMaxPathsForSignal];
/// The process whose they are: one that was forked off inherits the paths, but not the files.
std::atomic<int> g_process_of_paths{0};

/// Keeps a path where a signal handler finds it.
class PathForSignal {
 public:
  explicit PathForSignal(char const* path) : m_path(path) {
    _Exchange(nullptr, m_path);
    g_process_of_paths = ::getpid();
  }
  ~PathForSignal() { _Exchange(m_path, nullptr); }
  PathForSignal(PathForSignal const&) = delete;
  PathForSignal& operator=(PathForSignal const&) = delete;

 private:
  static void _Exchange(char const* old_path, char const* new_path) {
    for (auto& entry : g_paths_for_signal) {
      char const* expected = old_path;
      if (entry.compare_exchange_strong(expected, new_path)) return;
    }
  }

  char const* m_path;
};

/// A new directory of this process. A signal handler knows of it before it is there: otherwise one that came in between
/// would leave it behind.
struct ProcessDirectory {
  explicit ProcessDirectory(std::string const& directory_path)
      : path(directory_path),
        path_for_signal(path.c_str()),
        error(::mkdir(path.c_str(), 0700) == 0 ? 0 : errno),
        lock(error == 0 ? path.c_str() : "") {}

  std::string const path;
  int const process = ::getpid();
  PathForSignal const path_for_signal;
  int const error;  ///< of making it, or 0
  LockedDirectory const lock;
};

using ProcessDirectoryMap = std::map<std::string, std::unique_ptr<ProcessDirectory>>;

/// The directories of this process by the directory they lie in.
ProcessDirectoryMap& ProcessDirectories() {
  static auto* const directories = new ProcessDirectoryMap;
  return *directories;
}

/// Those of the process that this one was forked off stay that one's.
void ForgetInheritedDirectories() {
  auto& directories = ProcessDirectories();
  for (auto directory = directories.begin(); directory != directories.end();) {
    bool const is_own = directory->second != nullptr && directory->second->process == ::getpid();
    directory = is_own ? std::next(directory) : directories.erase(directory);
  }
}

ProcessDirectory& GetProcessDirectory(std::string const& parent) {
  ForgetInheritedDirectories();
  auto& directory = ProcessDirectories()[parent];
  if (directory != nullptr) return *directory;
  RemoveLeftovers(parent);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::string const path = parent + "/" + kNamePrefix + std::to_string(::getpid()) + "-" + RandomName();
    auto made = std::make_unique<ProcessDirectory>(path);
    int const error = errno;
    if (made->error == EEXIST) continue;
    if (made->error != 0)
      Throw(made->error, path, "cannot make a directory for scratch files; choose another one that is writable");
    if (made->lock) {
      directory = std::move(made);
      return *directory;
    }
    ::rmdir(path.c_str());
    if (error == EMFILE || error == ENFILE)
      Throw(error, path, "cannot lock a directory for scratch files, too many files are open");
    // Another process took it for a leftover before it was locked: once more.
  }
  Throw(EBUSY, parent, "cannot lock a directory for scratch files, which takes a local file system");
}

/// Takes no memory.
void RemoveIfEmpty(ProcessDirectoryMap::iterator directory) noexcept {
  auto& directories = ProcessDirectories();
  if (directory == directories.end() || directory->second == nullptr) return;
  if (::rmdir(directory->second->path.c_str()) == 0 || errno == ENOENT) directories.erase(directory);
}

/// Makes an empty file and returns its path.
std::string MakeFile(std::string const& parent) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::string path = GetProcessDirectory(parent).path + "/" + RandomName();  // not const: a copy could fail
    int const descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor >= 0) {
      ::close(descriptor);
      return path;
    }
    int const error = errno;
    if (error == ENOENT) {
      ProcessDirectories().erase(parent);  // somebody removed it; a new one is made
    } else if (error != EEXIST) {
      Throw(error, path, "cannot create a scratch file; free space or descriptors, or choose another directory");
    }
  }
  Throw(ENOENT, parent, "scratch files vanish as they are made; choose another directory");
}

}  // namespace

TemporaryDirectory::TemporaryDirectory(std::string directory) : m_directory(std::move(directory)) {
  if (m_directory.empty()) {
    char const* const from_environment = std::getenv("TMPDIR");
    m_directory = from_environment != nullptr && *from_environment != '\0' ? from_environment : "/var/tmp";
  }
  m_directory = std::filesystem::absolute(m_directory).string();  // files are opened again after a change of directory
}

std::string TemporaryDirectory::GetTemporaryFilePath() const {
  ProcessDirectories();
  try {
    return MakeFile(m_directory);
  } catch (...) {
    RemoveIfEmpty(ProcessDirectories().find(m_directory));  // it may have been made for this file
    throw;
  }
}

void TemporaryDirectory::RemoveAllFromSignalHandler() noexcept {
  struct Entry {  // as the system writes it
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t size;
    unsigned char type;
    char name[1];
  };
  if (g_process_of_paths != ::getpid()) return;
  for (auto const& entry : g_paths_for_signal) {
    char const* const path = entry.load();
    if (path == nullptr) continue;
    int const directory = ::open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (directory < 0) continue;
    alignas(Entry) char buffer[4096];
    for (long size; (size = ::syscall(SYS_getdents64, directory, buffer, sizeof buffer)) > 0;) {
      for (long at = 0; at < size;) {
        auto const* const file = reinterpret_cast<Entry const*>(buffer + at);
        ::unlinkat(directory, file->name, 0);
        at += file->size;
      }
    }
    ::close(directory);
    ::rmdir(path);
  }
}

void TemporaryDirectory::OnFileRemoved(std::string const& path) noexcept {
  auto& directories = ProcessDirectories();
  for (auto directory = directories.begin(); directory != directories.end(); ++directory) {
    if (directory->second == nullptr) continue;
    std::string const& own = directory->second->path;
    if (path.compare(0, own.size(), own) != 0 || path[own.size()] != '/') continue;
    RemoveIfEmpty(directory);
    return;
  }
}

}  // namespace VelSDK::FileIO::FileSystem
