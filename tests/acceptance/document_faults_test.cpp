#include <SliceData/platform/file_io/MPendingFile.h>
#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <random>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "support/Scratch.h"
#include "support/Slices.h"

// What happens to a stack document when the process dies, the disk is full, or the file is damaged.

namespace {

using testing::HasSubstr;

std::string ReadBytes(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Some file systems wait for the disk when a file is emptied and written again: a new one is faster.
void WriteBytes(std::string const& path, std::string const& bytes) {
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary) << bytes;
}

class DocumentFaults : public testing::Test {
 protected:
  ~DocumentFaults() override {
    for (auto const& entry : std::filesystem::directory_iterator(m_directory.GetPath())) {
      std::filesystem::remove(entry.path());
    }
  }

  /// A stack with all kinds of elements, and `num_points` points in each contour.
  static void Fill(M2DSliceStack& stack, int num_slices, long num_points) {
    for (int i = 0; i < num_slices; ++i) {
      M2DSliceStackSlice* const slice = stack.AddSlicePosition(1000 + 300 * i);
      testing_support::FillAllComponents(*slice, i);
      auto border = slice->GetBorderUpdate();
      M2DSliceContour& contour = border->AddContour();
      for (long point = 0; point < num_points; ++point) contour.AddPoint(point * 7919, i - point);
      contour.GetVectorTypeInfo().SetIndex("IndexModel", i);
      contour.GetVectorTypeInfo().SetNumber("POWER", 200.5);
    }
    stack.SetSliceThickness(300);
  }

  /// What reading the document says.
  std::string ReadError() const {
    M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
    try {
      SliceFormats::ReadStackDocument(m_path, stack);
    } catch (MDocumentError const& error) {
      return error.what();
    }
    return "";
  }

  /// The document that reading the document and saving it again gives.
  std::string ReadAndSave() const {
    M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
    SliceFormats::ReadStackDocument(m_path, stack);
    SliceFormats::WriteStackDocument(m_path, stack);
    return ReadBytes(m_path);
  }

  std::vector<std::string> GetFiles() const { return testing_support::NamesIn(m_directory.GetPath()); }

  testing_support::EmptyDirectory const m_directory;
  std::string const m_path = m_directory.GetPath() + "/part.slicestack";
};

TEST_F(DocumentFaults, KilledSavesLeaveTheOldOrTheNewDocument) {
  char const* const wish = std::getenv("KILLS");
  int const num_kills = wish != nullptr ? std::atoi(wish) : 12;
  M2DSliceStack small(e2DSliceStackCachingType::NoTempFiles);
  M2DSliceStack large(e2DSliceStackCachingType::NoTempFiles);
  Fill(small, 3, 1000);
  Fill(large, 40, 20000);
  SliceFormats::WriteStackDocument(m_path, large);
  std::string const large_bytes = ReadBytes(m_path);
  SliceFormats::WriteStackDocument(m_path, small);
  std::string const small_bytes = ReadBytes(m_path);

  std::mt19937 random(1);
  int num_large = 0;
  for (int i = 0; i < num_kills; ++i) {
    pid_t const process = ::fork();
    if (process == 0) {
      for (;;) {
        SliceFormats::WriteStackDocument(m_path, large);
        SliceFormats::WriteStackDocument(m_path, small);
      }
    }
    ::usleep(std::uniform_int_distribution<useconds_t>(0, 100000)(random));
    ::kill(process, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    ASSERT_TRUE(WIFSIGNALED(status));
    std::string const bytes = ReadBytes(m_path);
    ASSERT_TRUE(bytes == small_bytes || bytes == large_bytes) << "kill " << i << ": " << bytes.size() << " bytes";
    num_large += bytes == large_bytes;
    ASSERT_EQ(ReadError(), "");
  }
  std::cout << num_kills << " kills, the larger document was there " << num_large << " times\n";
}

TEST_F(DocumentFaults, FullDiskLeavesTheOldDocumentAndNothingElse) {
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  Fill(stack, 2, 10);
  SliceFormats::WriteStackDocument(m_path, stack);
  std::string const before = ReadBytes(m_path);
  Fill(stack, 60, 20000);
  // In the first values, in the middle of a stream, and in the very end.
  for (rlim_t const room : {100, 300000, 5000000}) {
    testing_support::FullDisk const full(room);
    try {
      SliceFormats::WriteStackDocument(m_path, stack);
      ADD_FAILURE() << "no error with room for " << room;
    } catch (std::system_error const& error) {
      EXPECT_THAT(error.what(), HasSubstr(m_path));
    }
    EXPECT_EQ(ReadBytes(m_path), before);
    EXPECT_THAT(GetFiles(), testing::ElementsAre("part.slicestack"));
  }
  SliceFormats::WriteStackDocument(m_path, stack);
  EXPECT_EQ(ReadError(), "");
}

TEST_F(DocumentFaults, EveryTruncationIsAnError) {
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  Fill(stack, 20, 300);
  SliceFormats::WriteStackDocument(m_path, stack);
  std::string const bytes = ReadBytes(m_path);
  for (std::size_t size = 0; size < bytes.size(); size += 64) {
    WriteBytes(m_path, bytes.substr(0, size));
    EXPECT_THAT(ReadError(), HasSubstr("; ")) << size;
  }
}

TEST_F(DocumentFaults, EveryFlippedBitIsFound) {
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  Fill(stack, 2, 5);
  SliceFormats::WriteStackDocument(m_path, stack);
  ReadAndSave();  // reading gives slices a range, of which the next reading knows the thickness alone
  std::string const bytes = ReadAndSave();
  std::mt19937 random(1);
  int num_unfelt = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(damaged[i] ^ 1 << random() % 8);
    WriteBytes(m_path, damaged);
    std::string const error = ReadError();
    if (error.empty()) {
      // Compressed data end within a byte, and the rest of that byte means nothing.
      EXPECT_TRUE(ReadAndSave() == bytes) << "byte " << i;
      ++num_unfelt;
      continue;
    }
    EXPECT_THAT(error, HasSubstr("; ")) << "byte " << i << " of " << bytes.size();
    EXPECT_EQ(error.find(m_path + ": "), 0u) << error;
  }
  EXPECT_LE(num_unfelt, 2);  // compressed entries
}

}  // namespace
