#include <SliceData/platform/file_io/FileLocking.h>
#include <SliceData/platform/file_io/ReadWriteFully.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace FileLocking {

namespace {

constexpr unsigned long kZfsMagic = 0x2fc12fc1;  // not in the system's list
constexpr unsigned long kLocalFileSystems[] = {EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC,       BTRFS_SUPER_MAGIC,
                                               F2FS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC, TMPFS_MAGIC,
                                               kZfsMagic};

std::string ReadMark() {
  std::string text;
  int const file = ::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
  bool const is_read = file >= 0 && ReadStart(file, 64, text);
  if (file >= 0) ::close(file);
  std::string mark;
  std::copy_if(text.begin(), text.end(), std::back_inserter(mark),
               [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
  return is_read && mark.size() > kMarkSize ? mark.substr(0, kMarkSize) : std::string(kNotLocked);
}

}  // namespace

Outcome TryLock(int descriptor) {
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return Outcome::Busy;
    if (errno != EINTR) return Outcome::NotPossible;
  }
  return Outcome::Taken;
}

int Open(int directory, char const* name) {
  constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  int const descriptor = ::openat(directory, name, O_RDWR | kFlags);
  return descriptor < 0 && errno == EACCES ? ::openat(directory, name, O_RDONLY | kFlags) : descriptor;
}

std::string const& GetMark() {
  static std::string const mark = ReadMark();
  return mark;
}

bool IsSeenHere(int descriptor, std::string_view mark) {
  return mark.size() == kMarkSize && mark != kNotLocked && (mark == GetMark() || IsLocal(descriptor));
}

bool IsLocal(int descriptor) {
  struct statfs system {};
  return ::fstatfs(descriptor, &system) == 0 &&
         std::find(std::begin(kLocalFileSystems), std::end(kLocalFileSystems),
                   static_cast<unsigned long>(system.f_type)) != std::end(kLocalFileSystems);
}

std::optional<bool> HasName(int descriptor, char const* path) {
  struct stat opened {};
  struct stat named {};
  if (::fstat(descriptor, &opened) != 0 || (::lstat(path, &named) != 0 && errno != ENOENT)) return std::nullopt;
  return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace FileLocking
