#include <gtest/gtest.h>

#include "tools/Program.h"

namespace {

class Guide : public ProgramTest {};

/// The pictures are what the program draws today. If this fails after a change that is meant, run docs/pictures/make.sh
/// and look at them.
TEST_F(Guide, PicturesAreThoseOfTheProgram) {
  std::filesystem::path const pictures = std::filesystem::path(SLICEDATA_DOCS_DIR) / "pictures";
  std::string const command =
      '"' + (pictures / "make.sh").string() + "\" \"" SLICEDATA_PROGRAM "\" \"" + GetWorkPath("") + '"';
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  std::size_t num_pictures = 0;
  for (auto const& entry : std::filesystem::directory_iterator(pictures)) {
    if (entry.path().extension() != ".svg") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(file), {}) == Read(entry.path().filename().string()))
        << entry.path();
    ++num_pictures;
  }
  EXPECT_EQ(num_pictures, GetFiles().size());
}

}  // namespace
