#include <gmock/gmock.h>

#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class Convert : public ProgramTest {};

class ConvertSample : public ProgramTest, public testing::WithParamInterface<char const*> {};

TEST_P(ConvertSample, BothFormsThereAndBackKeepEverything) {
  auto const sample = std::filesystem::path(SLICEDATA_SAMPLES_DIR) / GetParam();
  if (!std::filesystem::exists(sample)) GTEST_SKIP() << "there is no sample " << sample;
  std::string const expected = RunSilently({"info", sample, "--json"});
  std::string origin = sample;
  std::string ascii;
  for (int round = 0; round < 2; ++round) {
    RunSilently({"convert", origin, "-o", "text.cli", "--to", "cli-ascii", "--force", "--strict"});
    EXPECT_THAT(Read("text.cli"), HasSubstr("$$ASCII"));
    EXPECT_EQ(RunSilently({"info", "text.cli", "--json"}), expected);
    RunSilently({"convert", "text.cli", "-o", "binary.cli", "--to", "cli-binary", "--force", "--strict"});
    EXPECT_THAT(Read("binary.cli"), HasSubstr("$$BINARY"));
    EXPECT_EQ(RunSilently({"info", "binary.cli", "--json"}), expected);
    // The second round has the same coordinates to write, so it has to give the same bytes.
    EXPECT_TRUE(round == 0 || Read("text.cli") == ascii);
    ascii = Read("text.cli");
    origin = "binary.cli";
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, ConvertSample,
                         testing::Values("cylinder_negative_binary.cli", "frustum_hatched_ascii.cli",
                                         "open_block_support_binary.cli", "tall_part_binary.cli"));

TEST_F(Convert, TheFormatFollowsFromTheNameOrTheOption) {
  Write("text.cli", MakeSmallPart(2));
  RunSilently({"convert", "text.cli", "-o", "same.CLI"});
  EXPECT_THAT(Read("same.CLI"), HasSubstr("$$ASCII"));
  RunSilently({"convert", "text.cli", "-o", "part.data", "--to=cli-binary"});
  EXPECT_THAT(Read("part.data"), HasSubstr("$$BINARY"));
  RunSilently({"convert", "part.data", "--from", "cli", "-o", "binary.cli"});
  EXPECT_EQ(Read("binary.cli"), Read("part.data"));
  RunSilently({"convert", "text.cli", "-o", "picture.svg", "-q"});
  EXPECT_THAT(Read("picture.svg"), HasSubstr("layer-1"));
  RunSilently({"generate", "lattice", "-o", "lattice.cli", "--size", "1", "--cell", "1", "--thickness", "0.5"});
  EXPECT_THAT(Read("lattice.cli"), HasSubstr("$$BINARY"));

  EXPECT_THAT(RunIntoTrouble({"info", "part.data"}), HasSubstr("give --from, for one of these: cli, slicestack"));
  EXPECT_THAT(RunIntoTrouble({"convert", "text.cli", "-o", "x.stl"}),
              HasSubstr("cli, cli-ascii, cli-binary, slicestack, svg"));
  EXPECT_THAT(RunIntoTrouble({"convert", "text.cli", "-o", "x.cli", "--to", "obj"}),
              HasSubstr("--to: no format 'obj'"));
  EXPECT_THAT(RunIntoTrouble({"info", "picture.svg"}), HasSubstr("format that can be read"));
}

TEST_F(Convert, FilesMayHaveOddNames) {
  Write("-v.cli", MakeSmallPart(2));
  RunSilently({"convert", "-o", "[a,b].cli", "--", "-v.cli"});
  RunSilently({"convert", "[a,b].cli", "-o", "-o.cli"});
  RunSilently({"convert", "./-o.cli", "-o", "convert", "--to", "cli"});
  RunSilently({"convert", "convert", "--from=cli", "-o", "\"\xFF'\n.cli"});
  EXPECT_EQ(Read("\"\xFF'\n.cli"), Read("[a,b].cli"));
  EXPECT_EQ(GetFiles().size(), 5u);
}

TEST_F(Convert, TellsWhatIsLostOnceAKindAndStrictRefuses) {
  Write("part.cli", MakePartWithPower());
  Arguments const arguments = {"convert", "part.cli", "-o", "binary.cli", "--to", "cli-binary"};
  Arguments strict = arguments;
  strict.emplace_back("--strict");
  RunIntoTrouble(strict);
  EXPECT_FALSE(Exists("binary.cli"));

  Outcome const told = Run(arguments);
  EXPECT_EQ(told.exit_code, 0);
  EXPECT_THAT(told.errors, StartsWith("slicedata: binary.cli: "));
  EXPECT_THAT(told.errors, HasSubstr("POWER"));
  EXPECT_TRUE(Exists("binary.cli"));

  RunSilently({"convert", "part.cli", "-o", "text.cli", "--strict"});
  EXPECT_THAT(Read("text.cli"), HasSubstr("$$POWER"));
}

TEST_F(Convert, AnUnknownDirectiveOfTheInputCountsAsALoss) {
  std::string part = MakeSmallPart(1);
  Write("part.cli", part.insert(part.find("$$POLYLINE"), "$$SCANNER/2\n"));
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "x.cli", "--strict"}), HasSubstr("SCANNER"));
  EXPECT_FALSE(Exists("x.cli"));
  Outcome const told = Run({"convert", "part.cli", "-o", "x.cli"});
  EXPECT_EQ(told.exit_code, 0);
  EXPECT_THAT(told.errors, StartsWith("slicedata: part.cli: "));
  EXPECT_THAT(told.errors, HasSubstr("SCANNER"));
  EXPECT_EQ(RunSilently({"convert", "part.cli", "-o", "x.cli", "--force", "--quiet"}), "");
}

