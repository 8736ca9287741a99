// Lets chosen calls of a program go wrong. Loaded before it by LD_PRELOAD, this counts its calls by kind from `main` on
// and strikes the one that the environment names:
//
//   FAULT=KIND:N:EFFECT[:ever]  the N-th call of a kind in `kKinds`, or that and all later ones. EFFECT is eERRNO (it
//                               fails with this number), sSIGNAL (a signal comes first) or short (half the bytes)
//   FAULT_LOG=FILE              gets the number of calls of each kind at the end, and what was struck first
//
// The definitions here have names of their own in C++ and the system's for the linker, so that they need not agree with
// the headers of each C library in every attribute.

#include "inject.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iterator>
#include <string_view>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#define SHOWN __attribute__((visibility("default")))

namespace {

constexpr std::string_view kKinds[] = {"open",    "read",   "write", "close",  "fsync", "truncate", "rename",
                                       "link",    "unlink", "mkdir", "mmap",   "flock", "fcntl",    "getrandom",
                                       "readdir", "stat",   "chmod", "memory", "any"};

/// The place of a kind in the list; its end for a name that is none.
constexpr std::size_t Kind(std::string_view name) {
  std::size_t kind = 0;
  while (kind < std::size(kKinds) && kKinds[kind] != name) ++kind;
  return kind;
}

enum class Verdict { Pass, Fail, Shorten };

struct Fault {
  std::size_t kind = std::size(kKinds);
  long number = 0;
  char effect = 'e';
  int value = 0;
  bool for_ever = false;
};

Fault g_fault;
long g_calls[std::size(kKinds)];
long g_strikes = 0;
int g_pauses = 1;  // until `main` begins
char g_struck[600];

/// What a call is about.
struct Place {
  Place(char const* name) : path(name == nullptr ? "" : name) {}  // NOLINT(google-explicit-constructor)
  Place(int file) : descriptor(file) {}                           // NOLINT(google-explicit-constructor)
  Place(DIR*) {}                                                  // NOLINT(google-explicit-constructor)

