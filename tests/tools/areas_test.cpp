#include <gmock/gmock.h>
#include <sstream>

#include "tools/Program.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Rectangles by lower left and upper right corner in mm; clockwise ones cut out.
class AreasOfALayer : public ProgramTest {
 protected:
  static std::string Rectangle(double x1, double y1, double x2, double y2, bool clockwise = false) {
    std::ostringstream text;
    text << "$$POLYLINE/1," << (clockwise ? 0 : 1) << ",5," << x1 << ',' << y1 << ',';
    text << (clockwise ? x1 : x2) << ',' << (clockwise ? y2 : y1) << ',' << x2 << ',' << y2 << ',';
    text << (clockwise ? x2 : x1) << ',' << (clockwise ? y1 : y2) << ',' << x1 << ',' << y1 << '\n';
    return text.str();
  }

  void WritePart(std::string const& name, std::string const& layer) const {
    Write(name, "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$VERSION/200\n$$HEADEREND\n$$GEOMETRYSTART\n$$LAYER/0.1\n" +
                    Rectangle(0, 0, 1, 1) + "$$LAYER/0.2\n" + layer + "$$GEOMETRYEND\n");
  }

  /// What the program says of the second layer: the contours of each area, in its order.
  std::vector<std::string> GetContours(Arguments const& more = {}) const {
    Arguments arguments = {"areas", "part.cli", "--layer", "1", "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    std::string const json = RunSilently(arguments);
    EXPECT_THAT(json, AllOf(HasSubstr("\"schema\": 1,"), HasSubstr("\"unitsPerMm\": 10000,")));
    std::vector<std::string> contours;
    for (auto at = json.find("    {"); at != std::string::npos; at = json.find("    {", at + 1)) {
      contours.push_back(json.substr(at + 4, json.find('}', at) - at - 3));
    }
    return contours;
  }
};

constexpr char const* kOne = "{\"contours\": 1, \"layers\": 1}";
constexpr char const* kTwo = "{\"contours\": 2, \"layers\": 1}";

TEST_F(AreasOfALayer, AreToldInJsonAndDrawnInTheirColours) {
  // A hole that reaches the outer contour belongs to it, another one stands by itself; the last two overlap.
  WritePart("part.cli", Rectangle(0, 0, 10, 10) + Rectangle(-1, 4, 5, 6, true) + Rectangle(7, 7, 8, 8, true) +
                            Rectangle(20, 0, 22, 2) + Rectangle(30, 0, 33, 3) + Rectangle(31, 1, 34, 4));
  EXPECT_THAT(GetContours(), ElementsAre(kTwo, kOne, kOne, kOne, kOne));
  EXPECT_THAT(RunSilently({"areas", "part.cli", "--z", "0.1"}), HasSubstr("1 area\n  0: 1 contour of 1 layer\n"));

  RunSilently({"areas", "part.cli", "--layer", "1", "-o", "areas.svg"});
  EXPECT_THAT(Read("areas.svg"), AllOf(HasSubstr("data-area=\"0\" stroke=\"#0072b2\""), HasSubstr("data-area=\"4\""),
                                       HasSubstr("Area 4: 1 contour"), Not(HasSubstr("data-area=\"5\""))));
}

TEST_F(AreasOfALayer, AreThoseThatTheOtherFileLeaves) {
  WritePart("part.cli", Rectangle(0, 0, 10, 10));
  WritePart("bar.cli", Rectangle(4, -1, 6, 11));
  // Two pieces, each bounded by an outer contour of either file, which do not share an area.
  EXPECT_THAT(GetContours({"--subtract", "bar.cli"}), ElementsAre(kOne, kOne, kOne, kOne));
  EXPECT_THAT(GetContours({"--subtract", "part.cli"}), ElementsAre());
  Write("low.cli",
        "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$VERSION/200\n$$HEADEREND\n$$GEOMETRYSTART\n$$LAYER/-9\n$$GEOMETRYEND\n");
  EXPECT_THAT(RunIntoTrouble({"areas", "part.cli", "--layer", "1", "--subtract", "low.cli"}),
              HasSubstr("low.cli: there is no layer at z 0.2"));
  EXPECT_THAT(RunIntoTrouble({"areas", "part.cli"}), HasSubstr("give --layer"));
  EXPECT_THAT(RunIntoTrouble({"areas", "part.cli", "--layer", "0:1"}), HasSubstr("2 layers are chosen"));
  EXPECT_THAT(RunIntoTrouble({"areas", "part.cli", "--layer", "0", "-o", "x.cli"}), HasSubstr("svg"));
}

TEST_F(AreasOfALayer, ThatAreTooManyForAPointAreNoLackOfMemory) {
  std::ostringstream fan;
  for (int i = 0; i < 33'000; ++i) {
    double const y = i * 0.001;
    fan << "$$POLYLINE/1,1,4,0,0,100," << y << ",100," << y + 0.0005 << ",0,0\n";
  }
  WritePart("fan.cli", fan.str());
  EXPECT_THAT(RunIntoTrouble({"areas", "fan.cli", "--layer", "1"}), HasSubstr("fan.cli: More than 65535 lines meet"));
}

TEST_F(AreasOfALayer, AreFoundAfterOrientingWhatHasLostItsDirections) {
  WritePart("part.cli", Rectangle(0, 0, 10, 10, true) + Rectangle(2, 2, 8, 8) + Rectangle(3, 3, 5, 5, true));
  EXPECT_THAT(GetContours(), ElementsAre());
  RunSilently({"prepare", "part.cli", "-o", "oriented.cli", "--orient"});
  std::string const oriented = Read("oriented.cli");
  WritePart("part.cli", Rectangle(0, 0, 10, 10) + Rectangle(2, 2, 8, 8, true) + Rectangle(3, 3, 5, 5));
  EXPECT_THAT(GetContours(), ElementsAre(kOne, kOne, kOne));
  RunSilently({"prepare", "part.cli", "-o", "again.cli", "--orient"});
  std::string const json = RunSilently({"areas", "oriented.cli", "--layer", "1", "--json"});
  EXPECT_EQ(RunSilently({"areas", "again.cli", "--layer", "1", "--json"}), json);
  EXPECT_EQ(RunSilently({"areas", "part.cli", "--layer", "1", "--json"}), json);
}

}  // namespace
