#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>
#include <thread>
#include <utility>

#include "tools/Program.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// A use of each command, with IN for a slice file, DB for a database and OUT for what is written, without extension.
constexpr char const* kUses[] = {
    "info IN",
    "render IN --layer 0 -o OUT.svg",
    "view IN -o OUT.html",
    "convert IN -o OUT.slicestack",
    "transform IN --rotate 90 -o OUT.cli",
    "prepare IN --orient -o OUT.cli",
    "prepare IN --split model -o OUT",
    "areas IN --layer 0 -o OUT.svg",
    "areas part.cli --layer 0 --subtract IN",
    "merge part.cli IN -o OUT.cli",
    "db put OUT.slicedb IN --id a --revision 1",
    "db put DB part.cli --id a --revision 1",
    "db get DB --id a --revision 1 -o OUT.cli",
    "db list DB",
    "db drop DB --id a",
    "generate lattice --size 1 -o OUT.cli",
};

std::vector<std::string> Words(std::string const& line) {
  std::istringstream stream(line);
  return {std::istream_iterator<std::string>(stream), {}};
}

/// The text with `name` replaced, or an empty one if that is not in it.
std::string With(std::string text, std::string const& name, std::string const& replacement) {
  auto const at = text.find(name);
  return at == std::string::npos ? "" : text.replace(at, name.size(), replacement);
}

class Usage : public ProgramTest {
 protected:
  std::string GetHelp(std::string const& command) const {
    Arguments arguments = Words(command);
    arguments.emplace_back("--help");
    return RunSilently(arguments);
  }

  /// The commands below one, as its help lists them.
  std::vector<std::string> GetCommands(std::string const& above) const {
    std::string const help = GetHelp(above);
    std::vector<std::string> commands;
    auto const begin = help.find("\nCommands:\n");
    if (begin == std::string::npos) return commands;
    std::istringstream lines(help.substr(begin + 11));
    for (std::string line; std::getline(lines, line) && !line.empty();) {
      if (line[2] != ' ') commands.push_back((above.empty() ? "" : above + ' ') + Words(line)[0]);
    }
    return commands;
  }

  std::vector<std::string> GetAllCommands() const {
    std::vector<std::string> all = GetCommands("");
    for (std::size_t i = 0; i < all.size(); ++i) {
      for (std::string const& command : GetCommands(all[i])) all.push_back(command);
    }
    return all;
  }

  /// Runs into trouble that the line names, and leaves nothing behind.
  void ExpectTrouble(std::string const& line, std::string const& name) const {
    auto const files = GetFiles();
    EXPECT_THAT(RunIntoTrouble(Words(line)), StartsWith("slicedata: " + name)) << line;
    EXPECT_EQ(GetFiles(), files) << line;
  }
};

