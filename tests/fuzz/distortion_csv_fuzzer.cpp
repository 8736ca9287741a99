// Reads arbitrary bytes as the text of a distortion table: behind two coordinates, at which the table is asked.

#include <SliceData/geometry/DistortionTable.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Table = M2DSliceUtilities::DistortionTable<double>;
using Point = MMPoint2d<double>;

void Expect(bool holds) {
  if (!holds) std::abort();
}

/// The samples, cell by cell through streams; nothing if a line does not have four cells.
std::optional<Table> ImportByStreams(std::string const& text) {
  Table table;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::vector<double> cells;
    std::istringstream rest(line);
    for (std::string cell; std::getline(rest, cell, ',');) std::istringstream(cell) >> cells.emplace_back(0);
    if (cells.size() != 4) return std::nullopt;
    table.Add({cells[0], cells[1]}, {cells[2], cells[3]});
  }
  return table;
}

std::optional<Table> Import(std::string const& text) {
  std::stringstream csv(text);
  Table table;
  try {
    table.ImportFromCsv(csv);
  } catch (std::runtime_error const& error) {
    Expect(std::string(error.what()).find('\n') == std::string::npos);
    return std::nullopt;
  }
  return table;
}

/// The rows up to the first sample that is missing.
std::string Export(Table const& table, bool& whole) {
  std::stringstream csv;
  try {
    table.ExportToCsv(csv);
    whole = true;
  } catch (std::out_of_range const&) {
    whole = false;
  }
  return csv.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Point position;
  if (size < sizeof position) return 0;
  std::memcpy(&position, data, sizeof position);
  std::string const text(reinterpret_cast<char const*>(data) + sizeof position, size - sizeof position);

  auto const table = Import(text);
  auto const expected = ImportByStreams(text);
  Expect(table.has_value() == expected.has_value());
  if (!table) return 0;
  bool whole = false;
  std::string const rows = Export(*table, whole);
  Expect(rows == Export(*expected, whole));

  if (whole) {
    // What is equal to six decimals becomes one; beyond that nothing changes any more.
    bool again_whole = false;
    std::string const again = Export(Import(rows).value(), again_whole);
    Expect(again_whole);
    Expect(Export(Import(again).value(), again_whole) == again);
    auto const lines = [](std::string const& of) { return std::count(of.begin(), of.end(), '\n'); };
    Expect(again == rows || lines(again) < lines(rows));
  }
  for (Point const p : {position, Point{position.x, 1}, Point{1, position.y}, Point{0.5, 0.5}}) {
    try {
      table->Lookup(p);
    } catch (std::out_of_range const&) {
      Expect(!whole);
    }
  }
  return 0;
}
