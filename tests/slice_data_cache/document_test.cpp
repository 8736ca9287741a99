#include <SliceData/platform/sax/MDocument.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_data_cache/CachedSliceStackSaxWrite.h>
#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxRead.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacksSaxWrite.h>
#include <SliceData/slice_data_cache/DatabaseDocument.h>
#include <SliceData/slice_stack/AllStacks.h>

#include <cstdlib>
#include <system_error>

#include "persistence/StackDocuments.h"
#include "slice_data_cache/CachedStacks.h"

// Databases that are kept as documents, and what becomes of the stacks in them.

namespace {

using namespace testing_support;
using namespace SliceDataCaching;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Database = DatabaseCachedSliceStacks;

/// The x at which the slices of a stored stack begin; -1 without slices.
long StartOf(CachedSliceStack const& entry) {
  M2DSliceStack const& stack = entry.GetStack();
  return stack.GetSize() != 0 ? Starts(*stack.GetSlice(0ul))[0] : -1;
}

/// Changes it.
void SetStart(CachedSliceStack& entry, long start) {
  auto border = entry.GetStack().GetSlice(0ul)->GetBorderUpdate();
  border->GetFirst()->GetFirstPoint()->x = start;
}

class DatabaseDocuments : public ::testing::Test {
 protected:
  DatabaseDocuments() { ::setenv("TMPDIR", m_scratch.GetPath().c_str(), 1); }
  ~DatabaseDocuments() override {
    ::unsetenv("TMPDIR");
    ::unlink(m_path.c_str());
  }

  static CachedSliceStack& Add(Database& database, long start) {
    CachedSliceStack& entry = *database.AddCachedSliceStack(MakeKey("p" + std::to_string(start)));
    SetStack(entry, start);
    return entry;
  }
  /// A document with one stored stack for each start.
  void Save(std::vector<long> const& starts) const {
    Database database(true);
    for (long const start : starts) Add(database, start);
    Save(database);
  }
  void Save(Database const& database) const { WriteDatabaseDocument(m_path, database); }
  /// What is wrong, or was left out.
  std::vector<std::string> Load(Database& database) const {
    VelAM::SaxUtilities::ReadReport report;
    bool const is_right = ReadDatabaseDocument(m_path, database, &report);
    EXPECT_EQ(is_right, report.error.empty());
    if (!report.error.empty()) report.warnings.push_back(report.error);
    return report.warnings;
  }
  std::vector<long> LoadStarts() const {
    Database database(false);
    EXPECT_THAT(Load(database), IsEmpty());
    std::vector<long> starts;
    for (CachedSliceStack const* const entry : database.GetAllCachedStacks()) starts.push_back(StartOf(*entry));
    return starts;
  }

