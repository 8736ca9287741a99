#include <SliceData/platform/file_io/MPendingFile.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include "platform/SystemCalls.h"
#include "support/Files.h"
#include "support/OtherProcess.h"
#include "support/Scratch.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using testing_support::ReadBytes;
using testing_support::ScratchDirectory;

class PendingFile : public testing::Test {
 protected:
  ScratchDirectory const m_directory;
  std::string const m_path = m_directory / "out";
};

TEST_F(PendingFile, LeavesTheOldFileUntilTheNewOneIsWhole) {
  std::ofstream(m_path) << "old";
  {
    MPendingFile file(m_path);
    file.Write("abandoned");
    EXPECT_EQ(ReadBytes(m_path), "old");
  }
  EXPECT_EQ(ReadBytes(m_path), "old");
  EXPECT_THAT(m_directory.List(), ElementsAre("out"));

  MPendingFile file(m_path);
  file.Write("new");
  EXPECT_THAT(m_directory.List(), SizeIs(2));
  file.Commit();
  EXPECT_EQ(ReadBytes(m_path), "new");
  EXPECT_THAT(m_directory.List(), ElementsAre("out"));
}

TEST_F(PendingFile, HoldsWhatWasAppendedAndPatched) {
  std::mt19937 random(7);
  std::string expected;
  MPendingFile file(m_path);
  while (expected.size() < 3 * MPendingFile::kBufferSize) {
    std::string const bytes(random() % (random() % 50 == 0 ? 2 * MPendingFile::kBufferSize : 3000),
                            static_cast<char>('a' + random() % 26));
    if (random() % 2 == 0 && bytes.size() <= MPendingFile::kBufferSize) {
      char* const room = file.Room(bytes.size());
      std::memcpy(room, bytes.data(), bytes.size());
      file.Use(room + bytes.size());
    } else {
      file.Write(bytes);
    }
    expected += bytes;
    std::size_t const patch = std::min<std::size_t>(expected.size(), random() % 20);
    std::size_t const at = random() % (expected.size() - patch + 1);
    file.WriteAt(static_cast<long long>(at), std::string(patch, '#'));
    expected.replace(at, patch, patch, '#');
    ASSERT_EQ(file.TellSize(), static_cast<long long>(expected.size()));
  }
  file.Commit();
  EXPECT_EQ(ReadBytes(m_path), expected);
}

TEST_F(PendingFile, HasOrdinaryPermissionsOrThoseOfTheFileItReplacesAndFollowsALink) {
  std::string const link = m_directory / "link";
  auto const write = [](std::string const& path, char const* text) {
    MPendingFile file(path);
    file.Write(text);
    file.Commit();
  };
  auto const get_permissions = [&] { return static_cast<unsigned>(std::filesystem::status(m_path).permissions()); };
  mode_t const mask = umask(027);
  write(m_path, "old");
  EXPECT_EQ(get_permissions(), 0640u);
  std::filesystem::permissions(m_path, std::filesystem::perms(0606));
  std::filesystem::create_symlink("out", link);
  write(link, "new");
  umask(mask);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadBytes(m_path), "new");
  EXPECT_EQ(get_permissions(), 0606u);

  std::filesystem::remove(m_path);
  write(link, "where nothing was");
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ReadBytes(m_path), "where nothing was");
}

TEST_F(PendingFile, RefusesWhatIsNoPlaceForAFile) {
  std::filesystem::create_symlink("loop", m_directory / "loop");
  for (std::string const& path : {m_directory / ".", m_directory / "loop", m_directory / "none/out", m_directory / "",
                                  std::string("/dev/null"), std::string(), m_directory / ".."}) {
    EXPECT_THROW(MPendingFile{path}, std::system_error) << path;
  }
  EXPECT_THAT(m_directory.List(), ElementsAre("loop"));
}

