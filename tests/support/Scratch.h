#pragma once

#include <SliceData/disk_cache/DiskCacheLocation.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>

#include <csignal>
#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

/// A place for scratch files that looks after what is left in it, and limits of the system to run into.
namespace testing_support {

/// The names in a directory, without the two that are in each.
inline std::vector<std::string> NamesIn(std::string const& path) {
  std::vector<std::string> names;
  DIR* const directory = ::opendir(path.c_str());
  if (directory == nullptr) return names;
  while (dirent const* const entry = ::readdir(directory)) {
    std::string const name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(directory);
  return names;
}

/// Every file below a directory, as a path, one level of directories deep.
inline std::vector<std::string> FilesBelow(std::string const& path) {
  std::vector<std::string> files;
  for (std::string const& directory : NamesIn(path)) {
    for (std::string const& name : NamesIn(path + "/" + directory))
      files.push_back(path + "/" + directory + "/" + name);
  }
  return files;
}

/// A directory of its own, removed at the end. The test fails if anything is left in it, or more descriptors are open
/// than before.
class EmptyDirectory {
 public:
  EmptyDirectory() : m_descriptors(NamesIn("/proc/self/fd").size()) {
    std::string name = ::testing::TempDir() + "slicedata-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "cannot make " << name;
    m_path = name;
  }
  ~EmptyDirectory() {
    EXPECT_EQ(NamesIn(m_path), std::vector<std::string>()) << "left behind";
    EXPECT_EQ(NamesIn("/proc/self/fd").size(), m_descriptors) << "open descriptors";
    ::rmdir(m_path.c_str());
  }
  EmptyDirectory(EmptyDirectory const&) = delete;
  EmptyDirectory& operator=(EmptyDirectory const&) = delete;

  std::string const& GetPath() const { return m_path; }

 private:
  std::size_t m_descriptors;
  std::string m_path;
};

/// The place of scratch files while it lives.
class Scratch {
 public:
  Scratch() {
    M2DSliceUtilities::SetDiskCacheLocation(m_directory.GetPath());
    RenewSharedFile();
  }
  /// The one shared file is always there: it moves elsewhere.
  ~Scratch() { Park(); }
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;

  std::string const& GetPath() const { return m_directory.GetPath(); }
  std::vector<std::string> GetFiles() const { return FilesBelow(GetPath()); }

  /// Lets the shared current file begin anew, empty.
  static void RenewSharedFile() {
    M2DSliceTempFile::SetMaxFileSize(~0ul);
    M2DSliceTempFile::GetInstance();
    M2DSliceTempFile::SetMaxFileSize(M2DSliceTempFile::kDefaultMaxFileSize);
  }

 private:
  static bool Park() {
    M2DSliceUtilities::SetDiskCacheLocation("/var/tmp");
    RenewSharedFile();
    return true;
  }

  bool m_parked = Park();  ///< before descriptors are counted
  EmptyDirectory m_directory;
};

/// Files cannot grow beyond a size while it lives, as if the disk were full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t largest_file) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &m_before);
    rlimit const limit{largest_file, m_before.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisk() {
    ::setrlimit(RLIMIT_FSIZE, &m_before);
    std::signal(SIGXFSZ, m_handler);
  }
  FullDisk(FullDisk const&) = delete;
  FullDisk& operator=(FullDisk const&) = delete;

 private:
  void (*m_handler)(int);
  rlimit m_before{};
};

/// Nothing more can be opened while it lives.
class NoDescriptors {
 public:
  /// The undefined-behaviour sanitizer opens a pipe to look at an object: without descriptors it sees faults
  /// everywhere.
#ifdef __SANITIZE_ADDRESS__
  static constexpr bool kIsPossible = false;
#else
  static constexpr bool kIsPossible = true;
#endif

  NoDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &m_before);
    int const next = ::dup(0);
    ::close(next);
    rlimit const limit{static_cast<rlim_t>(next), m_before.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
  ~NoDescriptors() {
    ::setrlimit(RLIMIT_NOFILE, &m_before);
  }
  NoDescriptors(NoDescriptors const&) = delete;
  NoDescriptors& operator=(NoDescriptors const&) = delete;

 private:
  rlimit m_before{};
};

}  // namespace testing_support