  Scratch m_scratch;
  std::string m_path = m_scratch.GetPath() + "/cache.slicedb";
};

TEST_F(DatabaseDocuments, TellKeysAsTags) {
  DocumentFile document;
  Database database(false);
  document.Write(DatabaseCachedSliceStacksSaxWrite(&database));
  EXPECT_EQ(document.GetText(), "<Properties></Properties>");

  CachedSliceStackKeyInfo key = MakeKey("P<&> 1", 0.1, -1e-300, 12345678.9);
  key.m_properties.RemoveProperties(PropertyNameCacheType);
  key.m_z_info.type = e2DSliceZAreaType::Below;
  CachedSliceStack& entry = *database.AddCachedSliceStack(key);
  entry.GetProperties().SetProperty<long>("Own", 7);
  database.GetProperties().SetProperty<bool>("OfAll", true);
  document.Write(DatabaseCachedSliceStacksSaxWrite(&database));
  std::string const text = document.GetText();
  EXPECT_EQ(text,
            "<Instance>"
            "<KeyInfo><ID><Global>P<&> 1</Global><Revision>r1</Revision></ID>"
            "<ZInfo><Thickness>300</Thickness><Type>Below</Type><TypeEffective>Middle</TypeEffective></ZInfo>"
            "<Transform>1 0 0 0.1 0 1 0 -1e-300 0 0 1 12345678.9 0 0 0 1</Transform><Properties></Properties></KeyInfo>"
            "<Properties><Property><Name>Own</Name><Type>long</Type><Value>7</Value></Property></Properties>"
            "<DataVector></DataVector></Instance>"
            "<Properties><Property><Name>OfAll</Name><Type>bool</Type><Value>1</Value></Property></Properties>");

  Database again(false);
  DatabaseCachedSliceStacksSaxRead root(&again);
  EXPECT_EQ(document.Read(root), "");
  document.Write(DatabaseCachedSliceStacksSaxWrite(&again));
  EXPECT_EQ(document.GetText(), text);
}

TEST_F(DatabaseDocuments, GiveEqualKeysAndTheSameSlices) {
  Database database(false);
  CachedSliceStack& entry = *database.AddCachedSliceStack(MakeKey("Part", 1.5, -2.5, 3.25));
  entry.SetSliceStack({MakeStack(10, 30), MakeStack(20)}, {}, nullptr);
  MMTransformMatrix position;
  position.MakeTranslation(0.1, 0.2, 0.3);
  entry.AddUsedPosition(position);
  database.AddCachedSliceStack(MakeKey("Other"));
  std::string const slices = DescribeWhole(entry.GetStack());
  Save(database);

  Database again(false);
  ASSERT_THAT(Load(again), IsEmpty());
  ASSERT_EQ(again.GetSize(), 2u);
  CachedSliceStackKeyInfo asked = MakeKey("PART", 70);
  CachedSliceStack* const found = again.GetSuitedCachedStack(CachedSliceStackSelectorDefault(&asked));
  ASSERT_EQ(found, again.GetAllCachedStacks()[0]);
  EXPECT_EQ(found->m_id.m_global, "Part");
  EXPECT_EQ(found->m_transform, entry.m_transform);
  EXPECT_EQ(found->m_z_info, entry.m_z_info);
  EXPECT_EQ(found->m_properties, entry.m_properties);
  EXPECT_EQ(found->GetProperties(), entry.GetProperties());
  std::vector<MMTransformMatrix const*> used;
  found->GetUsedPositions(used);
  ASSERT_THAT(used, SizeIs(2));
  EXPECT_EQ(used[1]->GetElement(2, 3), 0.3);
  ASSERT_THAT(found->m_data, SizeIs(2));
  EXPECT_EQ(DescribeWhole(found->GetStack()), slices);
  EXPECT_EQ(Starts(*found->GetStacks()[1]->GetSlice(0ul))[0], 20);
  EXPECT_THAT(again.GetAllCachedStacks()[1]->m_data, IsEmpty());

  EXPECT_THAT(Load(again), IsEmpty());
  EXPECT_EQ(again.GetSize(), 4u) << "entries are added";
}

TEST_F(DatabaseDocuments, ReadAStackWhenItIsFirstAskedFor) {
  {
    Database database(false);
    for (long const start : {10, 20, 30}) Add(database, start);
    database.AddCachedSliceStack(MakeKey("two"))->SetSliceStack({MakeStack(40), MakeStack(50)}, {}, nullptr);
    Save(database);
  }
  std::vector<std::string> const scratch_files = m_scratch.GetFiles();
  Database database(false);
  ASSERT_THAT(Load(database), IsEmpty());
  EXPECT_EQ(m_scratch.GetFiles(), scratch_files);
  EXPECT_THAT(g_all_stacks.Get(), IsEmpty());
  std::vector<CachedSliceStack*> const entries = database.GetAllCachedStacks();

  EXPECT_EQ(StartOf(*entries[1]), 20);
  EXPECT_THAT(g_all_stacks.Get(), SizeIs(1));
  EXPECT_EQ(entries[0]->m_data[0]->m_loaded_data, nullptr);
  EXPECT_NE(entries[2]->m_data[0]->m_file_content->GetDocumentBytes(), nullptr) << "still in the document";

  M2DSlice slice;
  EXPECT_TRUE(entries[3]->GetSlice(slice, M2DSliceZArea(0), nullptr));
  EXPECT_EQ(entries[3]->m_data[1]->m_loaded_data, nullptr) << "a slice is one of the first stack";
  entries[3]->GetStack();
  EXPECT_NE(entries[3]->m_data[1]->m_loaded_data, nullptr);

  // A walk holds one at a time; what rests nowhere else is kept.
  entries[0]->m_data.push_back(std::make_shared<CachedSliceStack::Data>());
  for (CachedSliceStack* const entry : entries) {
    entry->ValidateLoadedData(false);
    EXPECT_TRUE(entry->ReleaseLoadedData());
    EXPECT_FALSE(entry->ReleaseLoadedData());
  }
  EXPECT_NE(entries[0]->m_data[1]->m_loaded_data, nullptr);
  EXPECT_THAT(g_all_stacks.Get(), SizeIs(1));
  EXPECT_EQ(StartOf(*entries[0]), 10);
}

/// A database as a later version may write it: with attributes and tags that are not known here.
class LaterDatabase final : public ISAXPersistHelper {
 public:
  explicit LaterDatabase(Database const& database) : m_database(database) {}

