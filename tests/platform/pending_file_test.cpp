#include <SliceData/platform/file_io/MPendingFile.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class PendingFile : public testing::Test {
 protected:
  PendingFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "pending_file_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    m_directory = pattern;
    m_path = m_directory + "/out";
  }
  ~PendingFile() override { std::filesystem::remove_all(m_directory); }

  std::vector<std::string> List() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(m_directory)) names.push_back(entry.path().filename());
    return names;
  }
  std::string Read(std::string const& path) const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  std::string m_directory;
  std::string m_path;
};

TEST_F(PendingFile, LeavesTheOldFileUntilTheNewOneIsWhole) {
  std::ofstream(m_path) << "old";
  {
    MPendingFile file(m_path);
    file.Write("abandoned");
    EXPECT_EQ(Read(m_path), "old");
  }
  EXPECT_EQ(Read(m_path), "old");
  EXPECT_THAT(List(), ElementsAre("out"));

  MPendingFile file(m_path);
  file.Write("new");
  EXPECT_THAT(List(), SizeIs(2));
  file.Commit();
  EXPECT_EQ(Read(m_path), "new");
  EXPECT_THAT(List(), ElementsAre("out"));
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
  EXPECT_EQ(Read(m_path), expected);
}

TEST_F(PendingFile, HasOrdinaryPermissionsOrThoseOfTheFileItReplacesAndFollowsALink) {
  std::string const link = m_directory + "/link";
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
  EXPECT_EQ(Read(m_path), "new");
  EXPECT_EQ(get_permissions(), 0606u);
}

TEST_F(PendingFile, RefusesWhatIsNoPlaceForAFile) {
  for (std::string const& path : {m_directory, m_directory + "/none/out", m_directory + "/", std::string("/dev/null"),
                                  std::string(), m_directory + "/.."}) {
    EXPECT_THROW(MPendingFile{path}, std::system_error) << path;
  }
  EXPECT_THAT(List(), IsEmpty());
}

TEST_F(PendingFile, CannotBeFinishedOnceTheDiskWasFull) {
  std::ofstream(m_path) << "old";
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  {
    MPendingFile file(m_path);
    rlimit const small{1000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    file.Write(std::string(2000, 'x'));
    try {
      file.Commit();
      ADD_FAILURE() << "there was no room for it";
    } catch (std::system_error const& error) {
      EXPECT_EQ(error.code().value(), EFBIG);
      EXPECT_THAT(error.what(), HasSubstr(m_path));
    }
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_THROW(file.Write(std::string(MPendingFile::kBufferSize, 'x')), std::system_error);
    EXPECT_THROW(file.Commit(), std::system_error);
  }
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(Read(m_path), "old");
  EXPECT_THAT(List(), ElementsAre("out"));
}

TEST_F(PendingFile, IsRemovedByASignalHandler) {
  MPendingFile committed(m_path);
  committed.Commit();
  auto const die = [&] {
    MPendingFile first(m_directory + "/first");
    MPendingFile second(m_directory + "/second");
    second.Write("bytes");
    std::signal(SIGTERM, [](int) {
      MPendingFile::RemoveAllPendingFromSignalHandler();
      _exit(143);
    });
    std::raise(SIGTERM);
  };
  EXPECT_EXIT(die(), testing::ExitedWithCode(143), "");
  EXPECT_THAT(List(), ElementsAre("out"));

  {
    MPendingFile removed(m_directory + "/removed");
    MPendingFile::RemoveAllPendingFromSignalHandler();
    EXPECT_THAT(List(), ElementsAre("out"));
    EXPECT_THROW(removed.Commit(), std::system_error);
  }
  // The table has room for 64 files at a time; the others work all the same.
  for (int round = 0; round < 3; ++round) {
    std::vector<std::unique_ptr<MPendingFile>> files;
    for (int i = 0; i < 70; ++i) files.push_back(std::make_unique<MPendingFile>(m_directory + "/many"));
  }
  EXPECT_THAT(List(), ElementsAre("out"));
}

}  // namespace
