#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/cli/CliSource.h>

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

}  // namespace
