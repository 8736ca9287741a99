#include <SliceData/geometry/DistortionTable.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/geometry/TransformationDistortion.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <locale>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using M2DSliceUtilities::TransformationDistortion;
using Point = MMPoint2d<double>;
using Table = M2DSliceUtilities::DistortionTable<double>;

// Platforms are often given as lists of four numbers.
using Platform = TransformationDistortion::PlatformCoordinates;
static_assert(offsetof(Platform, left) == 0 && offsetof(Platform, top) == sizeof(double) &&
              offsetof(Platform, right) == 2 * sizeof(double) && offsetof(Platform, bottom) == 3 * sizeof(double));

constexpr double kInfinity = std::numeric_limits<double>::infinity();
double const kNan = std::nan("");

std::string Export(Table const& table) {
  std::stringstream csv;
  table.ExportToCsv(csv);
  return csv.str();
}

/// What the failure of an import says; nothing if it succeeds.
std::optional<std::string> Import(Table& table, std::string const& text) {
  std::stringstream csv(text);
  try {
    table.ImportFromCsv(csv);
  } catch (std::runtime_error const& error) {
    return error.what();
  }
  return std::nullopt;
}

/// The result of a look-up; nothing where a sample is missing.
template <class AnyTable>
std::optional<Point> Answer(AnyTable const& table, Point position) {
  try {
    return table.Lookup(position);
  } catch (std::out_of_range const&) {
    return std::nullopt;
  }
}

/// Numbers that are equal to the last bit, or both no number: which NaN comes out is up to the processor.
bool Same(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

/// The table in the plainest way, every case of a look-up spelled out.
class PlainTable {
 public:
  void Add(Point position, Point value) {
    m_xs.insert(position.x);
    m_ys.insert(position.y);
    m_samples.emplace(std::pair(position.x, position.y), value);
  }

  Point Lookup(Point const& p) const {
    if (m_xs.empty()) return p;
    auto const [lo_x, hi_x] = Bracket(m_xs, p.x);
    auto const [lo_y, hi_y] = Bracket(m_ys, p.y);
    Point const ll = m_samples.at({lo_x, lo_y});
    Point const hl = m_samples.at({hi_x, lo_y});
    Point const lh = m_samples.at({lo_x, hi_y});
    Point const hh = m_samples.at({hi_x, hi_y});
    Point result;
    for (double Point::*const c : {&Point::x, &Point::y}) {
      double const r1 = ((p.x - lo_x) * hh.*c + (hi_x - p.x) * lh.*c) / (hi_x - lo_x);
      double const r0 = ((p.x - lo_x) * hl.*c + (hi_x - p.x) * ll.*c) / (hi_x - lo_x);
      if (lo_x == hi_x && lo_y == hi_y) {
        result.*c = hh.*c;
      } else if (lo_x == hi_x) {
        result.*c = ((p.y - lo_y) * hh.*c + (hi_y - p.y) * hl.*c) / (hi_y - lo_y);
      } else if (lo_y == hi_y) {
        result.*c = r1;
      } else {
        result.*c = ((p.y - lo_y) * r1 + (hi_y - p.y) * r0) / (hi_y - lo_y);
      }
    }
    return result;
  }

 private:
  static std::pair<double, double> Bracket(std::set<double> const& keys, double coordinate) {
    double low = *keys.begin();
    for (double const key : keys) {
      if (key == coordinate) return {key, key};
      if (!(key < coordinate)) return {low, key == *keys.begin() ? low : key};
      low = key;
    }
    return {low, low};
  }

  std::set<double> m_xs;
  std::set<double> m_ys;
  std::map<std::pair<double, double>, Point> m_samples;
};

TEST(DistortionTable, AnswersAsAPlainTableOnAnyGrid) {
  unsigned const first_seed = static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed());
  std::size_t missing = 0;
  std::size_t answered = 0;
  for (unsigned seed = first_seed; seed < first_seed + 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<double> keys = {-0.0, 0.0};
    auto const pick = [&] { return keys[random() % keys.size()]; };
    auto const coordinate = [&] { return random() % 2 ? pick() : static_cast<double>(random() % 9000) / 30 - 110; };
    for (unsigned long count = random() % 8; count != 0; --count) keys.push_back(coordinate());
    if (random() % 4 == 0) keys.insert(keys.end(), {kInfinity, -kInfinity, 1e308, -1e308, 5e-324});
    Table table;
    PlainTable plain;
    for (unsigned long count = random() % (8 * keys.size() * keys.size()); count != 0; --count) {
      Point const position{pick(), pick()};
      Point const value{coordinate(), random() % 50 == 0 ? kInfinity : 1.0};
      table.Add(position, value);
      plain.Add(position, value);
    }
    keys.insert(keys.end(), {kNan, kInfinity, -kInfinity, 1e300, -150, 250});
    for (int count = 0; count < 100; ++count) {
      Point const position{coordinate(), coordinate()};
      auto const expected = Answer(plain, position);
      auto const found = Answer(table, position);
      ASSERT_EQ(found.has_value(), expected.has_value()) << "at " << position.x << ", " << position.y;
      ++(found ? answered : missing);
      if (!found) continue;
      ASSERT_TRUE(Same(found->x, expected->x) && Same(found->y, expected->y))
          << "at " << position.x << ", " << position.y << ": " << found->x << ", " << found->y << " instead of "
          << expected->x << ", " << expected->y;
    }
  }
  EXPECT_GT(missing, 1000u);
  EXPECT_GT(answered, 10000u);
}

