#include <gmock/gmock.h>

#include "tools/Program.h"
#include "tools/RichPart.h"
#include "tools/SmallPart.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class DatabaseOfSlices : public ProgramTest {
 protected:
  DatabaseOfSlices() { Write("part.cli", MakeSmallPart(3)); }

  void Put(std::string const& id, std::string const& revision, Arguments const& more = {},
           std::string const& file = "part.cli") const {
    RunSilently(Join({"db", "put", "cache.slicedb", file, "--id", id, "--revision", revision}, more));
  }

  Arguments GetArguments(std::string const& id, std::string const& revision, Arguments const& more = {}) const {
    return Join({"db", "get", "cache.slicedb", "--id", id, "--revision", revision, "--force"}, more);
  }

  /// The layers and extent of what is found, as 'info' tells them; empty if nothing is.
  std::string Find(std::string const& id, std::string const& revision, Arguments const& more = {}) const {
    std::filesystem::remove(GetWorkPath("found.cli"));
    Outcome const outcome = Run(GetArguments(id, revision, Join({"-o", "found.cli"}, more)));
    EXPECT_EQ(outcome.exit_code, Exists("found.cli") ? 0 : 1);
    EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), outcome.exit_code);
    if (!Exists("found.cli")) return "";
    std::string const info = RunSilently({"info", "found.cli"});
    auto const begin = info.find("layers");
    return info.substr(begin, info.find(" (", begin) - begin);
  }

  /// Revision and type of each entry.
  std::vector<std::string> List() const {
    std::string const json = RunSilently({"db", "list", "cache.slicedb", "--json"});
    std::vector<std::string> entries;
    for (auto at = json.find("\"revision\": "); at != std::string::npos; at = json.find("\"revision\": ", at + 1)) {
      auto const type = json.find("\"type\": ", at);
      entries.push_back(json.substr(at + 12, json.find(',', at) - at - 12) + ' ' +
                        json.substr(type + 8, json.find(',', type) - type - 8));
    }
    return entries;
  }

  static Arguments Join(Arguments first, Arguments const& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  }
};

TEST_F(DatabaseOfSlices, GivesBackWhatWasPut) {
  WriteRichPart(GetWorkPath("rich.slicestack"));
  Put("bracket", "1");
  Put("lattice", "7", {"--thickness", "30um", "--type", "Core"}, "rich.slicestack");
  for (std::string const file : {"part.cli", "rich.slicestack"}) {
    RunSilently({"convert", file, "-o", "expected.slicestack", "--force"});
    RunSilently(GetArguments(file == "part.cli" ? "BRACKET" : "Lattice", file == "part.cli" ? "1" : "7",
                             {"-o", "found.slicestack", "--strict"}));
    EXPECT_TRUE(Read("found.slicestack") == Read("expected.slicestack")) << file;
  }
  EXPECT_EQ(RunSilently({"db", "list", "cache.slicedb", "--json"}),
            "{\n  \"schema\": 1,\n  \"unitsPerMm\": 10000,\n  \"entries\": [\n"
            "    {\"id\": \"bracket\", \"revision\": \"1\", \"thickness\": 1000, \"type\": null, \"slices\": 3, "
            "\"usedPositions\": 1},\n"
            "    {\"id\": \"lattice\", \"revision\": \"7\", \"thickness\": 300, \"type\": \"Core\", \"slices\": 10, "
            "\"usedPositions\": 1}\n  ]\n}\n");
  EXPECT_EQ(RunSilently({"db", "list", "cache.slicedb"}),
            "id       revision  thickness  type  slices  used positions\n"
            "bracket  1         0.1 mm     -     3       1\n"
            "lattice  7         0.03 mm    Core  10      1\n");
  EXPECT_THAT(RunIntoTrouble(GetArguments("lattice", "7", {"--at", "1,0,0", "-o", "moved.slicestack"})),
              HasSubstr("points or area contours"));
  EXPECT_FALSE(Exists("moved.slicestack"));
}

