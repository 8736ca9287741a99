#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/FindCachedStacks.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "slice_data_cache/CachedStacks.h"

// Which entries and databases are found.

namespace {

using namespace testing_support;
using namespace SliceDataCaching;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Database = DatabaseCachedSliceStacks;

std::vector<Database*> FindTargets(CachedSliceStackKeyInfo const& key) {
  std::vector<Database*> targets(3);
  FindSuitedTargetDatabases(key, targets);
  return targets;
}

TEST(CacheDatabases, AreFoundFromBirthToDeath) {
  CachedSliceStackKeyInfo const key = MakeKey("p");
  CachedSliceStackSelectorDefault const selector(&key);
  EXPECT_EQ(FindSuitedTargetDatabase(key), nullptr);
  EXPECT_EQ(FindSuitedCachedStack(selector), nullptr);
  EXPECT_THAT(FindTargets(key), IsEmpty());

  auto database = std::make_unique<Database>(false);
  EXPECT_EQ(FindSuitedTargetDatabase(key), nullptr);
  database->SetIsTarget(true);
  EXPECT_EQ(FindSuitedTargetDatabase(key), database.get());

  struct OfPartQ : Database {
    OfPartQ() : Database(true) {}
    bool _OnIsSuitedTargetFor(CachedSliceStackKeyInfo const& asked) const override {
      return asked.m_id.m_global == "q";
    }
  } choosy;
  EXPECT_THAT(FindTargets(key), ElementsAre(database.get()));
  EXPECT_THAT(FindTargets(MakeKey("q")), UnorderedElementsAre(database.get(), &choosy));
  CachedSliceStack* added = choosy.AddCachedSliceStack(key);
  EXPECT_EQ(FindSuitedCachedStack(selector), added) << "targets or not";

  added = database->AddCachedSliceStack(key);
  database->GetProperties().SetProperty<long>("Own", 1);
  choosy.Clear();
  EXPECT_EQ(FindSuitedCachedStack(selector), added);
  database->Clear();
  EXPECT_EQ(FindSuitedCachedStack(selector), nullptr);
  EXPECT_EQ(FindSuitedTargetDatabase(key), database.get());
  EXPECT_NE(database->GetProperties().GetValue<long>("Own"), nullptr);
  database.reset();
  EXPECT_THAT(AllDatabases::m_databases, ElementsAre(&choosy));
}

TEST(CacheDatabases, GiveTheOldestEntryThatSuits) {
  CachedSliceStackKeyInfo const key = MakeKey("p");
  CachedSliceStackSelectorDefault const selector(&key);
  Database database(true);
  CachedSliceStack* const other = database.AddCachedSliceStack(MakeKey("q"));
  CachedSliceStack* const first = database.AddCachedSliceStack(key);
  SetStack(*first, 0);
  CachedSliceStack* const second = database.AddCachedSliceStack(*first);
  EXPECT_EQ(database.GetSuitedCachedStack(selector), first);
  EXPECT_THAT(second->m_data, IsEmpty()) << "the key alone was copied";
  EXPECT_THAT(database.GetAllCachedStacks(), ElementsAre(other, first, second));

  CachedSliceStack foreign(key);
  EXPECT_FALSE(database.RemoveCachedSliceStack(&foreign));
  EXPECT_FALSE(database.RemoveCachedSliceStack(nullptr));
  EXPECT_TRUE(database.RemoveCachedSliceStack(first));
  EXPECT_EQ(database.GetSuitedCachedStack(selector), second);
  EXPECT_EQ(database.GetSize(), 2u);

  struct : ICachedSliceStackSelector {
    bool _OnIsSuitedCachedStack(CachedSliceStack*) const override { throw std::domain_error("mine"); }
  } const failing;
  EXPECT_THROW(FindSuitedCachedStack(failing), std::domain_error);
}

TEST(CacheDatabases, TellWhatFitsARequest) {
  using Change = std::function<void(CachedSliceStackKeyInfo&)>;
  auto const set_type = [](char const* type) {
    return
        [=](CachedSliceStackKeyInfo& key) { key.m_properties.SetProperty<std::string>(PropertyNameCacheType, type); };
  };
  auto const turn = [](CachedSliceStackKeyInfo& key) {
    key.m_transform.SetElement(0, 0, 0);
    key.m_transform.SetElement(0, 1, -1);
    key.m_transform.SetElement(1, 0, 1);
    key.m_transform.SetElement(1, 1, 0);
  };
  Change const move = [](CachedSliceStackKeyInfo& key) { key.m_transform.FillInTranslation(-7, 8, 9); };
  Change const leave = [](CachedSliceStackKeyInfo&) {};
  Change const drop_type = [](CachedSliceStackKeyInfo& key) { key.m_properties = {}; };
  Change const delete_type = [](CachedSliceStackKeyInfo& key) {
    key.m_properties.FindProperty(PropertyNameCacheType)->SetDeleted(true);
  };
  Change const number_as_type = [](CachedSliceStackKeyInfo& key) {
    key.m_properties = {};
    key.m_properties.SetProperty<long>(PropertyNameCacheType, 1);
  };
  struct {
    char const* what;
    Change request, stored;
    bool fits;
  } const cases[] = {
      {"equal", leave, leave, true},
      {"no type is asked for", drop_type, leave, true},
      {"a deleted type is asked for", delete_type, leave, true},
      {"a number as type is asked for", number_as_type, leave, true},
      {"no type is stored", leave, drop_type, false},
      {"a deleted type is stored", leave, delete_type, false},
      {"a number as type is stored", leave, number_as_type, false},
      {"no type at all", drop_type, drop_type, true},
      {"type in other letters", set_type("standardslicerstlbase"), leave, false},
      {"identity in other letters",
       [](auto& key) {
         key.m_id = {"P", "R1"};
       },
       leave, true},
      {"another revision", [](auto& key) { key.m_id.m_revision = "r2"; }, leave, false},
      {"other Z types",
       [](auto& key) {
         key.m_z_info = {e2DSliceZAreaType::Below, {}, 300};
       },
       leave, true},
      {"another thickness", [](auto& key) { key.m_z_info.thickness = 301; }, leave, false},
      {"another place", move, leave, true},
      {"turned", turn, leave, false},
      {"turned both", turn, turn, true},
      {"scaled", [](auto& key) { key.m_transform.SetElement(2, 2, 1.01); }, leave, false},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.what);
    CachedSliceStackKeyInfo request = MakeKey("p", 1, 2, 3);
    CachedSliceStackKeyInfo stored = request;
    c.request(request);
    c.stored(stored);
    Database database(false);
    CachedSliceStack* const entry = database.AddCachedSliceStack(stored);
    EXPECT_EQ(FindSuitedCachedStack(CachedSliceStackSelectorDefault(&request)), c.fits ? entry : nullptr);
  }
}

}  // namespace