TEST(DistortionTable, FindsItsWayAmongManyLinesThatCameInAnyOrder) {
  std::vector<double> lines(10000);
  std::iota(lines.begin(), lines.end(), 0);
  std::shuffle(lines.begin(), lines.end(), std::mt19937(1));
  Table table;
  for (double const line : lines) table.Add(5, line, 1, -line);
  for (double const line : lines) {
    ASSERT_EQ(table.Lookup({0, line}), (Point{1, -line}));
    ASSERT_EQ(table.Lookup({9, line + 0.5}), (Point{1, -std::min(line + 0.5, 9999.0)}));
    table.Add(5, line, 2, 2);
  }
  EXPECT_EQ(table.Lookup({0, -7}), (Point{1, 0}));
  Table again;
  EXPECT_EQ(Import(again, Export(table)), std::nullopt);
  EXPECT_EQ(Export(again), Export(table));
}

TEST(DistortionTable, KeepsTheFirstSampleDropsNanAndOrdersTheExport) {
  Table table;
  table.Add(kNan, 1, 5, 5);
  table.Add(1, kNan, 5, 5);
  for (double const x : {20.0, -10.0}) {
    for (double const y : {5.0, 1.5}) table.Add(x, y, x + 0.25, y / 3);
  }
  table.Add({20, 5}, {999, 999});
  std::string const rows =
      "-10.000000,1.500000,-9.750000,0.500000\n-10.000000,5.000000,-9.750000,1.666667\n"
      "20.000000,1.500000,20.250000,0.500000\n20.000000,5.000000,20.250000,1.666667\n";
  EXPECT_EQ(Export(table), rows);
  EXPECT_EQ(Import(table, rows), std::nullopt);
  EXPECT_EQ(Export(table), rows);
  table.Clear();
  EXPECT_EQ(Export(table), "");
  table.Add({20, 5}, {1, 2});
  EXPECT_EQ(table.Lookup({-7, kNan}), (Point{1, 2})) << "one sample stands for every point";
}

TEST(DistortionTable, EveryCornerIsNeededWhetherItCountsOrNot) {
  Table table;
  for (Point const p : {Point{0, 0}, Point{10, 0}, Point{0, 10}, Point{20, 0}}) table.Add(p, {p.x + 1, p.y + 1});
  EXPECT_EQ(Answer(table, {0, 10}), (Point{1, 11}));
  EXPECT_EQ(Answer(table, {15, -3}), (Point{16, 1}));
  for (Point const p : {Point{1e-300, 1e-300}, Point{10, 5}, Point{99, 10}}) EXPECT_EQ(Answer(table, p), std::nullopt);
  std::stringstream csv;
  try {
    table.ExportToCsv(csv);
    FAIL();
  } catch (std::out_of_range const& error) {
    EXPECT_STREQ(error.what(), "map::at:  key not found");
  }
  EXPECT_EQ(csv.str(),
            "0.000000,0.000000,1.000000,1.000000\n0.000000,10.000000,1.000000,11.000000\n"
            "10.000000,0.000000,11.000000,1.000000\n");
}