  bool Write(MSAXWriter& writer) const override {
    for (CachedSliceStack const* const entry : m_database.GetAllCachedStacks()) {
      MSAXTagWriter const tag(writer, "Instance");
      writer.WriteAttribute("made", entry->m_id.m_global.c_str());
      CachedSliceStackSaxWrite(entry).Write(writer);
      writer.WriteTextTag("Machine", entry->m_id.m_global);
    }
    writer.WriteTextTag("Rules", "all");
    MSAXTagWriter const tag(writer, "Properties");
    return writer.WriteTextAttribute("unit", "um");
  }

 private:
  Database const& m_database;
};

TEST_F(DatabaseDocuments, KeepWhatIsNotKnownHereOfWhatStaysTheSame) {
  {
    Database database(false);
    for (long const start : {10, 20, 30, 40}) Add(database, start);
    VelAM::SaxUtilities::WriteFile(m_path, LaterDatabase(database), {0, kDatabaseDocumentKind});
  }
  Database database(false);
  EXPECT_THAT(Load(database), SizeIs(2));
  std::vector<CachedSliceStack*> const entries = database.GetAllCachedStacks();
  EXPECT_EQ(StartOf(*entries[0]), 10);
  MMTransformMatrix position;
  position.MakeTranslation(1, 0, 0);
  entries[1]->AddUsedPosition(position);
  M2DSlice changed;
  FillAllComponents(changed, 35);
  entries[2]->SetSlice(changed, M2DSliceZArea(0), nullptr);
  Save(database);

  Database again(false);
  EXPECT_THAT(Load(again), ElementsAre(HasSubstr("'Instance/Machine' was not understood and left out (2 times)"),
                                       HasSubstr("'Rules'")));
  EXPECT_EQ(StartOf(*again.GetAllCachedStacks()[2]), 35);
  std::string const tree = MDocument(m_path).ReadTree(0);
  EXPECT_THAT(tree, AllOf(HasSubstr("<Instance made=\"p10\">"), HasSubstr("<Machine>p10</Machine>"),
                          HasSubstr("<Machine>p40</Machine>"), HasSubstr("<Properties unit=\"um\"/>")));
}

TEST_F(DatabaseDocuments, DoNotFollowChangesUntilTheDocumentOfAStackIsGivenUp) {
  Save({10, 20});
  Database database(false);
  Load(database);
  CachedSliceStack& late = *database.GetAllCachedStacks()[0];
  CachedSliceStack& early = *database.GetAllCachedStacks()[1];
  CachedSliceStack& added = Add(database, 30);
  early.ValidateLoadedData(true);
  SetStart(early, 21);
  SetStart(late, 11);
  Save(database);
  EXPECT_THAT(LoadStarts(), ElementsAre(10, 21, 30));

  SetStart(added, 31);
  added.ValidateLoadedData(true);
  Save(database);
  EXPECT_THAT(LoadStarts(), ElementsAre(10, 21, 30)) << "it was loaded already";

  added.m_data[0]->m_file_content.reset();
  late.m_data[0]->m_file_content.reset();
  Save(database);
  EXPECT_THAT(LoadStarts(), ElementsAre(11, 21, 31));
  SetStart(late, 12);
  EXPECT_TRUE(late.ReleaseLoadedData());
  EXPECT_EQ(StartOf(late), 11) << "the change has gone with it";
}

TEST_F(DatabaseDocuments, LoseNothingWhenTheDiskIsFull) {
  Save({10, 20});
  Database database(false);
  Load(database);
  CachedSliceStack& read = *database.GetAllCachedStacks()[0];
  CachedSliceStack& added = Add(database, 30);
  std::size_t const num_files = m_scratch.GetFiles().size();
  {
    FullDisk const full(100);
    EXPECT_THROW(Save(database), std::system_error);
    EXPECT_THROW(added.m_data[0]->ValidateTempFile(true), std::system_error);
    EXPECT_THROW(read.ValidateLoadedData(true), std::system_error);
  }
  EXPECT_EQ(added.m_data[0]->m_file_content, nullptr) << "half a document is none";
  EXPECT_EQ(read.m_data[0]->m_loaded_data, nullptr) << "an empty stack is not the stack";
  EXPECT_EQ(m_scratch.GetFiles().size(), num_files);

  Save(database);
  EXPECT_THAT(LoadStarts(), ElementsAre(10, 20, 30));
  EXPECT_EQ(StartOf(read), 10);
}

TEST_F(DatabaseDocuments, ABrokenStackHarmsItselfOnly) {
  Save({10, 0x12345678, 30});
  std::string bytes = ReadBytes(m_path);
  std::size_t const place = bytes.find("\x78\x56\x34\x12");
  ASSERT_NE(place, std::string::npos);
  bytes[place] ^= 1;
  WriteBytes(m_path, bytes);
  Database database(false);
  ASSERT_THAT(Load(database), IsEmpty());
  std::vector<CachedSliceStack*> const entries = database.GetAllCachedStacks();
  for (int round = 0; round < 2; ++round) EXPECT_THROW(entries[1]->GetStack(), std::runtime_error);
  EXPECT_THROW(Save(database), std::runtime_error);
  EXPECT_EQ(StartOf(*entries[0]), 10);
  database.RemoveCachedSliceStack(entries[1]);

  // What is no document of a stack has arrived whole, so it is told by a plain result, once, and reading goes on.
  CachedSliceStack& garbage = Add(database, 40);
  garbage.m_data[0]->ValidateTempFile(true);
  WriteBytes(garbage.m_data[0]->m_file_content->GetPath(), "garbage");
  Save(database);
  Database again(false);
  ASSERT_THAT(Load(again), IsEmpty());
  ASSERT_EQ(again.GetSize(), 3u);
  CachedSliceStack& read = *again.GetAllCachedStacks()[2];
  read.m_data.push_back(database.GetAllCachedStacks()[1]->m_data[0]);
  EXPECT_FALSE(read.ValidateLoadedData(true));
  EXPECT_NE(read.m_data[1]->m_loaded_data, nullptr) << "one after the other, though the first failed";
  EXPECT_EQ(read.m_data[0]->m_file_content, nullptr);
  EXPECT_TRUE(read.ValidateLoadedData(false));
  EXPECT_EQ(read.GetStack().GetSize(), 0u);
  EXPECT_EQ(StartOf(*again.GetAllCachedStacks()[0]), 10);
}

TEST_F(DatabaseDocuments, MayHoldAnyTags) {
  DocumentFile document;
  document.SetText(
      "<Instance><KeyInfo><Transform>1 2 3</Transform><Transform></Transform><Data>1</Data><Other></Other></KeyInfo>"
      "<Other><Data>1</Data></Other><Data><Stack><Slice><Height>5</Height></Slice></Stack></Data></Instance>");
  Database database(false);
  DatabaseCachedSliceStacksSaxRead root(&database);
  EXPECT_EQ(document.Read(root),
            "the tag 'Instance/KeyInfo/Data' was not understood and left out\n"
            "the tag 'Instance/KeyInfo/Other' was not understood and left out\n"
            "the tag 'Instance/KeyInfo/Transform' was not understood and left out\n"
            "the tag 'Instance/Other' was not understood and left out\n");
  M2DSlice slice;
  EXPECT_TRUE(database.GetAllCachedStacks()[0]->GetSlice(slice, M2DSliceZArea(5), nullptr));
}

}  // namespace