TEST_F(Convert, AnExistingFileIsReplacedOnlyByForceAndOnlyWhenTheNewOneIsWhole) {
  Write("part.cli", MakeSmallPart(3));
  Write("out.cli", "precious");
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "out.cli"}), HasSubstr("--force"));
  EXPECT_EQ(Read("out.cli"), "precious");

  std::string broken = MakeSmallPart(3);
  Write("broken.cli", broken.replace(broken.rfind("2,3,4,3"), 7, "2,nan,4,3"));
  EXPECT_THAT(RunIntoTrouble({"convert", "broken.cli", "-o", "out.cli", "--force"}), HasSubstr("broken.cli"));
  EXPECT_EQ(Read("out.cli"), "precious");
  EXPECT_THAT(GetFiles(), ElementsAre("broken.cli", "out.cli", "part.cli"));

  RunSilently({"convert", "part.cli", "-o", "out.cli", "--force"});
  EXPECT_EQ(RunSilently({"info", "out.cli", "--json"}), RunSilently({"info", "part.cli", "--json"}));
}

TEST_F(Convert, OneOfTwoThatMakeTheSameFileGetsTheName) {
  Arguments const arguments = {"generate", "lattice", "-o", "out.cli", "--size", "10", "--thickness", "0.1"};
  pid_t const first = Start(arguments);
  Outcome const second = Run(arguments);
  std::vector<int> const exit_codes = {Finish(first).exit_code, second.exit_code};
  EXPECT_THAT(exit_codes, UnorderedElementsAre(0, 2));
  EXPECT_THAT(GetFiles(), ElementsAre("out.cli"));
  RunSilently({"info", "out.cli"});
}

TEST_F(Convert, WhatCannotBeReadOrWrittenIsOneLine) {
  Write("part.cli", MakeSmallPart(3));
  Write("nothing.cli", "");
  Write("picture.cli", "\x89PNG\r\n\x1A\n and so on");
  std::filesystem::create_directory(GetWorkPath("folder.cli"));
  EXPECT_THAT(RunIntoTrouble({"info", "missing.cli"}), HasSubstr("missing.cli: there is no such file"));
  EXPECT_THAT(RunIntoTrouble({"info", "two\nlines.cli"}), HasSubstr("two\\u{0A}lines.cli"));
  EXPECT_THAT(RunIntoTrouble({"info", "folder.cli"}), HasSubstr("directory"));
  EXPECT_THAT(RunIntoTrouble({"info", "nothing.cli"}), HasSubstr("nothing.cli"));
  EXPECT_THAT(RunIntoTrouble({"info", "picture.cli"}), HasSubstr("picture.cli"));
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "nowhere/out.cli"}), HasSubstr("nowhere/out.cli"));
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "folder.cli", "--force"}), HasSubstr("folder.cli"));
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "/dev/full", "--to", "cli", "--force"}),
              HasSubstr("/dev/full"));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

TEST_F(Convert, AFullDiskLeavesNothing) {
  Setting setting;
  setting.file_size_limit = 100000;
  for (std::string const name : {"out.cli", "out.slicestack"}) {
    EXPECT_THAT(RunIntoTrouble({"generate", "lattice", "-o", name, "--size", "10"}, setting), HasSubstr(name));
  }
  EXPECT_THAT(GetFiles(), ElementsAre());
}

TEST_F(Convert, OutputOfTextSurvivesAClosedReaderAndTellsAFullDisk) {
  Write("part.cli", MakeSmallPart(1));
  Setting setting;
  setting.output_path = "/dev/full";
  EXPECT_THAT(RunIntoTrouble({"info", "part.cli"}, setting), HasSubstr("standard output: No space left"));

  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  pid_t const process = fork();
  if (process == 0) {
    dup2(ends[1], STDOUT_FILENO);
    execl(SLICEDATA_PROGRAM, SLICEDATA_PROGRAM, "--help", nullptr);
    _exit(127);
  }
  close(ends[1]);
  EXPECT_EQ(Finish(process).exit_code, 0);
}

}  // namespace
