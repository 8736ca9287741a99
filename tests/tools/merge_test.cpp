#include <gmock/gmock.h>

#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class Merge : public ProgramTest {
 protected:
  /// Layers at these heights in mm, each with one contour whose model has this number.
  void WriteLayers(std::string const& name, int model, std::vector<std::string> const& heights,
                   std::string const& label = "") const {
    std::string text = "$$HEADERSTART\n$$ASCII\n$$UNITS/1\n$$VERSION/200\n" + label + "$$HEADEREND\n$$GEOMETRYSTART\n";
    std::string const number = std::to_string(model);
    for (std::string const& height : heights) {
      text += "$$LAYER/" + height + "\n$$POLYLINE/" + number + ",1,4,0,0," + number + ",0,0,1,0,0\n";
    }
    Write(name, text + "$$GEOMETRYEND\n");
  }

  /// The layers of a file: "1000: 1 2" for a layer at 0.1 mm with contours of the models 1 and 2, in their order.
  std::string GetLayers(std::string const& name) const {
    RunSilently({"convert", name, "-o", "layers.cli", "--to", "cli-ascii", "--force"});
    std::istringstream lines(Read("layers.cli"));
    std::string layers;
    for (std::string line; std::getline(lines, line);) {
      if (line.find("$$LAYER/") == 0) layers += (layers.empty() ? "" : ", ") + line.substr(8) + ':';
      if (line.find("$$POLYLINE/") == 0) layers += ' ' + line.substr(11, line.find(',') - 11);
    }
    return layers;
  }
};

TEST_F(Merge, BringsSlicesOfOneHeightTogetherInTheOrderOfTheFiles) {
  WriteLayers("a.cli", 1, {"0.1", "0.3", "0.5"}, "$$LABEL/1,first\n$$USERDATA/a,1,x\n");
  WriteLayers("b.cli", 2, {"0.3", "0.4", "0.5"}, "$$LABEL/1,second\n$$USERDATA/b,1,y\n");
  WriteLayers("c:d.cli", 3, {"0.05", "0.5"});
  RunSilently({"merge", "b.cli", "a.cli", "-o", "merged.cli", "c:d.cli"});
  EXPECT_EQ(GetLayers("merged.cli"), "500: 3, 1000: 1, 3000: 2 1, 4000: 2, 5000: 2 1 3");
  // Of properties with one name that of the first file stays.
  EXPECT_THAT(RunSilently({"info", "merged.cli"}), AllOf(HasSubstr("second"), HasSubstr("x"), Not(HasSubstr("first"))));
  RunSilently({"merge", "b.cli", "a.cli", "-o", "some.cli", "--layers", "1,last"});
  EXPECT_EQ(GetLayers("some.cli"), "3000: 2 1, 5000: 2 1");
}

TEST_F(Merge, MarksWhatComesFromAFileAndKeepsZRanges) {
  WriteLayers("a.cli", 1, {"0.1", "0.2"});
  Write("part.cli", MakeSmallPart(2));
  RunSilently({"merge", "a.cli", "part.cli:Support,Core", "-o", "merged.slicestack"});
  RunSilently({"prepare", "merged.slicestack", "-o", "support.slicestack", "--support", "only"});
  RunSilently({"prepare", "merged.slicestack", "-o", "part.slicestack", "--support", "none"});
  EXPECT_EQ(GetLayers("part.slicestack"), "1000: 1, 2000: 1");
  RunSilently({"convert", "support.slicestack", "-o", "support.cli", "--to", "cli-ascii", "--quiet"});
  RunSilently({"convert", "part.cli", "-o", "plain.cli", "--to", "cli-ascii"});
  EXPECT_EQ(Read("support.cli"), Read("plain.cli"));
  EXPECT_THAT(RunIntoTrouble({"merge", "a.cli", "part.cli:Suport", "-o", "x.cli"}),
              HasSubstr("did you mean 'Support'?"));
}

TEST_F(Merge, FillsGapsOfOneGridAndSaysIfThereIsNone) {
  WriteLayers("low.cli", 1, {"0.1", "0.2"});
  WriteLayers("high.cli", 2, {"0.4", "0.5"});
  WriteLayers("other.cli", 3, {"0.2", "0.5"});
  RunSilently({"merge", "low.cli", "high.cli", "-o", "tower.cli", "--fill-gaps"});
  EXPECT_EQ(GetLayers("tower.cli"), "1000: 1, 2000: 1, 3000:, 4000: 2, 5000: 2");
  Outcome const outcome = Run({"merge", "low.cli", "other.cli", "-o", "odd.cli", "--fill-gaps"});
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_THAT(outcome.errors, HasSubstr("--fill-gaps: the layers are not evenly spaced"));
  EXPECT_EQ(GetLayers("odd.cli"), "1000: 1, 2000: 1 3, 5000: 3");
}

TEST_F(Merge, TellsWhatEachFileHasLost) {
  Write("a.cli", MakeSmallPart(1));
  std::string text = MakeSmallPart(1);
  Write("b.cli", text.insert(text.find("$$POLYLINE"), "$$STRANGE/1\n"));
  EXPECT_THAT(RunIntoTrouble({"merge", "a.cli", "b.cli", "-o", "c.cli", "--strict"}),
              AllOf(HasSubstr("b.cli: "), HasSubstr("STRANGE")));
  EXPECT_FALSE(Exists("c.cli"));
  EXPECT_THAT(Run({"merge", "a.cli", "b.cli", "-o", "c.cli"}).errors,
              AllOf(HasSubstr("b.cli: "), HasSubstr("STRANGE"), Not(HasSubstr("a.cli"))));
}

}  // namespace
