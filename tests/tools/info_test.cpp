#include <gmock/gmock.h>

#include "tools/Json.h"
#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::HasSubstr;

class Info : public ProgramTest {};

class InfoOfSample : public ProgramTest, public testing::WithParamInterface<char const*> {};

TEST_P(InfoOfSample, SaysWhatIsExpected) {
  std::filesystem::path const samples = SLICEDATA_SAMPLES_DIR;
  auto const expected_path = samples / "expected" / (GetParam() + std::string(".json"));
  if (!std::filesystem::exists(expected_path)) GTEST_SKIP() << "there are no samples in " << samples;
  std::ifstream file(expected_path);
  auto const expected = JsonReader::Read(std::string(std::istreambuf_iterator<char>(file), {}));
  auto said =
      JsonReader::Read(RunSilently({"info", (samples / (GetParam() + std::string(".cli"))).string(), "--json"}));
  ASSERT_FALSE(expected.empty());
  for (auto const& [key, value] : expected) EXPECT_EQ(said[key], value) << key;
}

INSTANTIATE_TEST_SUITE_P(Samples, InfoOfSample,
                         testing::Values("cylinder_negative_binary", "frustum_hatched_ascii",
                                         "open_block_support_binary", "tall_part_binary"));

TEST_F(Info, JsonHasExactlyTheKeysThatProgramsRelyOn) {
  Write("part.cli", MakeSmallPart(3));
  JsonReader::Values const expected = {
      {"schema", "1"},
      {"unitsPerMm", "10000"},
      {"slices", "3"},
      {"zMin", "1000"},
      {"zMax", "3000"},
      {"thickness", "1000"},
      {"xyArea.minX", "-30000"},
      {"xyArea.maxX", "110000"},
      {"xyArea.minY", "-40000"},
      {"xyArea.maxY", "70000"},
      {"contours", "6"},
      {"closedContours", "3"},
      {"outerContours", "3"},
      {"contourPoints", "15"},
      {"vectorBlocks", "3"},
      {"vectors", "3"},
      {"pointBlocks", "0"},
      {"points", "0"},
      {"areaContours", "0"},
      {"types.Border.contours", "6"},
      {"types.Border.vectorBlocks", "0"},
      {"types.Border.pointBlocks", "0"},
      {"types.Hatching.contours", "0"},
      {"types.Hatching.vectorBlocks", "3"},
      {"types.Hatching.pointBlocks", "0"},
  };
  EXPECT_EQ(JsonReader::Read(RunSilently({"info", "part.cli", "--json"})), expected);
}

TEST_F(Info, JsonOfAPartWithoutLayersHasNoExtent) {
  Write("empty.cli", MakeSmallPart(0));
  auto const said = JsonReader::Read(RunSilently({"info", "empty.cli", "--json"}));
  EXPECT_EQ(said.at("slices"), "0");
  for (char const* const key : {"zMin", "zMax", "thickness", "xyArea"}) EXPECT_EQ(said.at(key), "null") << key;
}

TEST_F(Info, TextIsInMillimetresAndNamesLabelsAndTypes) {
  Write("part.cli", MakeSmallPart(12));
  std::string const text = RunSilently({"info", "part.cli"});
  EXPECT_THAT(text, HasSubstr("12, z 0.1 to 1.2 mm, 0.1 mm thick"));
  EXPECT_THAT(text, HasSubstr("x -3 to 11 mm, y -4 to 7 mm (14 by 11)"));
  EXPECT_THAT(text, HasSubstr("24 (12 closed, 12 open; 12 outer) with 60 points"));
  EXPECT_THAT(text, HasSubstr("1,bracket"));
  EXPECT_THAT(text, HasSubstr("Hatching"));
}

TEST_F(Info, TextFromTheFileCannotSteerTheTerminal) {
  std::string part = MakeSmallPart(1);
  Write("part.cli", part.replace(part.find("bracket"), 7, "a\x1B[2J\xFF\xC2\x9B\xC3\xA9\xE2\x80\xAE\xF3\xA0\x81\x81"));
  EXPECT_THAT(RunSilently({"info", "part.cli"}), HasSubstr("a\\u{1B}[2J\\xFF\\u{9B}\xC3\xA9\\u{202E}\\u{E0041}\n"));
}

}  // namespace
