#include <SliceData/geometry/DistortionTable.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace M2DSliceUtilities {

namespace {

using Point = MMPoint2d<double>;

/// The value at a coordinate between the grid lines `low` and `high`, which are one and the same on a line and beyond
/// the grid.
Point Interpolate(double coordinate, double low, double high, Point const& at_low, Point const& at_high) {
  if (low == high) return at_high;
  double const from_low = coordinate - low;
  double const to_high = high - coordinate;
  double const width = high - low;
  return {(from_low * at_high.x + to_high * at_low.x) / width, (from_low * at_high.y + to_high * at_low.y) / width};
}

/// Reads cells as a stream does that is extracted into a 0.
class CellReader {
 public:
  CellReader() { m_stream.imbue(std::locale::classic()); }

  double operator()(std::string_view cell) {
    double number = 0;
    // Streams are ten times slower, but have the last word on everything that is not a number from end to end.
    auto const [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), number);
    if (error == std::errc() && end == cell.data() + cell.size() && std::isfinite(number)) return number;
    number = 0;
    m_stream.clear();
    m_stream.str(std::string(cell));
    m_stream >> number;
    return number;
  }

 private:
  std::istringstream m_stream;
};

/// Six decimals, as a stream in the classic locale writes them with `std::fixed`.
void AppendCell(std::string& row, double number, char end) {
  char digits[std::numeric_limits<double>::max_exponent10 + 20];
  row.append(digits, std::to_chars(std::begin(digits), std::end(digits), number, std::chars_format::fixed, 6).ptr);
  row += end;
}

}  // namespace

void DistortionTable<double>::Add(double x, double y, double valueX, double valueY) {
  if (std::isnan(x) || std::isnan(y)) return;
  unsigned long const x_index = m_x_indices.Add(x, m_x_indices.GetSize());
  unsigned long const y_index = m_y_indices.Add(y, m_y_indices.GetSize());
  if (x_index >= m_samples.size()) m_samples.resize(x_index + 1);
  m_samples[x_index].Add(y_index, {valueX, valueY});
}

void DistortionTable<double>::Add(Point position, Point value) {
  Add(position.x, position.y, value.x, value.y);
}

void DistortionTable<double>::Clear() {
  *this = DistortionTable();
}

