#pragma once

#include <SliceData/slice_stack/ISource2DSlices.h>

#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// Which layers of a source a command works on. Everything is selected until something is added; a layer is then
/// selected if it is in the layers, where there are any, and in the heights, where there are any.
class LayerSelection {
 public:
  /// Adds layers by number: a comma-separated list of N, A:B, A: and :B, counted from zero, both ends included; "last"
  /// is a number too. Throws `Trouble` if the text is no such list.
  void AddLayers(std::string const& list);

  /// Adds layers by height: a comma-separated list of Z, A:B, A: and :B, both ends included; a single Z is the layer
  /// nearest to it. Throws `Trouble` if the text is no such list.
  void AddHeights(std::string const& list);

  bool IsEverything() const { return m_layers.empty() && m_heights.empty(); }

  /// The indices of the selected layers, ascending.
  ///
  /// A range may reach beyond the source, but what selects no layer at all is a `Trouble` that says what there is.
  /// \param path  the file of the source, for messages
  std::vector<unsigned long> Select(ISource2DSlices const& source, std::string const& path) const;

 private:
  /// One piece of a list; an end that is open is empty.
  template <class Value>
  struct Range {
    std::string text;
    bool is_single;
    std::optional<Value> first;
    std::optional<Value> last;
  };

  template <class Value, class Parse>
  static void _AddRanges(std::vector<Range<Value>>& ranges, std::string const& list, Parse const& parse);

  static bool _MarkLayers(std::vector<bool>& marks, Range<unsigned long> const& range);
  static bool _MarkHeights(std::vector<bool>& marks, Range<long> const& range, ISource2DSlices const& source);

  std::vector<Range<unsigned long>> m_layers;
  std::vector<Range<long>> m_heights;  ///< internal units
};

}  // namespace Tool
