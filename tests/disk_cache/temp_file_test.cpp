#include <SliceData/disk_cache/M2DSliceTempFile.h>

#include <boost/make_shared.hpp>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <system_error>

#include "support/Scratch.h"

namespace {

using namespace testing_support;
using ::testing::HasSubstr;

using TempFile = boost::shared_ptr<M2DSliceTempFile>;

TempFile MakeFile() {
  return boost::make_shared<M2DSliceTempFile>(1, 2, "any");
}

void Append(M2DSliceTempFile& file, long value) {
  file.InitForWriting();
  file.GetFile().WRITE(&value, 1);
}

long FirstOf(M2DSliceTempFile& file) {
  long value = 0;
  file.InitForReading(0);
  file.GetFile().READ(&value, 1);
  return value;
}

std::vector<bool> WhichAreOpen(std::vector<TempFile> const& files) {
  std::vector<bool> open;
  for (TempFile const& file : files) open.push_back(file->IsOpen());
  return open;
}

/// Twenty files, the shared one not among those that are open.
std::vector<TempFile> TwentyFiles() {
  std::vector<TempFile> files;
  for (long i = 0; i < 20; ++i) {
    files.push_back(MakeFile());
    Append(*files.back(), i);
  }
  return files;
}

TEST(TempFile, AtMostTwentyAreOpenAndTheLeastRecentlyUsedIsClosed) {
  Scratch const scratch;
  std::vector<TempFile> files = TwentyFiles();
  files.push_back(MakeFile());
  Append(*files.back(), 20);
  std::vector<bool> expected(21, true);
  expected[0] = false;
  EXPECT_EQ(WhichAreOpen(files), expected);
  EXPECT_EQ(::access(files[0]->GetFileName().c_str(), F_OK), 0);

  files[1]->Open();
  EXPECT_EQ(FirstOf(*files[0]), 0);
  expected[0] = true;
  expected[2] = false;
  EXPECT_EQ(WhichAreOpen(files), expected) << "file 1 was used later than file 2";
  for (long i = 0; i < 21; ++i) EXPECT_EQ(FirstOf(*files[static_cast<std::size_t>(i)]), i);
  Append(*files[0], 7);
  EXPECT_EQ(files[0]->InitForWriting(), 8) << "appended, after it was closed and opened";

  std::string const closed = files[1]->GetFileName();
  ASSERT_FALSE(files[1]->IsOpen());
  files.erase(files.begin() + 1);
  EXPECT_EQ(::access(closed.c_str(), F_OK), -1);
  EXPECT_EQ(std::count(files.begin(), files.end(), nullptr), 0);
  files.erase(files.begin(), files.begin() + 10);
  files.push_back(MakeFile());
  EXPECT_EQ(WhichAreOpen(files), std::vector<bool>(11, true));
}

TEST(TempFile, TheSharedFileIsReplacedBeyondTheLimitOnly) {
  Scratch const scratch;
  TempFile first = M2DSliceTempFile::GetInstance();
  std::string const name = first->GetFileName();
  Append(*first, 1);
  M2DSliceTempFile::SetMaxFileSize(4);
  EXPECT_EQ(M2DSliceTempFile::GetInstance(), first) << "exactly at the limit";
  first->GetFile().WRITE("x", 1);
  TempFile const second = M2DSliceTempFile::GetInstance();
  EXPECT_NE(second, first);
  EXPECT_EQ(second->InitForWriting(), 0);
  EXPECT_EQ(M2DSliceTempFile::GetInstance(), second);
  EXPECT_EQ(FirstOf(*first), 1);
  first.reset();
  EXPECT_EQ(::access(name.c_str(), F_OK), -1) << "it goes with its last share";
}

TEST(TempFile, ALocationHasOnlyToExistAndHoldsForNewFiles) {
  Scratch const scratch;
  EXPECT_FALSE(M2DSliceUtilities::SetDiskCacheLocation(scratch.GetPath() + "/missing"));
  EXPECT_EQ(M2DSliceUtilities::GetDiskCacheLocation(), scratch.GetPath());
  TempFile const before = MakeFile();

  std::string const plain = scratch.GetPath() + "/plain";
  std::ofstream(plain) << "x";
  EXPECT_TRUE(M2DSliceUtilities::SetDiskCacheLocation(plain));
  try {
    MakeFile();
    ADD_FAILURE();
  } catch (std::system_error const& error) {
    EXPECT_THAT(error.what(), HasSubstr(plain));
  }
  Append(*before, 3);
  EXPECT_EQ(FirstOf(*before), 3);
  ::unlink(plain.c_str());
}

TEST(TempFile, AFailedOpenLeavesTheListAsItWasAndIsTriedAgain) {
  Scratch const scratch;
  std::vector<TempFile> files = TwentyFiles();
  TempFile const last = MakeFile();
  ASSERT_FALSE(files[0]->IsOpen());
  try {
    NoDescriptors const none;
    MakeFile();
    ADD_FAILURE();
  } catch (std::system_error const& error) {
    EXPECT_EQ(error.code().value(), EMFILE);
  }
  EXPECT_EQ(scratch.GetFiles().size(), 22u) << "the shared one, too; none of the failed one";
  std::string const name = files[0]->GetFileName();
  std::string const elsewhere = name + "-elsewhere";
  ASSERT_EQ(::rename(name.c_str(), elsewhere.c_str()), 0);
  EXPECT_THROW(FirstOf(*files[0]), std::system_error);
  EXPECT_THROW(Append(*files[0], 1), std::system_error);
  EXPECT_EQ(::access(name.c_str(), F_OK), -1) << "a file that vanished is not born again";
  ASSERT_EQ(::rename(elsewhere.c_str(), name.c_str()), 0);
  for (long i = 0; i < 20; ++i) EXPECT_EQ(FirstOf(*files[static_cast<std::size_t>(i)]), i);
}

TEST(TempFile, AFileThatCannotBeFlushedStaysOpenAndAnotherIsClosed) {
  Scratch const scratch;
  std::vector<TempFile> files = TwentyFiles();
  for (std::size_t i = 5; i < 20; ++i) files[i]->GetFile().FLUSH();
  std::vector<bool> expected(20, true);
  {
    FullDisk const full(0);
    TempFile const one_more = MakeFile();
    expected[5] = false;
    EXPECT_EQ(WhichAreOpen(files), expected);
    for (TempFile const& file : files) {
      if (file->IsOpen()) Append(*file, 7);
    }
    one_more->GetFile().WRITE("x", 1);
    EXPECT_THROW(FirstOf(*files[5]), std::system_error) << "nothing can be closed for it";
    EXPECT_EQ(WhichAreOpen(files), expected);
  }
  for (long i = 0; i < 20; ++i) EXPECT_EQ(FirstOf(*files[static_cast<std::size_t>(i)]), i);
  FullDisk const full(0);
  for (TempFile const& file : files) {
    if (file->IsOpen()) file->GetFile().WRITE("x", 1);  // lost with the file, quietly
  }
  files.clear();
}

TEST(TempFile, ACutThatHappensWhileAFileIsClosedIsNoticed) {
  Scratch const scratch;
  std::vector<TempFile> files = TwentyFiles();
  files.push_back(MakeFile());
  ASSERT_FALSE(files[0]->IsOpen());
  ASSERT_EQ(::truncate(files[0]->GetFileName().c_str(), 2), 0);
  EXPECT_EQ(files[0]->InitForWriting(), 4);
  EXPECT_FALSE(files[0]->GetFile().IsWhole());
  EXPECT_THROW(FirstOf(*files[0]), std::system_error);
}

TEST(TempFile, AProcessThatWasForkedOffRemovesNothing) {
  Scratch const scratch;
  TempFile file = MakeFile();
  Append(*file, 5);
  pid_t const child = ::fork();
  if (child == 0) {
    file.reset();
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  ASSERT_EQ(::access(file->GetFileName().c_str(), F_OK), 0);
  EXPECT_EQ(FirstOf(*file), 5);
}

}  // namespace