TEST_F(DatabaseOfSlices, NamesThatAreLongOrCannotBeSeenAreListedShortAndHarmless) {
  Put("\xC3\xA9\xE2\x80\xAE" + std::string(1000, 'a') + "z\xF3\xA0\x81\x81", "1");
  std::string const shown = "\xC3\xA9\\u{202E}" + std::string(19, 'a') + "..." + std::string(19, 'a') + "z\\u{E0041}";
  EXPECT_EQ(RunSilently({"db", "list", "cache.slicedb"}), "id" + std::string(60, ' ') +
                                                              "revision  thickness  type  slices  used positions\n" +
                                                              shown + "  1         0.1 mm     -     3       1\n");
  EXPECT_THAT(RunSilently({"db", "list", "cache.slicedb", "--json"}),
              HasSubstr("\"\xC3\xA9\\u202E" + std::string(1000, 'a') + "z\\uDB40\\uDC41\""));
}

TEST_F(DatabaseOfSlices, FindsByKeyAndMovesToThePosition) {
  Put("a", "r", {"--at", "10,20,1", "--type", "T"});
  EXPECT_EQ(Find("a", "r"), "layers    3, z 0.1 to 0.3 mm, 0.1 mm thick\n  extent    x -3 to 11 mm, y -4 to 7 mm");
  EXPECT_EQ(Find("A", "R", {"--at", "10.5,15,0.9", "--type", "T", "--thickness", "0.1"}),
            "layers    3, z 0 to 0.2 mm, 0.1 mm thick\n  extent    x -2.5 to 11.5 mm, y -9 to 2 mm");
  EXPECT_EQ(Find("a", "other"), "");
  EXPECT_EQ(Find("a", "r", {"--type", "t"}), "");
  EXPECT_EQ(Find("a", "r", {"--thickness", "50um"}), "");
}

TEST_F(DatabaseOfSlices, HoldsOneEntryAKeyUntilItIsDropped) {
  Put("a", "1");
  Put("a", "1", {"--type", "T"});
  Put("a", "2");
  Put("b", "1");
  Write("part.cli", MakeSmallPart(2));
  Put("A", "1", {"--at", "5,5,5"});  // wherever it stands, it is the same
  EXPECT_THAT(List(), ElementsAre("\"1\" \"T\"", "\"2\" null", "\"1\" null", "\"1\" null"));
  EXPECT_THAT(Find("a", "1"), HasSubstr("layers    3"));  // the oldest of any type
  RunSilently({"db", "drop", "cache.slicedb", "--id", "a", "--revision", "1"});
  EXPECT_THAT(List(), ElementsAre("\"2\" null", "\"1\" null"));
  EXPECT_EQ(Run({"db", "drop", "cache.slicedb", "--id", "a", "--revision", "1"}).exit_code, 1);
  RunSilently({"db", "drop", "cache.slicedb", "--id", "a"});
  EXPECT_EQ(Find("a", "2"), "");
  EXPECT_THAT(Find("b", "1"), HasSubstr("layers    3"));
}

TEST_F(DatabaseOfSlices, NamesADamagedEntryAndGivesTheOthers) {
  Put("good", "1");
  std::string part = MakeSmallPart(3);
  Write("part.cli", part.replace(part.rfind("2,3,4,3"), 7, "2,3,4,77.7777"));
  Put("bad", "2");
  std::string database = Read("cache.slicedb");
  std::int32_t const marked = 777777;
  auto const at = database.find(std::string(reinterpret_cast<char const*>(&marked), sizeof marked));
  ASSERT_NE(at, std::string::npos);
  database[at] = static_cast<char>(database[at] + 1);
  Write("cache.slicedb", database);

  auto const names_entry =
      AllOf(HasSubstr("cache.slicedb: the slices of part 'bad', revision '2' are damaged"), HasSubstr("db drop"));
  EXPECT_THAT(RunIntoTrouble(GetArguments("bad", "2", {"-o", "found.cli"})), names_entry);
  EXPECT_THAT(Find("good", "1"), HasSubstr("layers    3"));
  EXPECT_THAT(RunIntoTrouble({"db", "put", "cache.slicedb", "part.cli", "--id", "new", "--revision", "1"}),
              names_entry);
  EXPECT_TRUE(Read("cache.slicedb") == database);
  RunSilently({"db", "drop", "cache.slicedb", "--id", "bad"});
  Put("new", "1");
  EXPECT_THAT(List(), ElementsAre("\"1\" null", "\"1\" null"));
}