TEST_F(Usage, EveryCommandTellsItsPurposeOptionsAndAnExample) {
  EXPECT_THAT(GetHelp(""), AllOf(StartsWith("slicedata: "), HasSubstr("usage: slicedata COMMAND"), HasSubstr("mm")));
  EXPECT_THAT(RunSilently({"--version"}), MatchesRegex("slicedata [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  auto const commands = GetAllCommands();
  EXPECT_THAT(commands, IsSupersetOf({"info", "db", "db put", "generate", "generate lattice"}));
  for (std::string const& command : commands) {
    std::string const line = "slicedata " + command;
    std::string const help = GetHelp(command);
    EXPECT_THAT(help, AllOf(StartsWith(line + ": "), HasSubstr("usage: " + line + ' '), HasSubstr("\n  -h, --help "),
                            HasSubstr("Examples:\n  " + line + ' ')));
    Arguments const words = Words(command + " -h");
    EXPECT_EQ(RunSilently(words), help);
    if (help.find("\nCommands:\n") != std::string::npos) continue;

    auto const use = std::find_if(std::begin(kUses), std::end(kUses), [&](std::string const& text) {
      return text.substr(0, command.size() + 1) == command + ' ';
    });
    ASSERT_NE(use, std::end(kUses)) << command << " has no line in the table of this test";
    if (!With(*use, "IN", "").empty()) {
      EXPECT_THAT(help, AllOf(HasSubstr("in mm"), HasSubstr("--quiet"))) << command;
    }
  }
}

TEST_F(Usage, MisspeltWordsAreAnsweredByTheRightOnes) {
  for (std::string const& command : GetAllCommands()) {
    Arguments words = Words(command);
    words.emplace_back("--hlep");
    EXPECT_THAT(RunIntoTrouble(words), HasSubstr("there is no option '--hlep'; did you mean '--help'?"));
    words.pop_back();
    std::string const right = words.back();
    words.back() += right.back();
    EXPECT_THAT(RunIntoTrouble(words), HasSubstr("did you mean '" + right + "'?"));
  }
}

TEST_F(Usage, InputsThatCannotBeReadAreNamedAndNothingIsWritten) {
  Write("part.cli", MakeSmallPart(2));
  for (std::string const extension : {".cli", ".slicestack", ".slicedb"}) {
    Write("empty" + extension, "");
    Write("other" + extension, "<svg xmlns=\"http://www.w3.org/2000/svg\"></svg>\n");
    std::filesystem::create_directory(GetWorkPath("folder" + extension));
  }
  for (std::string const use : kUses) {
    std::string const line = With(use, "OUT", "out").empty() ? use : With(use, "OUT", "out");
    for (std::string const file :
         {"missing.cli", "folder.cli", "empty.cli", "other.cli", "empty.slicestack", "other.slicestack"}) {
      if (auto const bad = With(line, "IN", file); !bad.empty()) ExpectTrouble(bad, file + ": ");
    }
    for (std::string const file : {"missing.slicedb", "folder.slicedb", "empty.slicedb", "other.slicedb"}) {
      if (file == "missing.slicedb" && use.substr(0, 7) == "db put ") continue;  // this makes it
      if (auto const bad = With(line, "DB", file); !bad.empty()) ExpectTrouble(bad, file + ": ");
    }
  }
}

TEST_F(Usage, AFileThatMayBeCutShortIsReadOnlyLeniently) {
  Write("part.cli", MakeSmallPart(2));
  std::string cut = MakeSmallPart(2);
  cut.insert(cut.find("$$HEADEREND"), "$$LAYERS/3\n");
  Write("cut.cli", cut.substr(0, cut.find("$$GEOMETRYEND")));
  for (std::string const use : kUses) {
    std::string const line = With(use, "IN", "cut.cli");
    if (line.empty()) continue;
    std::string const whole = With(line, "OUT", "out").empty() ? line : With(line, "OUT", "out");
    ExpectTrouble(whole, "cut.cli: the header tells of 3 layers");
    EXPECT_THAT(Run(Words(whole + " --lenient")).exit_code, 0) << whole;
    for (std::string const& made : GetFiles()) {
      if (made.substr(0, 3) == "out") std::filesystem::remove_all(GetWorkPath(made));
    }
  }
}

TEST_F(Usage, TargetsThatCannotBeWrittenAreNamedAndNothingIsWritten) {
  Write("part.cli", MakeSmallPart(2));
  RunSilently({"db", "put", "parts.slicedb", "part.cli", "--id", "a", "--revision", "1"});
  for (std::string const use : kUses) {
    for (std::string const target : {"missing/out", "part.cli/out"}) {
      std::string line = With(use, "OUT", target);
      if (line.empty()) continue;
      for (auto const& [name, file] : {std::pair("IN", "part.cli"), std::pair("DB", "parts.slicedb")}) {
        if (auto const complete = With(line, name, file); !complete.empty()) line = complete;
      }
      ExpectTrouble(line, target);
    }
  }
}

TEST_F(Usage, AnOutputIsNoFileThatTheCommandReads) {
  Write("part.cli", MakeSmallPart(2));
  Write("table", "0,1\n10,1.01\n");
  RunSilently({"db", "put", "parts.slicedb", "part.cli", "--id", "a", "--revision", "1"});
  std::filesystem::create_symlink("part.cli", GetWorkPath("part.html"));
  std::filesystem::create_hard_link(GetWorkPath("table"), GetWorkPath("same-table"));
  std::filesystem::create_directory(GetWorkPath("folder"));
  std::filesystem::create_symlink("../part.cli", GetWorkPath("folder/model-1.cli"));
  for (std::string const line :
       {"convert part.cli -o part.cli", "render part.cli --layer 0 --to svg -o part.cli", "view part.cli -o part.html",
        "prepare part.html --from cli --orient -o part.cli", "prepare part.cli --split model -o folder",
        "transform part.cli --z-scale table --to cli -o same-table", "merge folder/model-1.cli:Support -o part.cli",
        "areas part.html --from cli --layer 0 --subtract folder/model-1.cli --to svg -o part.cli",
        "db get parts.slicedb --id a --revision 1 --to cli -o ./parts.slicedb"}) {
    EXPECT_THAT(RunIntoTrouble(Words(line + " --force")), HasSubstr("the command reads this file")) << line;
  }
  EXPECT_EQ(Read("part.cli"), MakeSmallPart(2));
  EXPECT_THAT(RunSilently({"db", "list", "parts.slicedb"}), HasSubstr("\na "));
}

TEST_F(Usage, WordsThatMakeNoSenseAreOneLineWithAdvice) {
  Write("part.cli", MakeSmallPart(1));
  auto const expect = [&](Arguments const& arguments, std::string const& line) {
    EXPECT_EQ(RunIntoTrouble(arguments), "slicedata: " + line + '\n');
  };
  expect(
      {},
      "no command is given; give one of info, render, view, convert, transform, prepare, areas, merge, db, generate, "
      "or --help");
  expect({"inof", "part.cli"}, "there is no command 'inof'; did you mean 'info'?");
  expect({"translate"}, "there is no command 'translate'; 'slicedata --help' tells what it takes");
  expect({"--quiet", "info", "part.cli"}, "there is no option '--quiet'; options follow the command");
  expect({"generate"}, "generate: no command is given; give one of lattice, or --help");
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
