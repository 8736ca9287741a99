#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <string>
#include <thread>

#include "Program.h"
#include "SmallPart.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Paging : public ProgramTest {};

TEST_F(Paging, EveryKindOfStackGivesWhatStreamingGives) {
  RunSilently({"generate", "lattice", "-o", "part.cli", "--size", "8", "--cell", "2", "--thickness", "0.05", "-q"});
  RunSilently({"transform", "part.cli", "-o", "streamed.cli", "--rotate", "30", "--layers", "20:last"});
  std::filesystem::create_directory(GetWorkPath("scratch"));
  for (std::string const paging : {"none", "multiple", "single", "zrange"}) {
    RunSilently({"transform", "part.cli", "-o", "paged.cli", "--rotate", "30", "--layers", "20:last", "--force",
                 "--paging", paging, "--scratch-dir", "scratch"});
    EXPECT_TRUE(Read("paged.cli") == Read("streamed.cli")) << paging;
    EXPECT_EQ(RunSilently({"info", "part.cli", "--json", "--paging", paging}),
              RunSilently({"info", "part.cli", "--json"}));
  }
  EXPECT_TRUE(std::filesystem::is_empty(GetWorkPath("scratch")));
}

TEST_F(Paging, AWrongScratchDirectoryIsOneLine) {
  Write("part.cli", MakeSmallPart(1));
  EXPECT_THAT(RunIntoTrouble({"info", "part.cli", "--paging", "multiple", "--scratch-dir", "nowhere"}),
              HasSubstr("nowhere: it is no directory"));
  EXPECT_THAT(RunIntoTrouble({"info", "part.cli", "--scratch-dir", "."}), HasSubstr("give --paging"));
  EXPECT_THAT(RunIntoTrouble({"info", "part.cli", "--paging", "often"}), HasSubstr("multiple"));
}

TEST_F(Paging, ADiskThatFillsUpLeavesNothing) {
  RunSilently({"generate", "lattice", "-o", "part.cli", "--size", "8", "--cell", "1", "--thickness", "0.05", "-q"});
  std::filesystem::create_directory(GetWorkPath("scratch"));
  Setting small_disk;
  small_disk.file_size_limit = 1 << 20;
  EXPECT_THAT(RunIntoTrouble({"convert", "part.cli", "-o", "x.cli", "--paging", "multiple", "--scratch-dir", "scratch"},
                             small_disk),
              HasSubstr("scratch"));
  EXPECT_THAT(GetFiles(), ElementsAre("part.cli", "scratch"));
  EXPECT_TRUE(std::filesystem::is_empty(GetWorkPath("scratch")));
}

TEST_F(Paging, ASignalRemovesTheScratchFiles) {
  RunSilently({"generate", "lattice", "-o", "part.cli", "--size", "12", "--cell", "1", "--thickness", "0.02", "-q"});
  std::filesystem::create_directory(GetWorkPath("scratch"));
  pid_t const process =
      Start({"convert", "part.cli", "-o", "x.cli", "--paging", "multiple", "--scratch-dir", "scratch"});
  auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::filesystem::is_empty(GetWorkPath("scratch")) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_FALSE(std::filesystem::is_empty(GetWorkPath("scratch")));
  kill(process, SIGTERM);
  EXPECT_EQ(Finish(process).exit_code, 143);
  EXPECT_TRUE(std::filesystem::is_empty(GetWorkPath("scratch")));
  EXPECT_THAT(GetFiles(), ElementsAre("part.cli", "scratch"));
}

}  // namespace
