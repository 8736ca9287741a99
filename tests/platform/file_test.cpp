#include <SliceData/platform/file_io/MFile.h>

#include <array>
#include <gmock/gmock.h>
#include <random>
#include <system_error>

#include "support/Files.h"
#include "support/Scratch.h"

namespace {

using namespace testing_support;
using ::testing::HasSubstr;

/// A file in a directory of its own.
class File : public ::testing::Test {
 protected:
  File() { EXPECT_TRUE(file.OPEN_WRITE(path.c_str())); }
  ~File() override { ::unlink(path.c_str()); }

  std::string OnDisk() const { return ReadBytes(path); }
  std::string Read(std::size_t count) {
    std::string bytes(count, '?');
    file.READ(bytes.data(), count);
    return bytes;
  }
  void Write(std::string const& bytes) { file.WRITE(bytes.data(), bytes.size()); }

  EmptyDirectory directory;
  std::string path = directory.GetPath() + "/file";
  MFile file{64};
};

template <class Function>
std::string ErrorOf(Function&& function) {
  try {
    function();
  } catch (std::system_error const& error) {
    return error.what();
  }
  return "no error";
}

TEST_F(File, RandomWorkAgreesWithAPlainString) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto const below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    std::size_t const buffer = std::array{64, 65, 100, 200}[seed % 4];
    MFile tested(buffer);
    ASSERT_TRUE(tested.OPEN_WRITE(path.c_str()));
    std::string model;
    std::size_t position = 0;
    std::string bytes;
    auto const any_bytes = [&](std::size_t count) {
      bytes.resize(count);
      for (char& byte : bytes) byte = static_cast<char>(random());
    };
    auto const note_write = [&] {
      if (model.size() < position + bytes.size()) model.resize(position + bytes.size(), '\0');
      model.replace(position, bytes.size(), bytes);
      position += bytes.size();
    };
    auto const rest = [&] { return position < model.size() ? model.size() - position : 0; };
    for (int step = 0; step < 4000; ++step) {
      unsigned const operation = static_cast<unsigned>(below(14));
      switch (operation) {
        case 0:
        case 1:
          any_bytes(below(operation == 0 ? 20 : 300));
          tested.WRITE(bytes.data(), bytes.size());
          note_write();
          break;
        case 2: {
          long const values[] = {static_cast<long>(random()) - 2147483648, 5};
          tested.WRITE(values, 2);
          bytes.clear();
          for (long const value : values) {
            for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i);
          }
          note_write();
          break;
        }
        case 3:
          any_bytes(below(buffer + 1));
          std::copy(bytes.begin(), bytes.end(), tested.PrepareWrite(bytes.size()));
          tested.CommitWrite(bytes.size());
          note_write();
          break;
        case 4:
        case 5:
        case 6:
          bytes.assign(std::min(rest(), below(operation == 6 ? 300 : 20)), '?');
          tested.READ(bytes.data(), bytes.size());
          ASSERT_TRUE(bytes == model.substr(std::min(position, model.size()), bytes.size())) << "step " << step;
          position += bytes.size();
          break;
        case 7: {
          std::size_t const count = std::min(rest(), below(buffer + 1));
          ASSERT_TRUE(std::string(tested.PrepareRead(count), count) ==
                      model.substr(std::min(position, model.size()), count));
          tested.CommitRead(count);
          position += count;
          break;
        }
        case 8:  // near by
          position -= std::min(position, below(40));
          position = std::min(model.size(), position + below(40));
          tested.SEEK(static_cast<long long>(position), 0);
          break;
        case 9: {
          std::size_t const place = below(model.size() + 100);  // may leave a hole
          tested.SEEK(static_cast<long long>(place) - static_cast<long long>(position), 1);
          position = place;
          break;
        }
        case 10:
        case 11:
          tested.SEEK(0, 2);
          position = model.size();
          break;
        case 12:
          ASSERT_TRUE(tested.FLUSH());
          ASSERT_TRUE(OnDisk() == model) << "step " << step;
          break;
        default:
          if (below(4) != 0) break;
          tested.CLOSE();
          position = 0;
          if (below(2) == 0) {  // and otherwise by its next use
            ASSERT_TRUE(tested.OPEN_UPDATE(path.c_str()));
          }
      }
      ASSERT_EQ(tested.TELL(), static_cast<long long>(position)) << "step " << step << ", operation " << operation;
      ASSERT_EQ(tested.GetSize(), static_cast<long long>(model.size())) << "step " << step;
    }
    tested.CLOSE();
    ASSERT_TRUE(OnDisk() == model);
  }
}

TEST_F(File, ASeekInsideTheWindowKeepsWhatIsNotWrittenYet) {
  Write("abcdefgh");
  file.SEEK(2, 0);
  EXPECT_EQ(Read(3), "cde");
  Write("X");
  file.SEEK(0, 2);
  EXPECT_EQ(file.TELL(), 8);
  EXPECT_EQ(OnDisk(), "") << "still in the buffer";
  EXPECT_TRUE(file.FLUSH());
  EXPECT_EQ(OnDisk(), "abcdeXgh");
}

