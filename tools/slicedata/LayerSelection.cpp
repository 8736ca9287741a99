#include "LayerSelection.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

#include "Length.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

// Stands for the last layer of whatever source it will be.
constexpr unsigned long kLast = std::numeric_limits<unsigned long>::max();

unsigned long ParseLayer(std::string const& text) {
  if (text == "last") return kLast;
  unsigned long number = 0;
  char const* const end = text.data() + text.size();
  auto const [parsed, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || parsed != end || number == kLast) {
    throw Trouble("", "'" + text + "' is no layer", "write numbers from 0, like 0:99,last");
  }
  return number;
}

/// The layer whose z is nearest, the lower one of two. None if the height is outside the part by more than a layer.
std::optional<unsigned long> FindNearestLayer(ISource2DSlices const& source, long height) {
  std::optional<unsigned long> nearest;
  long least = std::numeric_limits<long>::max();
  bool is_above_one = false;
  bool is_below_one = false;
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) {
    long const distance = height - source.GetSliceZPosition(i);
    is_above_one |= distance >= 0;
    is_below_one |= distance <= 0;
    if (std::labs(distance) >= least) continue;
    least = std::labs(distance);
    nearest = i;
  }
  bool const is_inside = is_above_one && is_below_one;
  if (!is_inside && least > std::max(source.GetSliceThickness(), 0L)) return std::nullopt;
  return nearest;
}

std::string DescribeLayers(ISource2DSlices const& source) {
  unsigned long const count = source.GetNumSlices();
  if (count == 0) return "the file has no layers";
  return "its layers are 0 to " + std::to_string(count - 1) + ", from z " + FormatLength(source.GetSliceZPosition(0)) +
         " to " + FormatLength(source.GetSliceZPosition(count - 1)) + " mm";
}

}  // namespace

template <class Value, class Parse>
void LayerSelection::_AddRanges(std::vector<Range<Value>>& ranges, std::string const& list, Parse const& parse) {
  for (std::string const& text : Split(list, ',')) {
    Range<Value> range{text, text.find(':') == std::string::npos, {}, {}};
    if (range.is_single) {
      range.first = range.last = parse(text);
    } else {
      auto const colon = text.find(':');
      if (colon > 0) range.first = parse(text.substr(0, colon));
      if (colon + 1 < text.size()) range.last = parse(text.substr(colon + 1));
      if (range.first && range.last && *range.first > *range.last) {
        throw Trouble("", "'" + text + "' ends before it begins", "write the lower end first");
      }
    }
    ranges.push_back(std::move(range));
  }
}

void LayerSelection::AddLayers(std::string const& list) {
  _AddRanges(m_layers, list, ParseLayer);
}
void LayerSelection::AddHeights(std::string const& list) {
  _AddRanges(m_heights, list, ParseLength);
}

std::vector<unsigned long> LayerSelection::Select(ISource2DSlices const& source, std::string const& path) const {
  std::vector<bool> by_layer(source.GetNumSlices(), m_layers.empty());
  std::vector<bool> by_height(source.GetNumSlices(), m_heights.empty());
  for (auto const& range : m_layers) {
    if (!_MarkLayers(by_layer, range)) {
      throw Trouble(path, "there is no layer " + range.text, DescribeLayers(source));
    }
  }
  for (auto const& range : m_heights) {
    if (!_MarkHeights(by_height, range, source)) {
      throw Trouble(path, "there is no layer at z " + range.text, DescribeLayers(source));
    }
  }

  std::vector<unsigned long> selected;
  for (unsigned long i = 0; i < by_layer.size(); ++i) {
    if (by_layer[i] && by_height[i]) selected.push_back(i);
  }
  if (selected.empty() && !IsEverything()) {
    throw Trouble(path, "no layer is in both --layers and --z", DescribeLayers(source));
  }
  return selected;
}

bool LayerSelection::_MarkLayers(std::vector<bool>& marks, Range<unsigned long> const& range) {
  if (marks.empty()) return false;
  unsigned long const top = marks.size() - 1;
  unsigned long const first = range.first.value_or(0);
  unsigned long const last = std::min(range.last.value_or(kLast), top);
  if (first == kLast) {
    marks[top] = true;
    return true;
  }
  for (unsigned long i = first; i <= last; ++i) marks[i] = true;
  return first <= last;
}

bool LayerSelection::_MarkHeights(std::vector<bool>& marks, Range<long> const& range, ISource2DSlices const& source) {
  if (range.is_single) {
    auto const nearest = FindNearestLayer(source, *range.first);
    if (nearest) marks[*nearest] = true;
    return nearest.has_value();
  }
  bool found = false;
  for (unsigned long i = 0; i < marks.size(); ++i) {
    long const z = source.GetSliceZPosition(i);
    if ((range.first && z < *range.first) || (range.last && z > *range.last)) continue;
    marks[i] = true;
    found = true;
  }
  return found;
}

}  // namespace Tool
