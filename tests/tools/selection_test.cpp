#include <gmock/gmock.h>

#include "tools/Json.h"
#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Twelve layers, at z 0.1 to 1.2 mm.
class Selection : public ProgramTest {
 protected:
  void SetUp() override { Write("part.cli", MakeSmallPart(12)); }

  /// "number of layers: lowest z to highest z" in internal units.
  std::string Select(Arguments const& options) const {
    Arguments arguments = {"info", "part.cli", "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    auto said = JsonReader::Read(RunSilently(arguments));
    return said["slices"] + ": " + said["zMin"] + " to " + said["zMax"];
  }

  std::string Refuse(Arguments const& options) const {
    Arguments arguments = {"info", "part.cli"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunIntoTrouble(arguments);
  }
};

TEST_F(Selection, LayersAreCountedFromZeroAndRangesHoldBothEnds) {
  EXPECT_EQ(Select({"--layers", "2:4"}), "3: 3000 to 5000");
  EXPECT_EQ(Select({"--layers", "last"}), "1: 12000 to 12000");
  EXPECT_EQ(Select({"--layers", "0:99,last"}), "12: 1000 to 12000");
  EXPECT_EQ(Select({"--layers", "5,1,1:2", "--layers", "7"}), "4: 2000 to 8000");
}

TEST_F(Selection, HeightsAreRangesOrTheNearestLayer) {
  EXPECT_EQ(Select({"--z", "300um:0.5mm"}), "3: 3000 to 5000");
  EXPECT_EQ(Select({"--z", "0.35"}), "1: 3000 to 3000") << "of two layers that are equally near the lower one";
  EXPECT_EQ(Select({"--z", "0.3:0.8", "--layers", "0:4"}), "3: 3000 to 5000") << "both have to hold";
}

TEST_F(Selection, WhatSelectsNothingSaysWhatThereIs) {
  auto const what_there_is = HasSubstr("its layers are 0 to 11, from z 0.1 to 1.2 mm");
  EXPECT_THAT(Refuse({"--layers", "12"}), AllOf(HasSubstr("part.cli: there is no layer 12"), what_there_is));
  EXPECT_THAT(Refuse({"--layers", "0,100:200"}), AllOf(HasSubstr("no layer 100:200"), what_there_is));
  EXPECT_THAT(Refuse({"--z", "1.31"}), AllOf(HasSubstr("no layer at z 1.31"), what_there_is));
  EXPECT_THAT(Refuse({"--z", "-1"}), what_there_is);
  EXPECT_THAT(Refuse({"--z", "0.31:0.39"}), what_there_is);
  EXPECT_THAT(Refuse({"--z", "0.1", "--layers", "last"}), AllOf(HasSubstr("both --layers and --z"), what_there_is));
  Write("part.cli", MakeSmallPart(0));
  EXPECT_THAT(Refuse({"--layers", "0"}), HasSubstr("the file has no layers"));
  EXPECT_THAT(Refuse({"--layers", "last"}), HasSubstr("the file has no layers"));
  EXPECT_THAT(Refuse({"--z", "1"}), HasSubstr("the file has no layers"));
}

TEST_F(Selection, ListsThatMakeNoSenseAreRefused) {
  for (char const* const list : {"", "x", "1,,2", "-1", "1.5", "0x3", "1:2:3", "18446744073709551616"}) {
    EXPECT_THAT(Refuse({"--layers", list}), HasSubstr("is no layer")) << list;
  }
  EXPECT_THAT(Refuse({"--layers", "4:2"}), HasSubstr("ends before it begins"));
  EXPECT_THAT(Refuse({"--z", "0.4:0.2"}), HasSubstr("ends before it begins"));
  EXPECT_THAT(Refuse({"--z", "low"}), HasSubstr("--z: 'low' is no length"));
}

TEST_F(Selection, EveryCommandThatReadsTakesIt) {
  RunSilently({"convert", "part.cli", "-o", "some.cli", "--layers", "3:5"});
  EXPECT_THAT(RunSilently({"info", "some.cli"}), HasSubstr("3, z 0.4 to 0.6 mm"));
  RunSilently({"transform", "part.cli", "-o", "some.cli", "--force", "--rotate", "90", "--z", "0.4:0.5"});
  EXPECT_THAT(RunSilently({"info", "some.cli"}), HasSubstr("2, z 0.4 to 0.5 mm"));
}

TEST_F(Selection, RenderDrawsTheOneLayer) {
  RunSilently({"render", "part.cli", "--layer", "4", "-o", "4.svg"});
  EXPECT_THAT(Read("4.svg"),
              AllOf(HasSubstr("part.cli<"), HasSubstr("Layer 4, z = 0.5 mm"), HasSubstr("data-z-mm=\"0.5\"")));
  RunSilently({"render", "part.cli", "--z", "0.52", "-o", "z.svg"});
  EXPECT_EQ(Read("z.svg"), Read("4.svg"));
  RunSilently({"render", "part.cli", "--layer", "last", "-o", "picture", "--to", "svg"});
  EXPECT_THAT(Read("picture"), HasSubstr("Layer 11, z = 1.2 mm"));

  Arguments const start = {"render", "part.cli", "-o", "x.svg"};
  auto const refusal = [&](Arguments const& options) {
    Arguments arguments = start;
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunIntoTrouble(arguments);
  };
  EXPECT_THAT(refusal({}), HasSubstr("--layer"));
  EXPECT_THAT(refusal({"--layer", "12"}), HasSubstr("0 to 11"));
  EXPECT_THAT(refusal({"--z", "7"}), HasSubstr("from z 0.1 to 1.2 mm"));
  EXPECT_THAT(refusal({"--layer", "1", "--z", "0.5"}), HasSubstr("chosen already"));
  EXPECT_THAT(refusal({"--layer", "1:3"}), HasSubstr("3 layers are chosen"));
  EXPECT_THAT(RunIntoTrouble({"render", "part.cli", "--layer", "1", "-o", "x.cli"}),
              HasSubstr("--to, for one of these: svg"));
  EXPECT_FALSE(Exists("x.svg"));
}

}  // namespace
