#include <SliceData/platform/properties/PersistentProperties.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/platform/sax/MStreamTextOut.h>

#include <gtest/gtest.h>
#include <limits>

namespace {

TEST(PersistentProperties, ALookUpGivesTheFirstOfThatNameWhateverItsType) {
  PersistentProperties properties;
  properties._AddProperty<std::string>("a", true) = "text";
  properties.SetProperty<long>("a", 5);
  EXPECT_EQ(properties.GetValue<long>("a"), nullptr) << "the first one is a string";
  EXPECT_EQ(properties.GetProperties<long>("a"), std::vector<long const*>{properties.GetProperties<long>("a").front()});
  properties._AddProperty<long>("a", false) = 6;
  ASSERT_NE(properties.GetValue<long>("a"), nullptr);
  EXPECT_EQ(*properties.GetValue<long>("a"), 6);
  EXPECT_EQ(properties.GetAll().size(), 1u);
}

TEST(PersistentProperties, DeletedOnesCountAsAbsentUntilTheyAreSetAgain) {
  PersistentProperties properties;
  properties.SetProperty<long>("n", 1);
  long const* const value = properties.GetValue<long>("n");
  properties.FindProperty("n")->SetDeleted(true);
  EXPECT_EQ(properties.GetValue<long>("n"), nullptr);
  EXPECT_TRUE(properties.GetProperties<long>("n").empty());
  properties.SetProperty<long>("n", 2);
  EXPECT_EQ(properties.GetValue<long>("n"), value) << "the property itself stays in place";
  EXPECT_EQ(*value, 2);
}

TEST(PersistentProperties, CopiesAreDeepAndValuesStayWhereTheyAre) {
  PersistentProperties properties;
  auto& nested = properties._AddProperty<PersistentProperties>("nested", true);
  nested.SetProperty<double>("d", 0.5);
  for (int i = 0; i < 100; ++i) properties._AddProperty<bool>("filler", true);
  properties.RemoveProperties(properties.GetAll().back()->GetName());
  EXPECT_EQ(properties.GetValue<PersistentProperties>("nested"), &nested);

  PersistentProperties copy(properties);
  EXPECT_TRUE(copy == properties);
  nested.SetProperty<double>("d", 0.25);
  EXPECT_FALSE(copy == properties);
  EXPECT_EQ(*copy.GetValue<PersistentProperties>("nested")->GetValue<double>("d"), 0.5);
}

TEST(MStreamText, RoundTripsValuesAndSeparatesThemByOneBlank) {
  MStreamTextOut out;
  out << true << 0.1 << -5L << std::numeric_limits<unsigned long>::max() << "word";
  EXPECT_EQ(out.str(), "1 0.1 -5 18446744073709551615 word");

  MStreamTextIn in(out.str());
  bool flag = false;
  double number = 0;
  long negative = 0;
  unsigned long large = 0;
  int not_there = 42;
  in >> flag >> number >> negative >> large >> not_there;
  EXPECT_TRUE(flag);
  EXPECT_EQ(number, 0.1);
  EXPECT_EQ(negative, -5);
  EXPECT_EQ(large, std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(not_there, 42) << "what cannot be parsed leaves the value";
}

}  // namespace
