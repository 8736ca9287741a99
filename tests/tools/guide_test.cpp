#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

#include "tools/Program.h"

namespace {

using Lines = std::vector<std::string>;

/// Without the blanks around them.
Lines ReadLines(std::filesystem::path const& path) {
  Lines lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    auto const begin = line.find_first_not_of(' ');
    lines.push_back(begin == std::string::npos ? "" : line.substr(begin, line.find_last_not_of(' ') + 1 - begin));
  }
  return lines;
}

/// The fenced blocks of a language in a page of the documentation.
std::vector<Lines> ReadBlocks(std::string const& page, std::string const& language) {
  std::vector<Lines> blocks;
  bool is_inside = false;
  for (std::string const& line : ReadLines(std::filesystem::path(SLICEDATA_DOCS_DIR) / page)) {
    if (line == "```" + language) {
      blocks.emplace_back();
      is_inside = true;
    } else if (line == "```") {
      is_inside = false;
    } else if (is_inside) {
      blocks.back().push_back(line);
    }
  }
  EXPECT_FALSE(blocks.empty()) << page << " has no code in " << language;
  return blocks;
}

class Guide : public ProgramTest {};

/// The examples are compiled and run, so what the guide shows of them works. If this fails after a change of an
/// example, take the lines over into the guide.
TEST_F(Guide, CodeIsThatOfTheExamples) {
  std::vector<Lines> examples;
  for (auto const& entry : std::filesystem::directory_iterator(SLICEDATA_DOCS_DIR "/../examples")) {
    if (entry.path().extension() == ".cpp") examples.push_back(ReadLines(entry.path()));
  }
  for (Lines const& block : ReadBlocks("guide.md", "cpp")) {
    EXPECT_TRUE(std::any_of(examples.begin(), examples.end(),
                            [&](Lines const& example) {
                              return std::search(example.begin(), example.end(), block.begin(), block.end()) !=
                                     example.end();
                            }))
        << "in no example: " << testing::PrintToString(block);
  }
}

/// Copied and pasted in their order. Those of the guide itself need an installed library: see tests/consumer.
TEST_F(Guide, CommandsForTheProgramWork) {
  std::filesystem::copy(SLICEDATA_DOCS_DIR, GetWorkPath("docs"), std::filesystem::copy_options::recursive);
  std::ostringstream script;
  for (Lines const& block : ReadBlocks("program.md", "sh")) {
    for (std::string const& line : block) script << line << '\n';
  }
  Write("script.sh", script.str());
  std::string const folder = std::filesystem::path(SLICEDATA_PROGRAM).parent_path().string();
  std::string const command = "cd '" + GetWorkPath("") + "' && TMPDIR='" + GetWorkPath("") + "' PATH='" + folder +
                              "':\"$PATH\" sh -eux script.sh > /dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0) << "the last command that is shown above has failed";
}

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
