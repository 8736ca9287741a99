#include <SliceData/platform/file_io/TemporaryDirectory.h>

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <system_error>

#include "support/FailingAllocation.h"
#include "support/OtherProcess.h"
#include "support/Scratch.h"

namespace {

using namespace testing_support;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using VelSDK::FileIO::FileSystem::TemporaryDirectory;

void Remove(std::string const& file) {
  EXPECT_EQ(::unlink(file.c_str()), 0);
  TemporaryDirectory::OnFileRemoved(file);
}

unsigned ModeOf(std::string const& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

std::string DirectoryOf(std::string const& path) {
  return path.substr(0, path.rfind('/'));
}

TEST(TemporaryDirectory, FilesArePrivateAndTheirDirectoryGoesWithTheLast) {
  EmptyDirectory const place;
  mode_t const before = ::umask(0);
  TemporaryDirectory const directory(place.GetPath());
  std::string const a = directory.GetTemporaryFilePath();
  std::string const b = TemporaryDirectory(place.GetPath()).GetTemporaryFilePath();
  ::umask(before);
  EXPECT_NE(a, b);
  EXPECT_EQ(ModeOf(a), 0600u);
  EXPECT_EQ(ModeOf(DirectoryOf(a)), 0700u);
  EXPECT_EQ(DirectoryOf(a), DirectoryOf(b));
  EXPECT_EQ(DirectoryOf(DirectoryOf(a)), place.GetPath());
  Remove(a);
  EXPECT_EQ(NamesIn(place.GetPath()).size(), 1u);
  Remove(b);
  EXPECT_THAT(NamesIn(place.GetPath()), IsEmpty());
  Remove(directory.GetTemporaryFilePath());
}

TEST(TemporaryDirectory, WhatADeadProcessLeftIsRemovedAndWhatALivingOneHoldsStays) {
  EmptyDirectory const place;
  auto const make_file = [&] { TemporaryDirectory(place.GetPath()).GetTemporaryFilePath(); };
  OtherProcess const dead(make_file, false);
  ASSERT_EQ(FilesBelow(place.GetPath()).size(), 1u);
  std::string const leftover = FilesBelow(place.GetPath()).front();

  OtherProcess living(make_file, true);
  auto const of_living = FilesBelow(place.GetPath());
  ASSERT_EQ(of_living.size(), 1u) << "the other process has removed the leftover, too";
  EXPECT_NE(of_living.front(), leftover);

  std::string const own = TemporaryDirectory(place.GetPath()).GetTemporaryFilePath();
  EXPECT_EQ(::access(of_living.front().c_str(), F_OK), 0);
  Remove(own);
  living.End();
  Remove(TemporaryDirectory(place.GetPath()).GetTemporaryFilePath());
  EXPECT_THAT(NamesIn(place.GetPath()), IsEmpty());
}

TEST(TemporaryDirectory, ALinkThatIsNamedLikeALeftoverIsNotFollowed) {
  EmptyDirectory const place;
  EmptyDirectory const precious;
  std::string const file = precious.GetPath() + "/precious";
  std::ofstream(file) << "x";
  std::string const link = place.GetPath() + "/velsdk-scratch-1-0123456789abcdef0123456789abcdef";
  ASSERT_EQ(::symlink(precious.GetPath().c_str(), link.c_str()), 0);
  Remove(TemporaryDirectory(place.GetPath()).GetTemporaryFilePath());
  EXPECT_EQ(::unlink(file.c_str()), 0) << "it is still there";
  EXPECT_EQ(::unlink(link.c_str()), 0);
}

TEST(TemporaryDirectory, APlaceWhereNothingCanBeMadeIsAnErrorThatNamesIt) {
  EmptyDirectory const place;
  std::string const plain_file = place.GetPath() + "/file";
  std::ofstream(plain_file) << "x";
  for (std::string const& path : {place.GetPath() + "/missing", plain_file, std::string("/proc")}) {
    try {
      TemporaryDirectory(path).GetTemporaryFilePath();
      ADD_FAILURE() << path;
    } catch (std::system_error const& error) {
      EXPECT_THAT(error.what(), StartsWith(path));
      EXPECT_THAT(error.what(), HasSubstr("choose another"));
    }
  }
  ::unlink(plain_file.c_str());
  try {
    NoDescriptors const none;
    TemporaryDirectory(place.GetPath()).GetTemporaryFilePath();
    ADD_FAILURE();
  } catch (std::system_error const& error) {
    EXPECT_EQ(error.code().value(), EMFILE);
  }
  EXPECT_THAT(NamesIn(place.GetPath()), IsEmpty());
}

TEST(TemporaryDirectory, WithoutMemoryNothingIsLeft) {
  EmptyDirectory const place;
  OtherProcess const dead([&] { TemporaryDirectory(place.GetPath()).GetTemporaryFilePath(); }, false);
  std::size_t const num_descriptors = NamesIn("/proc/self/fd").size();
  std::string file;
  for (long successes = 0; file.empty(); ++successes) {
    TemporaryDirectory const directory(place.GetPath());
    try {
      FailingAllocation const failing(successes);
      file = directory.GetTemporaryFilePath();
    } catch (std::bad_alloc const&) {
      EXPECT_EQ(NamesIn("/proc/self/fd").size(), num_descriptors) << successes;
      EXPECT_LE(NamesIn(place.GetPath()).size(), 1u) << successes << ", besides what the dead process left";
    }
  }
  Remove(file);
  EXPECT_THAT(NamesIn(place.GetPath()), IsEmpty());
}

TEST(TemporaryDirectory, WithoutAPlaceTheEnvironmentTellsOne) {
  EmptyDirectory const place;
  char const* const before = std::getenv("TMPDIR");
  std::string const kept = before != nullptr ? before : "";
  ::setenv("TMPDIR", place.GetPath().c_str(), 1);
  std::string const file = TemporaryDirectory("").GetTemporaryFilePath();
  EXPECT_THAT(file, StartsWith(place.GetPath() + "/"));
  Remove(file);
  ::unsetenv("TMPDIR");
  std::string const elsewhere = TemporaryDirectory("").GetTemporaryFilePath();
  EXPECT_THAT(elsewhere, StartsWith("/var/tmp/"));
  Remove(elsewhere);
  if (before != nullptr) ::setenv("TMPDIR", kept.c_str(), 1);
}

TEST(TemporaryDirectory, PathsHoldAfterAChangeOfTheWorkingDirectory) {
  EmptyDirectory const place;
  char before[4096];
  ASSERT_NE(::getcwd(before, sizeof before), nullptr);
  ASSERT_EQ(::chdir(place.GetPath().c_str()), 0);
  std::string const file = TemporaryDirectory(".").GetTemporaryFilePath();
  ASSERT_EQ(::chdir(before), 0);
  Remove(file);
}

TEST(TemporaryDirectory, ADirectoryThatIsRemovedBehindOurBackIsMadeAnew) {
  EmptyDirectory const place;
  TemporaryDirectory const directory(place.GetPath());
  std::string const lost = directory.GetTemporaryFilePath();
  ASSERT_EQ(::unlink(lost.c_str()), 0);
  ASSERT_EQ(::rmdir(DirectoryOf(lost).c_str()), 0);
  std::string const file = directory.GetTemporaryFilePath();
  EXPECT_NE(DirectoryOf(file), DirectoryOf(lost));
  TemporaryDirectory::OnFileRemoved(lost);
  Remove(file);
}

}  // namespace
