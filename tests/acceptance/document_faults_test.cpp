#include <SliceData/platform/sax/MDocumentError.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceFormats/stack_document/StackDocument.h>

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <random>

#include "support/Scratch.h"
#include "support/Slices.h"

// What becomes of a stack document that is damaged. tests/faults has what happens when writing it fails or is killed.

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

  testing_support::EmptyDirectory const m_directory;
  std::string const m_path = m_directory.GetPath() + "/part.slicestack";
};

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
