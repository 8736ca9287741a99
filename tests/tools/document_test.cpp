#include <gmock/gmock.h>

#include "tools/Program.h"
#include "tools/RichPart.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Stack documents as the program takes and gives them.
class Document : public ProgramTest {};

class DocumentOfSample : public Document, public testing::WithParamInterface<char const*> {};

TEST_P(DocumentOfSample, TellsAndGivesBackWhatTheSampleHolds) {
  auto const sample = std::filesystem::path(SLICEDATA_SAMPLES_DIR) / GetParam();
  if (!std::filesystem::exists(sample)) GTEST_SKIP() << "there is no sample " << sample;
  RunSilently({"convert", sample, "-o", "part.slicestack", "--strict"});
  EXPECT_EQ(RunSilently({"info", "part.slicestack", "--json"}), RunSilently({"info", sample, "--json"}));
  for (std::string const form : {"cli-ascii", "cli-binary"}) {
    RunSilently({"convert", sample, "-o", "direct.cli", "--to", form, "--force"});
    RunSilently({"convert", "part.slicestack", "-o", "through.cli", "--to", form, "--force"});
    EXPECT_TRUE(Read("through.cli") == Read("direct.cli")) << form;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, DocumentOfSample,
                         testing::Values("cylinder_negative_binary.cli", "frustum_hatched_ascii.cli",
                                         "open_block_support_binary.cli", "tall_part_binary.cli"));

TEST_F(Document, KeepsEverythingOnItsWayThroughEveryKindOfStack) {
  WriteRichPart(GetWorkPath("rich.slicestack"));
  std::string const rich = Read("rich.slicestack");
  for (std::string const paging : {"none", "multiple", "single", "zrange"}) {
    RunSilently({"convert", "rich.slicestack", "-o", "copy.slicestack", "--force", "--strict", "--paging", paging});
    EXPECT_TRUE(Read("copy.slicestack") == rich) << paging;
  }
  Outcome const lossy = Run({"convert", "rich.slicestack", "-o", "poor.cli"});
  EXPECT_EQ(lossy.exit_code, 0);
  EXPECT_THAT(lossy.errors, AllOf(HasSubstr("point blocks were left out"), HasSubstr("properties other than")));
}

TEST_F(Document, ThatIsLargerThanMemoryIsOneLineUnlessItIsPaged) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve more addresses than the limit of this test";
#endif
  RunSilently({"generate", "lattice", "-o", "l.slicestack", "--size", "20", "--cell", "1", "--thickness", "0.25"});
  Setting setting;
  setting.memory_limit = rlim_t{150} << 20;
  EXPECT_EQ(Run({"info", "l.slicestack"}, setting).exit_code, 0);
  EXPECT_EQ(Run({"info", "l.slicestack", "--paging", "multiple"}, setting).exit_code, 0);
  EXPECT_THAT(RunIntoTrouble({"info", "l.slicestack", "--paging", "none"}, setting),
              HasSubstr("l.slicestack: not enough memory"));
}

}  // namespace
