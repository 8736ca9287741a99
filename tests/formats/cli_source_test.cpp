#include <SliceData/slice_model/M2DSliceBaseInfo.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

#include "SliceFiles.h"

namespace {

using SliceFormats::CliForm;
using SliceFormats::CliSource;
using SliceFormats::FormatReport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Layout = BinaryCli::Layout;

std::string Ascii(std::string const& geometry, std::string const& header_lines = "$$UNITS/1\n") {
  return "$$HEADERSTART\n$$ASCII\n" + header_lines + "$$HEADEREND\n$$GEOMETRYSTART\n" + geometry + "$$GEOMETRYEND\n";
}

/// The numbers of a JSON file by their keys; keys of inner objects count like the others.
std::map<std::string, long> ReadNumbers(std::string const& json) {
  std::map<std::string, long> numbers;
  for (auto at = json.find('"'); at != std::string::npos; at = json.find('"', at + 1)) {
    auto const end = json.find('"', at + 1);
    char const* const value = json.c_str() + json.find(':', end) + 1;
    char* behind = nullptr;
    long const number = std::strtol(value, &behind, 10);
    if (behind != value) numbers[json.substr(at + 1, end - at - 1)] = number;
    at = end;
  }
  return numbers;
}

class CliSamples : public testing::TestWithParam<char const*> {};

TEST_P(CliSamples, GiveTheExpectedFigures) {
  std::string const directory = SLICEDATA_SAMPLES_DIR;
  std::string const path = directory + "/" + GetParam() + ".cli";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "the sample files are not at " << directory;
  auto const expected = ReadNumbers(ReadBytes(directory + "/expected/" + GetParam() + ".json"));
  ASSERT_THAT(expected, testing::SizeIs(16));

  FormatReport report;
  CliSource const source(path, &report);
  std::map<std::string, long> found;
  unsigned long const num_slices = source.StartGettingSlices();
  found["slices"] = static_cast<long>(num_slices);
  for (char const* const key : {"contours", "closedContours", "outerContours", "contourPoints", "vectorBlocks",
                                "vectors", "pointBlocks", "points", "areaContours"}) {
    found[key] = 0;
  }
  M2DSliceXYArea area;
  for (unsigned long i = 0; i < num_slices; ++i) {
    auto const slice = source.GetSlice(i);
    area.Extend(slice->GetXYArea());
    for (M2DSliceContour const& contour : slice->GetBorder()) {
      ++found["contours"];
      found["closedContours"] += contour.GetIsClosed();
      found["outerContours"] += contour.GetIsOuter();
      found["contourPoints"] += static_cast<long>(contour.GetNumPoints());
    }
    for (M2DSliceVectorBlock const& block : slice->GetVectors()) {
      ++found["vectorBlocks"];
      found["vectors"] += static_cast<long>(block.size());
    }
  }
  source.StopGettingSlices();
  found["zMin"] = source.GetSliceZPosition(0);
  found["zMax"] = source.GetSliceZPosition(num_slices - 1);
  found["minX"] = area.minX;
  found["maxX"] = area.maxX;
  found["minY"] = area.minY;
  found["maxY"] = area.maxY;
  EXPECT_EQ(found, expected);
  EXPECT_EQ(source.GetXYArea(), area);
  EXPECT_THAT(report.GetNotes(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, CliSamples,
                         testing::Values("frustum_hatched_ascii", "tall_part_binary", "open_block_support_binary",
                                         "cylinder_negative_binary"));

TEST(CliSource, ReadsAsciiWithCommentsBlanksAndLineEndsInOddPlaces) {
  FormatReport report;
  EXPECT_EQ(DescribeCli(MakeSmallAsciiCli(), &report),
            "z 10\n"
            "outer [Border IndexModel=1 POWER=150.5 SPEED=1000] 0,0 101,-5 70,100\n"
            "vectors [Hatching IndexModel=2 POWER=150.5 SPEED=1000] 10,20-30,40 50,60-70,80\n"
            "z 20\n"
            "open [Border IndexModel=1 POWER=150.5 SPEED=1000] 10,20 30,40\n"
            "hole [Border IndexModel=1 POWER=99 SPEED=1000] 50,50\n"
            "z 30\n"
            "outer [Border IndexModel=1 POWER=99 SPEED=1000]\n");
  EXPECT_THAT(report.GetNotes(), IsEmpty());

  MemoryFile const file(MakeSmallAsciiCli());
  CliSource const source(file.GetPath());
  EXPECT_EQ(source.GetForm(), CliForm::Ascii);
  EXPECT_EQ(*source.GetProperties().GetValue<std::string>("Label"), "1,first part");
  EXPECT_EQ(*source.GetProperties().GetValue<std::string>("UserData"), "me,6,a\r\nb,c");
  EXPECT_EQ(source.GetXYArea(), (M2DSliceXYArea{0, 101, -5, 100}));
}

TEST(CliSource, GivesParametersInForceAlsoWhenALayerIsReadAlone) {
  MemoryFile const file(
      Ascii("$$POWER/10\n$$LAYER/1\n$$POLYLINE/1,1,1,0,0\n$$SPEED/5\n$$LAYER/2\n$$POWER/20\n"
            "$$POLYLINE/1,1,1,0,0\n$$LAYER/3\n$$POLYLINE/1,1,1,0,0\n",
            "$$UNITS/1\n$$FOCUS/0.5\n"));
  CliSource const source(file.GetPath());
  auto const describe = [&](unsigned long i) {
    return testing_support::TextOf(source.GetSlice(i)->GetBorder().GetFirst()->GetVectorTypeInfo());
  };
  EXPECT_EQ(describe(2), "Border IndexModel=1 FOCUS=0.5 POWER=20 SPEED=5");
  EXPECT_EQ(describe(0), "Border IndexModel=1 FOCUS=0.5 POWER=10");
  EXPECT_EQ(describe(1), "Border IndexModel=1 FOCUS=0.5 POWER=20 SPEED=5");
}

TEST(CliSource, SortsLayersAndMergesThoseOfEqualHeight) {
  MemoryFile const file(
      Ascii("$$LAYER/3\n$$POLYLINE/1,1,1,1,1\n$$LAYER/1\n$$HATCHES/1,0\n$$LAYER/3.00001\n"
            "$$POLYLINE/2,1,1,2,2\n$$LAYER/2\n$$LAYER/9\n",
            "$$UNITS/1\n$$LAYERS/5\n"));
  FormatReport report;
  CliSource const source(file.GetPath(), &report);
  EXPECT_EQ(Describe(source),
            "z 10000\nvectors [Hatching IndexModel=1]\n"
            "z 20000\n"
            "z 30000\nouter [Border IndexModel=1] 10000,10000\nouter [Border IndexModel=2] 20000,20000\n"
            "z 90000\n");
  EXPECT_EQ(source.GetSliceThickness(), 10000);
  EXPECT_THAT(report.GetNotes(), IsEmpty());
}

TEST(CliSource, TakesTheMostFrequentStepAsThicknessAndTheSmallestOfEquallyFrequentOnes) {
  auto const get_thickness = [](std::string const& geometry) {
    MemoryFile const file(Ascii(geometry));
    return CliSource(file.GetPath()).GetSliceThickness();
  };
  EXPECT_EQ(get_thickness("$$LAYER/1 $$LAYER/1.1 $$LAYER/3.1 $$LAYER/5.1"), 20000);
  EXPECT_EQ(get_thickness("$$LAYER/1 $$LAYER/4 $$LAYER/6"), 20000);
  EXPECT_EQ(get_thickness("$$LAYER/1"), 0);
  EXPECT_EQ(get_thickness(""), 0);
}

TEST(CliSource, RoundsToNearestAndDropsARepeatedLastPointAfterRounding) {
  EXPECT_EQ(DescribeCli(Ascii("$$LAYER/0.49999999999999994\n$$POLYLINE/1,1,4,0.5,-0.5,2.4999,-2.5,1.5,2147483647,"
                              "0.9,-1.4\n$$POLYLINE/1,2,2,1,1,1,1\n$$POLYLINE/1,0,2,7,7,7,7\n",
                              "$$UNITS/0.0001\n")),
            "z 0\nouter [Border IndexModel=1] 1,-1 2,-3 2,2147483647\nopen [Border IndexModel=1] 1,1 1,1\n"
            "hole [Border IndexModel=1] 7,7\n");
  // 0.005 mm is no exact number, and 20 of them are 0.1 mm nevertheless; long and padded numbers go another way.
  EXPECT_EQ(
      DescribeCli(Ascii("$$LAYER/20\n$$POLYLINE/1,2,2,80.01,0000000000000000000080.01,8.001000000000000000000e1,0.1\n",
                        "$$UNITS/00000000.005000\n")),
      "z 1000\nopen [Border IndexModel=1] 4001,4001 4001,5\n");
  // Three internal units to one of the file, and not a little less.
  EXPECT_EQ(DescribeCli(Ascii("$$LAYER/0.5\n", "$$UNITS/0.0003\n")), "z 2\n");
}

TEST(CliSource, TellsThatSomethingStandsBehindTheEnd) {
  FormatReport report;
  EXPECT_EQ(DescribeCli(Ascii("$$LAYER/1\n") + "\n \n", &report), "z 10000\n");
  EXPECT_THAT(report.GetNotes(), IsEmpty());
  EXPECT_EQ(DescribeCli(Ascii("$$LAYER/1\n") + Ascii("$$LAYER/2\n"), &report), "z 10000\n");
  EXPECT_EQ(report.GetNotes().size(), 1u);
}

class CliBinaryLayouts : public testing::TestWithParam<Layout> {};

TEST_P(CliBinaryLayouts, HoldAllCommands) {
  FormatReport report;
  EXPECT_EQ(DescribeCli(MakeSmallBinaryCli(GetParam()), &report),
            "z 250\n"
            "outer [Border IndexModel=7 POWER=200] 0,0 10000,0 10000,5025\n"
            "vectors [Hatching IndexModel=7 POWER=200] 100,200-300,400 500,600-700,800\n"
            "z 500\n"
            "hole [Border IndexModel=3 POWER=200] 1000,1000 2000,1000 2000,6000000\n"
            "open [Border IndexModel=3 POWER=200] 100,200 300,400\n"
            "vectors [Hatching IndexModel=4 POWER=200] 900,800-700,600\n");
  EXPECT_THAT(report.GetNotes(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, CliBinaryLayouts,
                         testing::Values(Layout::Packed, Layout::FillBehindCommands, Layout::FillBeforeLongValues,
                                         Layout::FillBehindShortValues));

TEST(CliSource, TakesTheAlignedLayoutThatAgreesWithTheNumberOfLayers) {
  auto const read = [](std::string const& further_lines) {
    return DescribeCli(BinaryCli(Layout::FillBeforeLongValues, further_lines)
                           .Short(128, {1})
                           .Short(128, {2})
                           .Short(128, {3})
                           .Short(128, {4})
                           .Get());
  };
  EXPECT_EQ(read("$$LAYERS/4\n"), "z 100\nz 200\nz 300\nz 400\n");
  // With fill bytes behind every command, every other command would be the height of a layer: possible as well.
  EXPECT_EQ(read(""), "z 12800\n");
}

TEST(CliSource, ReadsShortCoordinatesAsSignedWhereTheDimensionIsNegative) {
  auto const read = [](std::string const& dimension) {
    return DescribeCli(
        BinaryCli(Layout::Packed, dimension).Short(128, {0xFFFF}).Short(129, {1, 2, 1, 0xFFFE, 0x8000}).Get());
  };
  std::string const record = "open [Border IndexModel=1] ";
  EXPECT_EQ(read(""), "z 6553500\n" + record + "6553400,3276800\n");
  EXPECT_EQ(read("$$DIMENSION/0,-0.1,0,1,1,1\n"), "z 6553500\n" + record + "-200,-3276800\n");
  EXPECT_EQ(read("$$DIMENSION/0,0,-1,1,1,1\n"), "z -100\n" + record + "6553400,3276800\n");
}

TEST(CliSource, ToleratesLineEndsAroundBinaryGeometry) {
  std::string bytes = BinaryCli(Layout::Packed).Short(128, {1}).Get();
  bytes.insert(bytes.find("$$HEADEREND") + 11, "\r\n\n");
  EXPECT_EQ(DescribeCli(bytes + "\r\n"), "z 100\n");
}

TEST(CliSource, TellsWhatItSkipsOnceAKind) {
  FormatReport report;
  std::string const geometry = "$$LAYER/1\n$$WOBBLE/1,2\n$$POLYLINE/1,1,1,0,0\n$$WOBBLE/3\n$$BLINK\n";
  std::string const bytes = "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$COLOUR/red\n$$HEADEREND\n" + geometry;
  EXPECT_EQ(DescribeCli(bytes, &report), "z 10000\nouter [Border IndexModel=1] 0,0\n");
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("$$COLOUR"), HasSubstr("$$WOBBLE"), HasSubstr("$$BLINK"),
                                             HasSubstr("$$GEOMETRYSTART"), HasSubstr("$$GEOMETRYEND")));

  FormatReport many;
  std::string directives;
  for (int i = 0; i < 1000; ++i) directives += "$$D" + std::to_string(i) + "\n";
  DescribeCli(Ascii(directives), &many);
  EXPECT_LT(many.GetNotes().size(), 50u);
}

TEST(CliSource, KeepsLabelsAndUserDataApartAndCorrectsLengths) {
  MemoryFile const file(
      Ascii("", "$$UNITS/1\n$$LABEL/1,a // b\n$$LABEL/2,c$$USERDATA/u,99,short\n$$USERDATA/v,2,ab\n"));
  FormatReport report;
  CliSource const source(file.GetPath(), &report);
  auto const get = [&](char const* name) {
    std::vector<std::string> values;
    for (std::string const* const value : source.GetProperties().GetProperties<std::string>(name))
      values.push_back(*value);
    return values;
  };
  EXPECT_THAT(get("Label"), ElementsAre("1,a // b", "2,c"));
  EXPECT_THAT(get("UserData"), ElementsAre("u,5,short", "v,2,ab"));
  EXPECT_THAT(report.GetNotes(), ElementsAre(HasSubstr("$$USERDATA")));
}

}  // namespace
