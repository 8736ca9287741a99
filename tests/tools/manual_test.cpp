#include <gmock/gmock.h>
#include <sstream>

#include "tools/Program.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

class Manual : public ProgramTest {
 protected:
  /// What a command of the shell prints, errors included.
  std::string RunShell(std::string const& command) const {
    std::string const line = "cd '" + GetWorkPath("") + "' && { " + command + "; } > ../shell 2>&1";
    EXPECT_EQ(std::system(line.c_str()), 0) << command;
    return Read("../shell");
  }

  /// What the last of some words is completed to; folders and files are those of the test's directory.
  std::vector<std::string> Complete(std::string const& words) const {
    std::istringstream lines(RunShell(
        "bash -c 'compopt() { :; }; source ./completion; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _slicedata; "
        "for word in \"${COMPREPLY[@]}\"; do echo \"$word\"; done' bash " +
        words));
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) found.push_back(line);
    return found;
  }
};

TEST_F(Manual, PageIsFormattedWithoutAWarningAndHoldsWhatTheHelpSays) {
  if (std::system("type groff > /dev/null 2>&1") != 0) GTEST_SKIP() << "there is no groff";
  Write("page", RunSilently({"--generate", "man"}));
  EXPECT_EQ(RunShell("groff -ww -z -man page"), "");
  std::string const page = RunShell("groff -man -Tascii -P-cbou -rLL=150n page");
  EXPECT_THAT(page, AllOf(HasSubstr("slicedata db put DB FILE --id ID --revision REV [OPTION...]"),
                          HasSubstr("--contours-to-vectors[=HOW,...]"), HasSubstr("-o, --output OUT\n"),
                          HasSubstr("slicedata prepare part.cli -o hatch.cli --keep \"Volume Hatch\"")));
  EXPECT_THAT(page, Not(HasSubstr("\\")));
  // What all commands have in common is told once.
  EXPECT_EQ(page.find("where scratch files go"), page.rfind("where scratch files go"));
}

TEST_F(Manual, CompletionOffersWhatFits) {
  Write("completion", RunSilently({"--generate", "bash"}));
  for (std::string const name : {"part.cli", "my part.cli", "other.slicestack", "parts.slicedb", "notes.txt"}) {
    Write(name, "");
  }
  std::filesystem::create_directory(GetWorkPath("folder"));
  EXPECT_THAT(Complete("slicedata tra"), ElementsAre("transform"));
  EXPECT_THAT(Complete("slicedata --ver"), ElementsAre("--version"));
  EXPECT_THAT(Complete("slicedata db ''"), UnorderedElementsAre("put", "get", "list", "drop"));
  EXPECT_THAT(Complete("slicedata db get --re"), ElementsAre("--revision"));
  EXPECT_THAT(Complete("slicedata info ''"),
              UnorderedElementsAre("folder", "part.cli", "my part.cli", "other.slicestack"));
  EXPECT_THAT(Complete("slicedata db list p"), ElementsAre("parts.slicedb"));
  EXPECT_THAT(Complete("slicedata convert part.cli --to cli-"), UnorderedElementsAre("cli-ascii", "cli-binary"));
  EXPECT_THAT(Complete("slicedata info part.cli --progress = n"), ElementsAre("none"));
  EXPECT_THAT(Complete("slicedata prepare part.cli --start rep"), ElementsAre("repeat:"));
  EXPECT_THAT(Complete("slicedata info --layers ''"), IsEmpty());
}

}  // namespace