  char const* path = "";
  int descriptor = -1;
};

void NoteStrike(std::size_t kind, Place const& place) {
  char path[500] = "";
  if (place.descriptor >= 0) {
    char link[40];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", place.descriptor);
    ::syscall(SYS_readlinkat, AT_FDCWD, link, path, sizeof path - 1);
  }
  std::snprintf(g_struck, sizeof g_struck, "%s %s%s", kKinds[kind].data(), place.path, path);
}

Verdict Judge(std::size_t kind, Place const& place) {
  // What is written to standard error is how a program tells of the fault.
  if (g_pauses != 0 || place.descriptor == STDERR_FILENO) return Verdict::Pass;
  ++g_calls[kind];
  if (kind != Kind("memory")) ++g_calls[Kind("any")];
  if (g_fault.kind != kind && (g_fault.kind != Kind("any") || kind == Kind("memory"))) return Verdict::Pass;
  long const number = g_calls[g_fault.kind];
  if (number < g_fault.number || (number > g_fault.number && !g_fault.for_ever)) return Verdict::Pass;
  if (g_strikes++ == 0) NoteStrike(kind, place);
  if (g_fault.value == 0) return Verdict::Shorten;
  errno = g_fault.value;
  if (g_fault.effect == 'e') return Verdict::Fail;
  ::raise(g_fault.value);
  return Verdict::Pass;
}

template <class Function>
Function* Next(char const* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

SHOWN void FaultArm(char const* fault) {
  g_fault = Fault();
  g_strikes = 0;
  std::fill(std::begin(g_calls), std::end(g_calls), 0);
  char kind[16] = "";
  char effect[16] = "";
  char ever[8] = "";
  if (fault == nullptr || std::sscanf(fault, "%15[^:]:%ld:%15[^:]:%7s", kind, &g_fault.number, effect, ever) < 3)
    return;
  g_fault.kind = Kind(kind);
  g_fault.effect = effect[0];
  g_fault.value = std::atoi(effect + 1);  // 0 for "short"
  g_fault.for_ever = std::strcmp(ever, "ever") == 0;
}
SHOWN long FaultStrikes() {
  return g_strikes;
}
SHOWN void FaultPause() {
  ++g_pauses;
}
SHOWN void FaultResume() {
  --g_pauses;
}
}

namespace {

using Main = int (*)(int, char**, char**);
Main g_main;

int BeginToCount(int argc, char** argv, char** environment) {
  FaultArm(std::getenv("FAULT"));
  FaultResume();
  return g_main(argc, argv, environment);
}

__attribute__((destructor)) void WriteLog() {
  FaultPause();
  std::FILE* const log = std::fopen(std::getenv("FAULT_LOG") == nullptr ? "/dev/null" : std::getenv("FAULT_LOG"), "w");
  if (log == nullptr) return;
  std::fprintf(log, "struck %s\n", g_struck);
  for (std::size_t kind = 0; kind < std::size(kKinds); ++kind) {
    std::fprintf(log, "%s %ld\n", kKinds[kind].data(), g_calls[kind]);
  }
  std::fclose(log);
}

}  // namespace

// A definition with the system's name.
#define DEFINE(result, name, parameters)                        \
  extern "C" SHOWN result Our_##name parameters __asm__(#name); \
  result Our_##name parameters

// CALL(kind, result if it fails, name, parameters, arguments, what it is about)
#define CALL(kind, result, failed, name, parameters, arguments, place)          \
  DEFINE(result, name, parameters) {                                            \
    static auto* const next = Next<result parameters>(#name);                   \
    return Judge(Kind(kind), place) == Verdict::Fail ? failed : next arguments; \
  }

// The same for names that have a twin for files of any size, which all are on these systems.
#define CALL_64(kind, result, failed, name, parameters, arguments, place) \
  CALL(kind, result, failed, name, parameters, arguments, place)          \
  CALL(kind, result, failed, name##64, parameters, arguments, place)

// One that moves `size` bytes.
#define TRANSFER(kind, name, parameters, arguments)            \
  DEFINE(ssize_t, name, parameters) {                          \
    static auto* const next = Next<ssize_t parameters>(#name); \
    Verdict const verdict = Judge(Kind(kind), file);           \
    if (verdict == Verdict::Fail) return -1;                   \
    if (verdict == Verdict::Shorten) size = (size + 1) / 2;    \
    return next arguments;                                     \
  }

DEFINE(int, __libc_start_main,
       (Main main, int argc, char** argv, void (*init)(), void (*fini)(), void (*end)(), void* stack)) {
  g_main = main;
  return Next<int(Main, int, char**, void (*)(), void (*)(), void (*)(), void*)>("__libc_start_main")(
      BeginToCount, argc, argv, init, fini, end, stack);
}

#define TRANSFER_64(kind, name, parameters, arguments) \
  TRANSFER(kind, name, parameters, arguments)          \
  TRANSFER(kind, name##64, parameters, arguments)

CALL_64("open", int, -1, open, (char const* path, int flags, mode_t mode), (path, flags, mode), path)
CALL_64("open", int, -1, openat, (int at, char const* path, int flags, mode_t mode), (at, path, flags, mode), path)
CALL_64("open", FILE*, nullptr, fopen, (char const* path, char const* mode), (path, mode), path)
TRANSFER("read", read, (int file, void* bytes, std::size_t size), (file, bytes, size))
TRANSFER_64("read", pread, (int file, void* bytes, std::size_t size, off_t at), (file, bytes, size, at))
TRANSFER("write", write, (int file, void const* bytes, std::size_t size), (file, bytes, size))
TRANSFER_64("write", pwrite, (int file, void const* bytes, std::size_t size, off_t at), (file, bytes, size, at))
CALL("write", ssize_t, -1, writev, (int file, iovec const* pieces, int count), (file, pieces, count), file)
CALL("fsync", int, -1, fsync, (int file), (file), file)
CALL("fsync", int, -1, fdatasync, (int file), (file), file)
CALL_64("truncate", int, -1, ftruncate, (int file, off_t size), (file, size), file)
CALL("rename", int, -1, rename, (char const* from, char const* to), (from, to), to)
CALL("rename", int, -1, renameat2, (int from_at, char const* from, int to_at, char const* to, unsigned flags),
     (from_at, from, to_at, to, flags), to)
CALL("link", int, -1, link, (char const* from, char const* to), (from, to), to)
CALL("link", int, -1, linkat, (int from_at, char const* from, int to_at, char const* to, int flags),
     (from_at, from, to_at, to, flags), to)
CALL("unlink", int, -1, unlink, (char const* path), (path), path)
CALL("unlink", int, -1, unlinkat, (int at, char const* path, int flags), (at, path, flags), path)
CALL("unlink", int, -1, rmdir, (char const* path), (path), path)
CALL("unlink", int, -1, remove, (char const* path), (path), path)
CALL("mkdir", int, -1, mkdir, (char const* path, mode_t mode), (path, mode), path)
CALL("mmap", void*, MAP_FAILED, mmap, (void* at, std::size_t size, int protection, int flags, int file, off_t offset),
     (at, size, protection, flags, file, offset), file)
CALL("flock", int, -1, flock, (int file, int operation), (file, operation), file)
CALL_64("fcntl", int, -1, fcntl, (int file, int command, void* argument), (file, command, argument), file)
CALL("getrandom", ssize_t, -1, getrandom, (void* bytes, std::size_t size, unsigned flags), (bytes, size, flags), "")
CALL("readdir", DIR*, nullptr, opendir, (char const* path), (path), path)
CALL("readdir", DIR*, nullptr, fdopendir, (int file), (file), file)
CALL("readdir", dirent*, nullptr, readdir, (DIR * directory), (directory), directory)
CALL("readdir", dirent64*, nullptr, readdir64, (DIR * directory), (directory), directory)
CALL_64("stat", int, -1, stat, (char const* path, void* status), (path, status), path)
CALL_64("stat", int, -1, lstat, (char const* path, void* status), (path, status), path)
CALL_64("stat", int, -1, fstat, (int file, void* status), (file, status), file)
CALL_64("stat", int, -1, fstatat, (int at, char const* path, void* status, int flags), (at, path, status, flags), path)
CALL("stat", char*, nullptr, realpath, (char const* path, char* result), (path, result), path)
CALL("chmod", int, -1, fchmod, (int file, mode_t mode), (file, mode), file)
CALL("chmod", int, -1, fchown, (int file, uid_t user, gid_t group), (file, user, group), file)

/// A descriptor is gone also when closing it tells of an error.
DEFINE(int, close, (int file)) {
  static auto* const next = Next<int(int)>("close");
  Verdict const verdict = Judge(Kind("close"), file);
  int const error = errno;
  int const result = next(file);
  if (verdict != Verdict::Fail) return result;
  errno = error;
  return -1;
}

// Looking up the next function takes memory itself, so these go to the C library by its own names. Under the address
// sanitizer memory is the sanitizer's, and these are not asked.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

#define ALLOCATE(name, parameters, taken)                                         \
  DEFINE(void*, name, parameters) {                                               \
    return Judge(Kind("memory"), "") == Verdict::Fail ? nullptr : __libc_##taken; \
  }

ALLOCATE(malloc, (std::size_t size), malloc(size))
ALLOCATE(calloc, (std::size_t count, std::size_t size), calloc(count, size))
ALLOCATE(realloc, (void* memory, std::size_t size), realloc(memory, size))
ALLOCATE(aligned_alloc, (std::size_t alignment, std::size_t size), memalign(alignment, size))

DEFINE(int, posix_memalign, (void** memory, std::size_t alignment, std::size_t size)) {
  *memory = Judge(Kind("memory"), "") == Verdict::Fail ? nullptr : __libc_memalign(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}
