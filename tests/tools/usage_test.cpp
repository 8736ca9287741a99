#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

class Usage : public ProgramTest {};

TEST_F(Usage, EveryCommandHasHelpWithUnitsAndAnExample) {
  std::string const help = RunSilently({"--help"});
  EXPECT_THAT(help, AllOf(StartsWith("slicedata: "), HasSubstr("usage: slicedata COMMAND"), HasSubstr("mm")));
  for (Arguments const& command :
       std::vector<Arguments>{{"info"}, {"render"}, {"convert"}, {"transform"}, {"generate", "lattice"}}) {
    EXPECT_THAT(help, HasSubstr("\n  " + command[0] + ' '));
    std::string line = "slicedata";
    for (std::string const& word : command) line += ' ' + word;
    Arguments arguments = command;
    arguments.emplace_back("--help");
    std::string const text = RunSilently(arguments);
    EXPECT_THAT(text, AllOf(StartsWith(line + ": "), HasSubstr("usage: " + line + ' '), HasSubstr("in mm"),
                            HasSubstr("Examples:\n  " + line + ' '), HasSubstr("--quiet")));
    arguments.back() = "-h";
    EXPECT_EQ(RunSilently(arguments), text);
  }
  EXPECT_THAT(RunSilently({"generate", "--help"}), HasSubstr("lattice"));
  EXPECT_THAT(RunSilently({"--version"}), MatchesRegex("slicedata [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Usage, WordsThatMakeNoSenseAreOneLineWithAdvice) {
  Write("part.cli", MakeSmallPart(1));
  auto const expect = [&](Arguments const& arguments, std::string const& line) {
    EXPECT_EQ(RunIntoTrouble(arguments), "slicedata: " + line + '\n');
  };
  expect({}, "no command is given; give one of info, render, convert, transform, prepare, areas, generate, or --help");
  expect({"inof", "part.cli"}, "there is no command 'inof'; did you mean 'info'?");
  expect({"translate"}, "there is no command 'translate'; 'slicedata --help' tells what it takes");
  expect({"--quiet", "info", "part.cli"}, "there is no option '--quiet'; options follow the command");
  expect({"generate"}, "generate: no command is given; give one of lattice, or --help");
  expect({"generate", "latice", "-o", "x.cli"}, "generate: there is no command 'latice'; did you mean 'lattice'?");
  expect({"info"}, "info: FILE is missing; 'slicedata info --help' tells what it takes");
  expect({"info", "part.cli", "b.cli"},
         "info: 'b.cli' is one word too many; 'slicedata info --help' tells what it takes");
  expect({"info", "part.cli", "--jsno"}, "info: there is no option '--jsno'; did you mean '--json'?");
  expect({"convert", "part.cli"}, "convert: --output OUT is missing; 'slicedata convert --help' tells what it takes");
  expect({"convert", "part.cli", "--forse=1"}, "convert: there is no option '--forse'; did you mean '--force'?");
  expect({"convert", "part.cli", "-o", "x.cli", "--force=false"}, "--force: it takes no value; leave out '=false'");
  expect({"convert", "part.cli", "-o"},
         "--output: its value is missing; 'slicedata convert --help' tells what it takes");
  expect({"convert", "part.cli", "-o", "a.cli", "-o", "b.cli"}, "--output: it is given 2 times; give it once");
  expect({"info", "part.cli", "--progress", "bar"},
         "--progress: 'bar' is no way to show progress; give auto, lines or none");
  expect({"generate", "lattice", "-o", "x.cli", "--cell", "0"},
         "--cell: '0' is not above 0; give a length of 0.0001 mm or more");
  EXPECT_THAT(RunIntoTrouble({"generate", "lattice", "-o", "x.cli", "--size", "1", "--thickness", "2"}),
              Not(HasSubstr("x.cli")));
  EXPECT_THAT(GetFiles(), ElementsAre("part.cli"));
}

TEST_F(Usage, ProgressIsLinesForLogsAndNothingWhereNobodyLooks) {
  Write("part.cli", MakeSmallPart(40));
  EXPECT_EQ(Run({"info", "part.cli"}).errors, "");
  EXPECT_EQ(Run({"info", "part.cli", "--progress", "auto"}).errors, "");
  EXPECT_EQ(Run({"info", "part.cli", "--progress", "lines", "--quiet"}).errors, "");
  std::string const lines = Run({"info", "part.cli", "--progress", "lines"}).errors;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 10);
  EXPECT_THAT(lines, StartsWith("slicedata: part.cli: 4 of 40 layers (10 %)\n"));
  EXPECT_THAT(lines, HasSubstr("slicedata: part.cli: 40 of 40 layers (100 %)\n"));
}

TEST_F(Usage, ASignalLeavesNoFile) {
  for (auto const& [signal, exit_code] : {std::pair(SIGTERM, 143), std::pair(SIGINT, 130)}) {
    // Far more than can be written until the signal comes.
    pid_t const process = Start({"generate", "lattice", "-o", "large.cli", "--size", "100", "--cell", "2"});
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (GetFiles().empty() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(GetFiles().size(), 1u);
    kill(process, signal);
    Outcome const outcome = Finish(process);
    EXPECT_EQ(outcome.exit_code, exit_code);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(GetFiles(), ElementsAre());
  }
}

TEST_F(Usage, ClosedStandardStreamsNeverEndUpInAFile) {
  Write("part.cli", MakeSmallPart(1));
  pid_t const process = fork();
  if (process == 0) {
    if (chdir(GetWorkPath("").c_str()) != 0) _exit(127);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    execl(SLICEDATA_PROGRAM, SLICEDATA_PROGRAM, "convert", "part.cli", "-o", "out.cli", "-v", "--progress", "lines",
          nullptr);
    _exit(127);
  }
  EXPECT_EQ(Finish(process).exit_code, 0);
  EXPECT_EQ(Read("out.cli").find("slicedata"), std::string::npos);
  EXPECT_THAT(RunSilently({"info", "out.cli"}), HasSubstr("1, z 0.1 to 0.1 mm"));
}

}  // namespace
