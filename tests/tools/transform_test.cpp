#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/cli/CliSource.h>
#include <SliceFormats/stack_document/StackDocumentSource.h>

#include <gmock/gmock.h>

#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class Transform : public ProgramTest {
 protected:
  using Points = std::vector<std::pair<long, long>>;

  void SetUp() override { Write("part.cli", MakeSmallPart(1)); }

  /// The points of the contours and vectors of the part's only layer, in their order, after the mappings.
  std::vector<Points> Map(Arguments const& mappings) const {
    Arguments arguments = {"transform", "part.cli", "-o", "out.cli", "--force"};
    arguments.insert(arguments.end(), mappings.begin(), mappings.end());
    RunSilently(arguments);
    std::vector<Points> paths;
    auto const slice = SliceFormats::CliSource(GetWorkPath("out.cli")).GetSlice(0);
    for (M2DSliceContour const& contour : slice->GetBorder()) {
      Points& points = paths.emplace_back();
      for (auto const& point : contour.GetPoints()) points.emplace_back(point.x, point.y);
    }
    for (M2DSliceVectorBlock const& block : slice->GetVectors()) {
      Points& points = paths.emplace_back();
      for (M2DSliceVector const& vector : block) {
        points.emplace_back(vector.x1, vector.y1);
        points.emplace_back(vector.x2, vector.y2);
      }
    }
    return paths;
  }

  /// The points of the part's triangle, which is (1,2) (11,2) (1,7) mm.
  Points MapTriangle(Arguments const& mappings) const { return Map(mappings).at(0); }
};

TEST_F(Transform, QuarterTurnsAreCounterClockwiseAndExact) {
  auto const quarter = ElementsAre(Pair(-20000, 10000), Pair(-20000, 110000), Pair(-70000, 10000));
  EXPECT_THAT(MapTriangle({"--rotate", "90"}), quarter);
  EXPECT_THAT(MapTriangle({"--rotate", "-270"}), quarter);
  EXPECT_THAT(MapTriangle({"--rotate", "36000090"}), quarter);
  EXPECT_THAT(MapTriangle({"--rotate", "180"}),
              ElementsAre(Pair(-10000, -20000), Pair(-110000, -20000), Pair(-10000, -70000)));
  EXPECT_THAT(MapTriangle({"--rotate", "-90"}),
              ElementsAre(Pair(20000, -10000), Pair(20000, -110000), Pair(70000, -10000)));
  EXPECT_THAT(MapTriangle({"--rotate", "360"}),
              ElementsAre(Pair(10000, 20000), Pair(110000, 20000), Pair(10000, 70000)));
  // 30 degrees take (11, 2) to (11 cos 30 - 2 sin 30, 11 sin 30 + 2 cos 30).
  EXPECT_THAT(MapTriangle({"--rotate", "30"})[1], Pair(85262, 72320));
}

TEST_F(Transform, MappingsRunInTheOrderOfTheCommandLine) {
  EXPECT_THAT(MapTriangle({"--translate", "1,0", "--rotate", "90"})[0], Pair(-20000, 20000));
  EXPECT_THAT(MapTriangle({"--rotate", "90", "--translate", "1,0"})[0], Pair(-10000, 10000));
  EXPECT_THAT(
      MapTriangle({"--translate=1,0", "--rotate=90", "--translate", "-300um,0.03mm", "--matrix", "2,0,0,1,0,0"})[0],
      Pair(-46000, 20300));
}

TEST_F(Transform, EverythingInALayerIsMapped) {
  EXPECT_THAT(Map({"--matrix", "1,1,0,2,10,-1mm"}),
              ElementsAre(ElementsAre(Pair(130000, 30000), Pair(230000, 30000), Pair(180000, 130000)),
                          ElementsAre(Pair(30000, -90000), Pair(70000, -10000)),
                          ElementsAre(Pair(150000, 50000), Pair(170000, 50000))));
}

