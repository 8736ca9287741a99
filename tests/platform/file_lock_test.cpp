#include <SliceData/platform/file_io/MFileLock.h>

#include <atomic>
#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/SystemCalls.h"
#include "support/OtherProcess.h"
#include "support/Scratch.h"

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing_support::OtherProcess;

class FileLock : public testing::Test {
 protected:
  testing_support::EmptyDirectory m_directory;
  std::string m_path = m_directory.GetPath() + "/file";
};

TEST_F(FileLock, IsHeldByOneAndTellsWhomOthersWaitFor) {
  for (bool const is_network : {false, true}) {
    OtherProcess holder(
        [&] {
          SystemCalls const calls([&](std::string const&) { return is_network ? EOPNOTSUPP : 0; });
          (new MFileLock(m_path))->TryLock();
        },
        true);
    MFileLock lock(m_path);
    EXPECT_FALSE(lock.TryLock());
    EXPECT_FALSE(lock.LockUntil(MFileLock::Clock::now() + milliseconds(30)));
    std::string const process = "process " + std::to_string(holder.GetId()) + " on '";
    EXPECT_THAT(lock.DescribeHolder(), HasSubstr(process));
    EXPECT_EQ(lock.GetDoubtfulFile(), is_network ? m_path + ".lock" : "");

    holder.End();
    // Only the system's lock tells that its process is dead.
    EXPECT_EQ(lock.TryLock(), !is_network);
    if (is_network) ::unlink((m_path + ".lock").c_str());
    EXPECT_TRUE(lock.TryLock());
  }
}

TEST_F(FileLock, LetsNoTwoInWhetherTheSystemHasLocksOrNot) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 20;
  std::atomic<int> num_calls{0};
  SystemCalls const calls([&](std::string const&) { return num_calls++ % 3 == 0 ? ENOLCK : 0; });
  auto const count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      MFileLock lock(m_path);
      lock.LockUntil(MFileLock::Clock::time_point::max());
      int number = 0;
      std::ifstream(m_path) >> number;
      std::ofstream(m_path) << number + 1;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(count);
  for (std::thread& thread : threads) thread.join();
  int number = 0;
  std::ifstream(m_path) >> number;
  EXPECT_EQ(number, kThreads * kRounds);
  EXPECT_EQ(::unlink(m_path.c_str()), 0);
}

TEST_F(FileLock, LeavesFilesOfOthersAloneAndRefusesWhereItCannotBe) {
  std::string const path = m_path + ".lock";
  std::ofstream(path) << "notes\n";
  MFileLock lock(m_path);
  EXPECT_FALSE(lock.TryLock());
  EXPECT_EQ(lock.GetDoubtfulFile(), path);
  EXPECT_EQ(::unlink(path.c_str()), 0);
  EXPECT_EQ(::mkdir(path.c_str(), 0700), 0);
  EXPECT_THROW(lock.TryLock(), std::system_error);
  EXPECT_EQ(::rmdir(path.c_str()), 0);

  testing_support::FullDisk const full(0);
  EXPECT_THROW(lock.TryLock(), std::system_error);
  EXPECT_THROW(MFileLock(m_directory.GetPath() + "/none/file"), std::system_error);
}

}  // namespace