TEST_F(DatabaseOfSlices, IsReplacedWhereItIsWithItsPermissions) {
  std::filesystem::create_directory(GetWorkPath("other"));
  RunSilently({"db", "put", "other/real.slicedb", "part.cli", "--id", "a", "--revision", "1"});
  std::filesystem::create_symlink("other/real.slicedb", GetWorkPath("cache.slicedb"));
  std::filesystem::permissions(GetWorkPath("other/real.slicedb"), std::filesystem::perms(0640));
  // Through the link and beside it, the lock is that of the file itself.
  pid_t const through_link = Start({"db", "put", "cache.slicedb", "part.cli", "--id", "b", "--revision", "1"});
  Outcome const beside = Run({"db", "put", "other/real.slicedb", "part.cli", "--id", "c", "--revision", "1", "-q"});
  EXPECT_EQ(beside.exit_code, 0);
  EXPECT_EQ(Finish(through_link).exit_code, 0);
  EXPECT_EQ(List().size(), 3u);
  EXPECT_TRUE(std::filesystem::is_symlink(GetWorkPath("cache.slicedb")));
  EXPECT_EQ(std::filesystem::status(GetWorkPath("other/real.slicedb")).permissions(), std::filesystem::perms(0640));
}

TEST_F(DatabaseOfSlices, StaysWholeWhenItCannotBeWritten) {
  Put("a", "1");
  EXPECT_THAT(RunIntoTrouble({"db", "put", "nowhere/x.slicedb", "part.cli", "--id", "b", "--revision", "1"}),
              HasSubstr("folder"));
  EXPECT_THAT(RunIntoTrouble({"info", "cache.slicedb"}), HasSubstr("slicedata db"));
  EXPECT_THAT(RunIntoTrouble({"db", "put", "other.cli", "part.cli", "--id", "b", "--revision", "1"}),
              HasSubstr("name it .slicedb"));
  RunSilently({"convert", "part.cli", "-o", "part.slicestack"});
  EXPECT_THAT(RunIntoTrouble({"db", "list", "part.slicestack"}), HasSubstr("SliceStack"));
}

TEST_F(DatabaseOfSlices, IsWaitedForAsLongAsTheUserSays) {
  Put("a", "1");
  std::string const before = Read("cache.slicedb");
  Write("cache.slicedb.lock", "7 mill 0000000000000000\n");  // of another computer
  for (Arguments const& arguments :
       {Arguments{"db", "put", "cache.slicedb", "part.cli", "--id", "b", "--revision", "1", "--wait", "0"},
        Arguments{"db", "drop", "cache.slicedb", "--id", "a", "--wait", "0"}}) {
    EXPECT_THAT(RunIntoTrouble(arguments),
                AllOf(HasSubstr("process 7 on 'mill'"), HasSubstr("remove " + GetWorkPath("cache.slicedb.lock"))));
  }
  EXPECT_TRUE(Read("cache.slicedb") == before);
}

TEST_F(DatabaseOfSlices, LosesNothingToWhoWritesAtTheSameTime) {
  std::vector<pid_t> processes;
  for (int i = 0; i < 6; ++i) {
    processes.push_back(
        Start({"db", "put", "cache.slicedb", "part.cli", "--id", "p" + std::to_string(i), "--revision", "1"}));
  }
  for (pid_t const process : processes) EXPECT_EQ(Finish(process).exit_code, 0);
  EXPECT_EQ(List().size(), processes.size());
}

}  // namespace
