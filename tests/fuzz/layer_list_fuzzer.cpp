// Selects layers by lists: a line for --layers, and one for --z if there are two. The first byte tells how many layers
// there are, the second how far apart. What is selected is what the lists say, piece by piece and layer by layer.

#include <SliceData/slice_stack/M2DSliceStack.h>

#include <cmath>
#include <cstdint>
#include <functional>

#include "../../tools/slicedata/LayerSelection.h"
#include "../../tools/slicedata/Length.h"
#include "ValueParsers.h"

using namespace Tool;
using fuzz::Expect;

namespace {

using Layers = std::vector<unsigned long>;

/// True if a piece says that a value is in it. Ends that are open are at infinity.
bool IsWithin(std::string const& piece, double value, std::function<double(std::string const&)> const& parse) {
  auto const colon = std::min(piece.find(':'), piece.size());
  std::string const first = piece.substr(0, colon);
  std::string const last = piece.substr(std::min(colon + 1, piece.size()));
  bool const is_single = colon == piece.size();
  return (first.empty() || value >= parse(first)) &&
         (is_single ? value == parse(first) : last.empty() || value <= parse(last));
}

/// The layers that every list has; nothing if a piece has none.
std::optional<Layers> Expected(M2DSliceStack const& stack, std::vector<std::string> const& lists) {
  auto const height_of = [&](unsigned long i) { return static_cast<double>(stack.GetSliceZPosition(i)); };
  auto const parse_layer = [&](std::string const& text) {
    return text == "last" ? static_cast<double>(stack.GetSize()) - 1 : std::strtod(text.c_str(), nullptr);
  };
  auto const parse_height = [&](std::string const& text) { return static_cast<double>(ParseLength(text)); };
  Layers layers;
  std::vector<std::vector<bool>> used;
  for (std::string const& list : lists) used.emplace_back(Split(list, ',').size());
  for (unsigned long i = 0; i < stack.GetSize(); ++i) {
    bool is_in_all = true;
    for (std::size_t list = 0; list < lists.size(); ++list) {
      bool is_in = false;
      auto const pieces = Split(lists[list], ',');
      for (std::size_t piece = 0; piece < pieces.size(); ++piece) {
        bool has = false;
        if (list == 0) {
          has = IsWithin(pieces[piece], static_cast<double>(i), parse_layer);
        } else if (pieces[piece].find(':') != std::string::npos) {
          has = IsWithin(pieces[piece], height_of(i), parse_height);
        } else {
          // The nearest one, no further away than a layer is thick where it lies outside.
          double const height = parse_height(pieces[piece]);
          double const distance = std::fabs(height - height_of(i));
          bool const is_outside = height < height_of(0) || height > height_of(stack.GetSize() - 1);
          has = !is_outside || distance <= static_cast<double>(stack.GetSliceThickness());
          for (unsigned long other = 0; other < stack.GetSize(); ++other) {
            double const other_distance = std::fabs(height - height_of(other));
            has &= other_distance > distance || (other_distance == distance && other >= i);
          }
        }
        if (has) is_in = used[list][piece] = true;
      }
      is_in_all &= is_in;
    }
    if (is_in_all) layers.push_back(i);
  }
  for (auto const& pieces : used) {
    if (std::find(pieces.begin(), pieces.end(), false) != pieces.end()) return std::nullopt;
  }
  return layers.empty() ? std::nullopt : std::optional(layers);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size < 2) return 0;
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  for (long i = 0; i < data[0] % 16; ++i) stack.AddSlicePosition(100 + i * (data[1] + 1));
  stack.SetSliceThickness(data[1]);
  auto const lists = Split(fuzz::Argument(data + 2, size - 2), '\n');
  if (lists.size() > 2) return 0;

  LayerSelection selection;
  bool const is_list = fuzz::Read(lists[0],
                                  [&](std::string const& list) {
                                    selection.AddLayers(list);
                                    return 0;
                                  }) &&
                       (lists.size() == 1 || fuzz::Read(lists[1], [&](std::string const& list) {
                          selection.AddHeights(list);
                          return 0;
                        }));
  if (!is_list) return 0;
  auto const selected = fuzz::Read(lists[0], [&](std::string const&) { return selection.Select(stack, "part.cli"); });
  Expect(selected == Expected(stack, lists));
  return 0;
}