TEST_F(Transform, AMirrorKeepsOuterContoursCounterClockwise) {
  auto const mirrored = Map({"--matrix", "-1,0,0,1,0,0"});
  EXPECT_THAT(mirrored[0], ElementsAre(Pair(-10000, 20000), Pair(-10000, 70000), Pair(-110000, 20000)));
  EXPECT_THAT(mirrored[1], ElementsAre(Pair(30000, -40000), Pair(30000, 0))) << "an open path keeps its direction";
  EXPECT_THAT(MapTriangle({"--matrix", "-1,0,0,1,0,0", "--matrix", "-1,0,0,1,0,0"}),
              ElementsAre(Pair(10000, 20000), Pair(110000, 20000), Pair(10000, 70000)));
}

TEST_F(Transform, RefinementLeavesStraightLinesAlone) {
  EXPECT_THAT(MapTriangle({"--rotate", "90", "--max-deviation", "10um"}),
              ElementsAre(Pair(-20000, 10000), Pair(-20000, 110000), Pair(-70000, 10000)));
}

TEST_F(Transform, VerboseTellsTheSequence) {
  std::string const told =
      Run({"transform", "part.cli", "-o", "out.cli", "-v", "--rotate", "-12.5", "--translate", "0,1500um"}).errors;
  EXPECT_LT(told.find("rotate by -12.5 degrees"), told.find("translate by x 0, y 1.5 mm"));
}

TEST_F(Transform, MappingsThatMakeNoSenseAreRefused) {
  Arguments const start = {"transform", "part.cli", "-o", "out.cli"};
  auto const refusal = [&](Arguments const& mappings) {
    Arguments arguments = start;
    arguments.insert(arguments.end(), mappings.begin(), mappings.end());
    return RunIntoTrouble(arguments);
  };
  EXPECT_THAT(refusal({}), HasSubstr("nothing to do"));
  EXPECT_THAT(refusal({"--translate", "5"}), HasSubstr("--translate: '5' is not 2 numbers"));
  EXPECT_THAT(refusal({"--translate", "5,3in"}), HasSubstr("'3in' is no length"));
  EXPECT_THAT(refusal({"--translate", "5,inf"}), HasSubstr("'inf' is no length"));
  EXPECT_THAT(refusal({"--translate", "5,1e9"}), HasSubstr("stay within 214 m"));
  EXPECT_THAT(refusal({"--rotate", "right"}), HasSubstr("--rotate: 'right' is no number"));
  EXPECT_THAT(refusal({"--rotate", "nan"}), HasSubstr("no number"));
  EXPECT_THAT(refusal({"--matrix", "1,2,2,4,0,0"}), HasSubstr("a line or a point"));
  EXPECT_THAT(refusal({"--matrix", "1e9,0,0,1,0,0"}), HasSubstr("layer at z 0.1 mm would lie beyond 214 m"));
  EXPECT_THAT(refusal({"--matrix", "1e300,0,0,1e300,0,0"}), HasSubstr("beyond 214 m"));
  EXPECT_THAT(refusal({"--rotate", "1", "--max-deviation", "0"}), HasSubstr("not above 0"));
  EXPECT_THAT(GetFiles(), ElementsAre("part.cli"));
}

TEST_F(Transform, TablesAreMappingsLikeTheOthers) {
  // Grid points go 1 mm to the right on the line x = 0 and 3 mm on the line x = 20 mm.
  Write("shift.csv", "0,0,10000,0\n200000,0,230000,0\r\n\n0, 100000,10000,100000\n200000,100000,230000,100000");
  EXPECT_THAT(MapTriangle({"--distortion", "shift.csv"}),
              ElementsAre(Pair(21000, 20000), Pair(131000, 20000), Pair(21000, 70000)));
  EXPECT_THAT(MapTriangle({"--translate", "1,0", "--distortion", "shift.csv"})[0], Pair(32000, 20000));
  EXPECT_THAT(MapTriangle({"--distortion", "shift.csv", "--translate", "1,0"})[0], Pair(31000, 20000));

  // Twice as large in the middle, unchanged at the edge; the middle is (5, 5), and (1, 2) lies 1 mm from the edge.
  Write("factors.csv", "0,1\n5,2\n");
  EXPECT_THAT(MapTriangle({"--rescale", "factors.csv", "--platform", "0,10,10,0"}),
              ElementsAre(Pair(2000, 14000), Pair(110000, 20000), Pair(2000, 74000)));
  Write("part.cli", MakeSmallPart(3));
  Write("heights.csv", "0,1\n0.2,2\n");
  RunSilently({"transform", "part.cli", "-o", "tall.slicestack", "--z-scale", "heights.csv"});
  SliceFormats::StackDocumentSource const tall(GetWorkPath("tall.slicestack"));
  std::vector<long> heights;
  for (unsigned long i = 0; i < 3; ++i) heights.push_back(tall.GetSliceZPosition(i));
  EXPECT_THAT(heights, ElementsAre(1500, 4000, 6000));
  EXPECT_EQ(tall.GetProperties().GetValue<long>("SliceThickness"), nullptr) << "layers differ in thickness now";
}