TEST(DistortionTableCsv, ALineHasFourCells) {
  Table table;
  std::string const good = "1,2,3,4\n";
  for (std::string const line : {"", "1,2,3", "1,2,3,4,5", "1,2,3,4,,", ",,,", "\r", "1;2;3;4"}) {
    table.Add(0, 0, 7, 7);
    EXPECT_EQ(Import(table, good + line + "\n" + good), line);
    EXPECT_EQ(table.Lookup({0, 0}), (Point{0, 0})) << "empty again after: " << line;
  }
  EXPECT_EQ(Import(table, good + "\n"), "") << "a blank line at the end";
  for (std::string const text : {"1,2,3,4", "1,2,3,4\n", "1,2,3,4,\n", "1,2,3,4\r\n", "1,2,3,4\n1,2,9,9"}) {
    table.Add(0, 0, 7, 7);
    EXPECT_EQ(Import(table, text), std::nullopt) << text;
    EXPECT_EQ(table.Lookup({0, 0}), (Point{3, 4})) << text;
  }
  EXPECT_EQ(Import(table, ",,,,"), std::nullopt);
  EXPECT_EQ(Export(table), "0.000000,0.000000,0.000000,0.000000\n");
  EXPECT_EQ(Import(table, ""), std::nullopt);
  EXPECT_EQ(Export(table), "") << "the old content goes, whatever comes";
}

struct ForeignDigits : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(DistortionTableCsv, CellsAreThoseOfAStreamInTheClassicLocaleWhateverTheHostHas) {
  std::mt19937 random(static_cast<unsigned>(testing::UnitTest::GetInstance()->random_seed()));
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new ForeignDigits));
  Table table;

  std::vector<std::string> cells = {"",       " \t\v1.5", "+2",  "-+2",   "5.",     ".5",     "-.5e1",
                                    ".",      "1e",       "1e+", "1e5e5", "1.5.5",  "0x10",   "inf",
                                    "-nan",   "nan(1)",   "1 2", "7\r",   "1e 5",   "1e999",  "-1e999",
                                    "1e-999", "4e-324",   "-0",  "1e+5",  "1234.5", "\xA0 1", "infinity"};
  for (int count = 0; count < 20000; ++count) {
    std::string& cell = cells.emplace_back();
    for (unsigned long length = random() % 12; length != 0; --length) {
      cell += "0123456789012345+-..eExXnif \t"[random() % 29];
    }
  }
  for (std::string const& cell : cells) {
    ASSERT_EQ(Import(table, "0,0," + cell + "," + cell + ",\n"), std::nullopt);
    std::istringstream stream(cell);
    stream.imbue(std::locale::classic());
    double number = 0;
    stream >> number;
    Point const read = table.Lookup({});
    ASSERT_TRUE(Same(read.x, number) && Same(read.y, number)) << '"' << cell << "\" gives " << read.x << ", " << read.y;
  }

  std::vector<double> numbers = {5e-7, 1.5e-6, -0.0, -1e-9, 1e22, std::numeric_limits<double>::max(), kInfinity, -kNan};
  for (int count = 0; count < 20000; ++count) {
    unsigned long const bits = (static_cast<unsigned long>(random()) << 32) | random();
    std::memcpy(&numbers.emplace_back(), &bits, sizeof bits);
    numbers.push_back(static_cast<double>(random()) / (1 << random() % 30));
  }
  for (double const number : numbers) {
    table.Clear();
    table.Add(0, 0, number, 0);
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::fixed << number;
    ASSERT_EQ(Export(table), "0.000000,0.000000," + stream.str() + ",0.000000\n");
  }
  std::locale::global(before);
}

TEST(TransformationDistortion, MapsThePlatformAndWhatLiesOffItAlike) {
  TransformationDistortion distortion;
  Table table;
  for (double const x : {0.0, 100.0}) {
    for (double const y : {0.0, 100.0}) table.Add(x, y, 2 * x, y + 5);
  }
  distortion.SetLookupTable(table);
  distortion.SetPlatformCoordinates({0, 1, 1, 0});
  M2DSliceUtilities::TransformationVector chain;
  chain.AddTransformation(distortion);
  chain.AddTransformation(distortion);
  distortion.SetLookupTable(Table());
  Point p{25, 10};
  distortion.Transform(p.x, p.y);
  EXPECT_EQ(p, (Point{25, 10})) << "no table, no change";
  chain.Transform(p.x, p.y);
  EXPECT_EQ(p, (Point{100, 20})) << "clones have a table of their own";
  p = {1e9, -1e9};
  chain.Transform(p.x, p.y);
  EXPECT_EQ(p, (Point{200, 10}));
}

}  // namespace