TEST_F(PendingFile, CannotBeFinishedOnceTheDiskWasFull) {
  std::ofstream(m_path) << "old";
  {
    MPendingFile file(m_path);
    auto full = std::make_unique<testing_support::FullDisk>(1000);
    file.Write(std::string(2000, 'x'));
    try {
      file.Commit();
      ADD_FAILURE() << "there was no room for it";
    } catch (std::system_error const& error) {
      EXPECT_EQ(error.code().value(), EFBIG);
      EXPECT_THAT(error.what(), HasSubstr(m_path));
    }
    full.reset();
    EXPECT_THROW(file.Write(std::string(MPendingFile::kBufferSize, 'x')), std::system_error);
    EXPECT_THROW(file.Commit(), std::system_error);
  }
  EXPECT_EQ(ReadBytes(m_path), "old");
  EXPECT_THAT(m_directory.List(), ElementsAre("out"));
}

TEST_F(PendingFile, IsRemovedByASignalHandler) {
  MPendingFile committed(m_path);
  committed.Commit();
  auto const die = [&] {
    MPendingFile first(m_directory / "first");
    MPendingFile second(m_directory / "second");
    second.Write("bytes");
    std::signal(SIGTERM, [](int) {
      MPendingFile::RemoveAllPendingFromSignalHandler();
      _exit(143);
    });
    std::raise(SIGTERM);
  };
  EXPECT_EXIT(die(), testing::ExitedWithCode(143), "");
  EXPECT_THAT(m_directory.List(), ElementsAre("out"));

  {
    MPendingFile removed(m_directory / "removed");
    MPendingFile::RemoveAllPendingFromSignalHandler();
    EXPECT_THAT(m_directory.List(), ElementsAre("out"));
    EXPECT_THROW(removed.Commit(), std::system_error);
  }
}

TEST_F(PendingFile, KeepsWhatTookItsNameInWhateverWayTheFileSystemKnows) {
  auto const expect_refusal = [&](auto const& function) {
    try {
      function();
      ADD_FAILURE() << "the name is taken";
    } catch (std::system_error const& error) {
      EXPECT_EQ(error.code(), std::errc::file_exists);
      EXPECT_THAT(error.what(), HasSubstr(m_path));
    }
  };
  for (auto const& missing : std::vector<std::set<std::string>>{{}, {"renameat2"}, {"renameat2", "link"}}) {
    SystemCalls const without([&](std::string const& name) { return missing.count(name) != 0 ? EINVAL : 0; });
    {
      MPendingFile first(m_path, MPendingFile::Existing::Keep);
      MPendingFile second(m_path, MPendingFile::Existing::Keep);
      first.Write("first");
      first.Commit();
      expect_refusal([&] { second.Commit(); });
      expect_refusal([&] { MPendingFile const third(m_path, MPendingFile::Existing::Keep); });
    }
    EXPECT_EQ(ReadBytes(m_path), "first");
    EXPECT_THAT(m_directory.List(), ElementsAre("out"));
    std::filesystem::remove(m_path);
  }
}

TEST_F(PendingFile, RemovesWhatDeadWritersLeftAndNothingElse) {
  struct Case {
    char const* name;
    int error_of_flock;  ///< for the other writer
    bool lives;
    unsigned num_left;
  };
  for (auto const& [name, error_of_flock, lives, num_left] :
       {Case{"dead", 0, false, 0}, Case{"living", 0, true, 1}, Case{"living without locks", ENOLCK, true, 1}}) {
    std::string const directory = m_directory / name;
    std::filesystem::create_directory(directory);
    std::ofstream(directory + "/.pending-by-others") << "bytes";
    testing_support::OtherProcess const other(
        [&, error = error_of_flock] {
          SystemCalls const locks([error](std::string const&) { return error; });
          new MPendingFile(directory + "/out");
        },
        lives);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 2) << name;
    MPendingFile(directory + "/another").Commit();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 2 + num_left) << name;
  }
}

TEST_F(PendingFile, IsMadeAnewIfItIsTakenForALeftoverBeforeItIsLocked) {
  int num_calls = 0;
  SystemCalls const others([&](std::string const& name) {
    if (name != "flock" || ++num_calls > 2) return 0;
    for (auto const& file : m_directory.List()) std::filesystem::remove(m_directory / file);
    return num_calls == 1 ? EWOULDBLOCK : 0;  // before they let go of it, and after
  });
  MPendingFile file(m_path);
  file.Write("bytes");
  file.Commit();
  EXPECT_EQ(num_calls, 3);
  EXPECT_EQ(ReadBytes(m_path), "bytes");
  EXPECT_THAT(m_directory.List(), ElementsAre("out"));
}

}  // namespace