void DistortionTable<double>::ImportFromCsv(std::stringstream& csv) {
  Clear();
  CellReader read_cell;
  std::string line;
  while (std::getline(csv, line)) {
    double cells[4] = {};
    std::size_t count = 0;
    for (std::string_view rest = line; !rest.empty(); ++count) {
      std::size_t const end = std::min(rest.find(','), rest.size());
      if (count < std::size(cells)) cells[count] = read_cell(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (count != std::size(cells)) {
      Clear();
      throw std::runtime_error(line);
    }
    Add(cells[0], cells[1], cells[2], cells[3]);
  }
}

void DistortionTable<double>::ExportToCsv(std::stringstream& csv) const {
  std::string row;
  m_x_indices.ForEach([&](Axis::Entry const& x) {
    m_y_indices.ForEach([&](Axis::Entry const& y) {
      Point const& value = _GetSample(x.value, y.value);
      row.clear();
      AppendCell(row, x.key, ',');
      AppendCell(row, y.key, ',');
      AppendCell(row, value.x, ',');
      AppendCell(row, value.y, '\n');
      csv.write(row.data(), static_cast<std::streamsize>(row.size()));
    });
  });
}

Point DistortionTable<double>::Lookup(Point position) const {
  return m_samples.empty() ? position : _Interpolate(position.x, position.y);
}

Point DistortionTable<double>::_Interpolate(double x, double y) const {
  auto const [low_x, high_x] = m_x_indices.Bracket(x);
  auto const [low_y, high_y] = m_y_indices.Bracket(y);
  Point const& low_low = _GetSample(low_x->value, low_y->value);
  Point const& high_low = _GetSample(high_x->value, low_y->value);
  Point const& low_high = _GetSample(low_x->value, high_y->value);
  Point const& high_high = _GetSample(high_x->value, high_y->value);
  Point const at_low_y = Interpolate(x, low_x->key, high_x->key, low_low, high_low);
  Point const at_high_y = Interpolate(x, low_x->key, high_x->key, low_high, high_high);
  return Interpolate(y, low_y->key, high_y->key, at_low_y, at_high_y);
}

inline Point const& DistortionTable<double>::_GetSample(unsigned long x_index, unsigned long y_index) const {
  // Where a row has a sample on every line, they stand in the order of their indices.
  if (x_index < m_samples.size()) {
    if (Point const* const sample = m_samples[x_index].Find(y_index, y_index)) return *sample;
  }
  throw std::out_of_range("map::at:  key not found");
}

template <class Key, class Value>
Value DistortionTable<double>::BlockMap<Key, Value>::Add(Key key, Value value) {
  if (m_blocks.empty()) {
    m_blocks.emplace_back(1, Entry{key, value});
  } else {
    std::size_t const number = _FindBlock(key);
    Block& block = m_blocks[number];
    auto const place = _FindIn(block, key);
    if (place != block.end() && place->key == key) return place->value;
    block.insert(place, {key, value});
    ++m_size;
    if (block.size() >= kBlockSize) _Split(number);
    return value;
  }
  ++m_size;
  return value;
}

template <class Key, class Value>
inline Value const* DistortionTable<double>::BlockMap<Key, Value>::Find(Key key, std::size_t place) const {
  if (m_blocks.empty()) return nullptr;
  if (Block const& first = m_blocks.front(); place < first.size() && first[place].key == key)
    return &first[place].value;
  Block const& block = m_blocks[_FindBlock(key)];
  auto const found = _FindIn(block, key);
  return found != block.end() && found->key == key ? &found->value : nullptr;
}

template <class Key, class Value>
inline auto DistortionTable<double>::BlockMap<Key, Value>::Bracket(Key key) const
    -> std::pair<Entry const*, Entry const*> {
  std::size_t const number = _FindBlock(key);
  Block const& block = m_blocks[number];
  auto const high = _FindIn(block, key);
  if (high == block.end()) return {&block.back(), &block.back()};
  if (high->key == key) return {&*high, &*high};
  if (high != block.begin()) return {&*high - 1, &*high};
  return {number == 0 ? &*high : &m_blocks[number - 1].back(), &*high};
}

template <class Key, class Value>
template <class Function>
void DistortionTable<double>::BlockMap<Key, Value>::ForEach(Function const& function) const {
  for (Block const& block : m_blocks) std::for_each(block.begin(), block.end(), function);
}

template <class Key, class Value>
std::size_t DistortionTable<double>::BlockMap<Key, Value>::_FindBlock(Key key) const {
  auto const is_below = [](Block const& block, Key of) { return block.back().key < of; };
  auto const found = std::lower_bound(m_blocks.begin(), m_blocks.end() - 1, key, is_below);
  return static_cast<std::size_t>(found - m_blocks.begin());
}

template <class Key, class Value>
auto DistortionTable<double>::BlockMap<Key, Value>::_FindIn(Block const& block, Key key) ->
    typename Block::const_iterator {
  return std::lower_bound(block.begin(), block.end(), key, [](Entry const& entry, Key of) { return entry.key < of; });
}

template <class Key, class Value>
void DistortionTable<double>::BlockMap<Key, Value>::_Split(std::size_t number) {
  auto const middle = [&] { return m_blocks[number].begin() + kBlockSize / 2; };
  m_blocks.emplace(m_blocks.begin() + static_cast<std::ptrdiff_t>(number) + 1, middle(), m_blocks[number].end());
  m_blocks[number].erase(middle(), m_blocks[number].end());
}

}  // namespace M2DSliceUtilities