TEST_F(Transform, LongEdgesFollowADistortionWhereThatIsAsked) {
  std::string table;
  for (long x = 0; x <= 20; ++x) {
    for (long y = 0; y <= 10; ++y) {
      table += std::to_string(10000 * x) + ',' + std::to_string(10000 * y) + ',' + std::to_string(10000 * x) + ',' +
               std::to_string(10000 * y + 20 * x * x) + '\n';
    }
  }
  Write("bend.csv", table);
  EXPECT_EQ(MapTriangle({"--distortion", "bend.csv"}).size(), 3u);
  auto const refined = MapTriangle({"--distortion", "bend.csv", "--max-deviation", "2um"});
  EXPECT_GT(refined.size(), 12u);
  // The first edge, from (1, 2) to (11, 2) mm.
  for (auto point = refined.begin(); point->first < 110000; ++point) {
    double const mm = static_cast<double>(point->first) / 10000;
    EXPECT_NEAR(static_cast<double>(point->second), 20000 + 20 * mm * mm, 6) << point->first;
  }
}

TEST_F(Transform, AWrongTableIsNamedWithItsLine) {
  auto const trouble = [&](std::string const& option, std::string const& table, Arguments const& more = {}) {
    Write("table.csv", table);
    Arguments arguments = {"transform", "part.cli", "-o", "out.cli", option, "table.csv"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunIntoTrouble(arguments);
  };
  EXPECT_THAT(trouble("--distortion", "0,0,0,0\n1,2,3\n"), HasSubstr("table.csv: line 2: '1,2,3' has 3 cells"));
  EXPECT_THAT(trouble("--distortion", "\nx,y,u,v\n"), HasSubstr("table.csv: line 2: 'x' is no number"));
  EXPECT_THAT(trouble("--z-scale", "300000,1\n"), HasSubstr("214 m"));
  EXPECT_THAT(trouble("--distortion", ""), HasSubstr("nothing in it"));
  EXPECT_THAT(trouble("--distortion", "0,0,0,0\n200000,200000,0,0\n"), HasSubstr("no sample"));
  EXPECT_THAT(trouble("--distortion", "0,0,1e300,0\n"), HasSubstr("214 m"));
  EXPECT_THAT(trouble("--distortion", "0,0,0,0\n1,0,1,0\n"), HasSubstr("2 by 2"));
  EXPECT_THAT(trouble("--z-scale", "0,1\n1,0\n"), HasSubstr("table.csv: line 2: the factor 0 is not above 0"));
  EXPECT_THAT(trouble("--z-scale", "0,3e9\n"), HasSubstr("the layer at z 0.1 mm would lie beyond 214 m"));
  Write("part.cli", MakeSmallPart(2));
  EXPECT_THAT(trouble("--z-scale", "0.1,1\n0.2,0.4\n"), HasSubstr("z 0.2 mm would not lie above the one before"));
  EXPECT_THAT(trouble("--rescale", "0,1\n"), HasSubstr("--platform"));
  EXPECT_THAT(trouble("--rescale", "0,1\n", {"--platform", "5,5,0,0"}), HasSubstr("LEFT,TOP,RIGHT,BOTTOM"));
  EXPECT_THAT(RunIntoTrouble({"transform", "part.cli", "-o", "out.cli", "--z-scale", "missing.csv"}),
              HasSubstr("missing.csv: there is no such file"));
}

}  // namespace
