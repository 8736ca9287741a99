#include <SliceData/platform/file_io/FileLocking.h>
#include <SliceData/platform/file_io/MFileLock.h>
#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/file_io/ReadWriteFully.h>
#include <SliceData/platform/file_io/RemovedOnSignal.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

// The lock file holds one line, "PROCESS HOST MARK". Its holder also has the system's lock on it, where there is one:
// that ends with the process, so a file whose system lock is free, although it would be seen here (the mark says so),
// is one of a dead process. Whoever removes it takes the system lock first, so that two do not remove it one after the
// other, the second one the file of a new holder.

namespace {

constexpr auto kPause = std::chrono::milliseconds(10);
constexpr int kAttempts = 1000;
constexpr std::size_t kMaxLine = 512;
/// A file without its line is being made, unless it is older than this, in seconds.
constexpr std::time_t kTimeToWriteLine = 2;

/// A descriptor that is closed in the end.
class OpenFile {
 public:
  explicit OpenFile(int descriptor) : m_descriptor(descriptor) {}
  ~OpenFile() {
    if (m_descriptor >= 0) ::close(m_descriptor);
  }
  OpenFile(OpenFile const&) = delete;
  OpenFile& operator=(OpenFile const&) = delete;

  int Get() const { return m_descriptor; }
  int Release() { return std::exchange(m_descriptor, -1); }

 private:
  int m_descriptor;
};

/// Holds signals back, so that one finds the lock file listed for removal, or not there.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &m_before);
  }
  ~SignalsHeldBack() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
  SignalsHeldBack(SignalsHeldBack const&) = delete;
  SignalsHeldBack& operator=(SignalsHeldBack const&) = delete;

 private:
  sigset_t m_before;
};

[[noreturn]] void Throw(int error, std::string const& path, char const* what) {
  throw std::system_error(error, std::generic_category(), path + ": " + what);
}

std::string MakeLine(std::string_view mark) {
  utsname system{};
  std::string host = ::uname(&system) == 0 ? system.nodename : "";
  if (host.empty() || host.find_first_of(" \n") != std::string::npos) host = "?";
  return std::to_string(::getpid()) + ' ' + host + ' ' + std::string(mark) + '\n';
}

bool IsYoung(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return false;
  std::time_t const age = std::time(nullptr) - status.st_mtime;
  return age >= 0 && age < kTimeToWriteLine;
}

}  // namespace

MFileLock::MFileLock(std::string const& path) : m_path(MPendingFile::FindFinalPath(path) + ".lock") {}

MFileLock::~MFileLock() {
  if (m_descriptor < 0) return;
  SignalsHeldBack const held_back;
  // Somebody who took us for dead may have removed the file, and another one has it now.
  if (m_file->IsOurs() && FileLocking::HasName(m_descriptor, m_path.c_str()) != false) ::unlink(m_path.c_str());
  ::close(m_descriptor);
  m_file.reset();
}

bool MFileLock::TryLock() {
  if (m_descriptor >= 0) return true;
  for (int i = 0; i < kAttempts; ++i) {
    Attempt const attempt = _Attempt();
    if (attempt != Attempt::Again) return attempt == Attempt::Taken;
  }
  Throw(EBUSY, m_path, "the lock file vanishes as it is made");
}

bool MFileLock::LockUntil(Clock::time_point deadline) {
  while (!TryLock()) {
    auto const left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) return false;
    std::this_thread::sleep_for(std::min<Clock::duration>(left, kPause));
  }
  return true;
}

std::string MFileLock::DescribeHolder() const {
  return m_process != 0 ? "process " + std::to_string(m_process) + " on '" + m_host + "'" : "another process";
}

/// Whatever takes memory comes before the file is there.
MFileLock::Attempt MFileLock::_Attempt() {
  SignalsHeldBack const held_back;
  std::string const line_if_locked = MakeLine(FileLocking::GetMark());
  std::string const line_if_not = MakeLine(FileLocking::kNotLocked);
  auto listed = std::make_unique<RemovedOnSignal>(m_path);
  OpenFile file(::open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (file.Get() < 0) {
    int const error = errno;
    listed.reset();  // it may be somebody else's
    if (error == EEXIST) return _Judge();
    Throw(error, m_path, "this lock file cannot be made, for which its folder has to be writable");
  }
  auto const outcome = FileLocking::TryLock(file.Get());
  if (outcome == FileLocking::Outcome::Busy) return Attempt::Again;  // somebody takes it for that of a dead process
  auto const has_name = FileLocking::HasName(file.Get(), m_path.c_str());
  if (has_name == false) return Attempt::Again;
  if (!has_name) {
    int const error = errno;
    ::unlink(m_path.c_str());  // nobody else takes a file that is so young
    Throw(error, m_path, "the lock file cannot be looked at");
  }
  std::string const& line = outcome == FileLocking::Outcome::Taken ? line_if_locked : line_if_not;
  if (!WriteFully(file.Get(), line.data(), line.size(), 0)) {
    int const error = errno;
    ::unlink(m_path.c_str());
    Throw(error, m_path, "the lock file cannot be written");
  }
  m_file = std::move(listed);
  m_descriptor = file.Release();
  return Attempt::Taken;
}

/// Looks at a lock file that is there, and removes it if its process is dead.
MFileLock::Attempt MFileLock::_Judge() {
  m_host.clear();
  m_process = 0;
  m_may_be_dead = true;
  OpenFile const file(FileLocking::Open(AT_FDCWD, m_path.c_str()));
  if (file.Get() < 0 && errno == ENOENT) return Attempt::Again;
  struct stat status {};
  bool const is_regular = file.Get() < 0 ? errno != ELOOP && errno != EISDIR && errno != ENXIO
                                         : ::fstat(file.Get(), &status) != 0 || S_ISREG(status.st_mode);
  if (!is_regular) Throw(EINVAL, m_path, "is no lock file; move it away");
  if (file.Get() < 0) return Attempt::Held;

  std::string line;
  if (!ReadStart(file.Get(), kMaxLine, line)) return Attempt::Held;
  bool is_seen = false;
  if (line.empty()) {
    if (IsYoung(file.Get())) {
      std::this_thread::sleep_for(kPause);
      return Attempt::Again;
    }
    is_seen = FileLocking::IsLocal(file.Get());
  } else {
    std::string mark;  // stays empty in a file of somebody else
    std::istringstream(line) >> m_process >> m_host >> mark;
    is_seen = FileLocking::IsSeenHere(file.Get(), mark);
  }
  auto const outcome = FileLocking::TryLock(file.Get());
  m_may_be_dead = outcome != FileLocking::Outcome::Busy;
  if (outcome != FileLocking::Outcome::Taken || !is_seen) return Attempt::Held;
  // Another one may have removed it before us, and made the next.
  auto const has_name = FileLocking::HasName(file.Get(), m_path.c_str());
  if (!has_name) Throw(errno, m_path, "the lock file cannot be looked at");
  bool const is_gone = !*has_name || ::unlink(m_path.c_str()) == 0;
  return is_gone ? Attempt::Again : Attempt::Held;
}