TEST_F(File, OffsetsAreWide) {
  long long const far = (5ll << 30) + 1;
  file.SEEK(far, 0);
  std::int32_t value = -7;
  file.WriteInt32(&value, 1);
  file.SEEK(3, 0);
  EXPECT_EQ(Read(2), std::string(2, '\0'));
  file.SEEK(0, 2);
  EXPECT_EQ(file.TELL(), far + 4);
  file.SEEK(-4, 1);
  long read = 0;
  file.READ(&read, 1);
  EXPECT_EQ(read, -7);
}

TEST_F(File, UpdateNeitherCreatesNorFollowsALink) {
  std::string const other = directory.GetPath() + "/other";
  MFile update(64);
  EXPECT_FALSE(update.OPEN_UPDATE(other.c_str()));
  EXPECT_EQ(::access(other.c_str(), F_OK), -1);
  EXPECT_THAT(ErrorOf([&] { update.SEEK(0, 2); }), HasSubstr(other));

  ASSERT_EQ(::symlink(path.c_str(), other.c_str()), 0);
  EXPECT_FALSE(update.OPEN_UPDATE(other.c_str()));
  ::unlink(other.c_str());

  Write("abc");
  file.CLOSE();
  ASSERT_EQ(::rename(path.c_str(), other.c_str()), 0);
  long value = 0;
  EXPECT_THROW(update.READ(&value, 1), std::system_error) << "three bytes are no value, but it is open now";
  char byte = '?';
  update.SEEK(0, 0);
  update.READ(&byte, 1);
  EXPECT_EQ(byte, 'a');
  ::unlink(other.c_str());
}

TEST_F(File, AClosedFileThatIsUsedAgainKeepsItsContent) {
  Write("abc");
  file.CLOSE();
  EXPECT_EQ(Read(2), "ab");
}

TEST_F(File, AReadPastTheEndNamesTheFile) {
  Write("abc");
  file.SEEK(1, 0);
  EXPECT_THAT(ErrorOf([&] { Read(3); }), HasSubstr(path));
  file.SEEK(1, 0);
  EXPECT_EQ(Read(2), "bc");
}

TEST_F(File, AFullDiskLosesNothing) {
  Write(std::string(40, 'a'));
  {
    FullDisk const full(30);
    std::string const more(50, 'b');
    EXPECT_THAT(ErrorOf([&] { Write(more); }), HasSubstr(path));
    EXPECT_EQ(file.TELL(), 40) << "taken over as a whole or not at all";
    Write("ccc");
    EXPECT_FALSE(file.FLUSH());
    EXPECT_EQ(OnDisk().size(), 30u) << "what there was room for";
    EXPECT_THAT(ErrorOf([&] { file.CLOSE(); }), HasSubstr("File too large"));
    file.SEEK(-13, 2);
    EXPECT_EQ(Read(13), std::string(10, 'a') + "ccc") << "what is not written yet is served";
    file.SEEK(5000, 0);
    EXPECT_THROW(Read(1), std::system_error) << "the place is outside the window, which cannot be left";
    file.SEEK(0, 2);
    EXPECT_EQ(file.TELL(), 43);
  }
  Write("e");
  file.CLOSE();
  EXPECT_EQ(OnDisk(), std::string(40, 'a') + "ccce");
}

TEST_F(File, ADestructorAndDiscardingDropWhatCannotBeWritten) {
  Write("abc");
  FullDisk const full(0);
  file.DiscardUnwritten();
  EXPECT_EQ(file.GetSize(), 0);
  MFile lost(64);
  ASSERT_TRUE(lost.OPEN_UPDATE(path.c_str()));
  lost.WRITE("abc", 3);
}

TEST_F(File, ACutFileIsNotWrittenOn) {
  Write(std::string(100, 'a'));
  ASSERT_TRUE(file.FLUSH());
  EXPECT_TRUE(file.IsWhole());
  ASSERT_EQ(::truncate(path.c_str(), 10), 0);
  EXPECT_FALSE(file.IsWhole());
  file.SEEK(0, 2);
  EXPECT_EQ(file.TELL(), 100);
  Write("bbb");
  EXPECT_FALSE(file.FLUSH()) << "the gap would read as zeros";
  file.DiscardUnwritten();
  file.SEEK(0, 0);
  EXPECT_EQ(Read(10), std::string(10, 'a'));
  EXPECT_THROW(Read(1), std::system_error);

  MFile reopened(64);
  {
    NoDescriptors const none;
    EXPECT_FALSE(reopened.OPEN_UPDATE(path.c_str()));
    reopened.ExpectSize(100);
    EXPECT_TRUE(reopened.IsWhole()) << "it may well be";
  }
  EXPECT_FALSE(reopened.IsWhole()) << "opened later, it is seen to be cut all the same";
}

}  // namespace
