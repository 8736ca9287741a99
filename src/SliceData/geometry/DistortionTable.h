#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/math/MMPoint2d.h>

#include <cstddef>
#include <sstream>
#include <utility>
#include <vector>

namespace M2DSliceUtilities {

template <class T>
class DistortionTable;

/// Maps positions to replacement positions by samples on a rectilinear grid, with bilinear interpolation between them.
///
/// A grid line is a coordinate that some sample was added with; coordinates are compared exactly. A sample is the
/// position itself that stands in for the grid point, not an offset from it. The grid may be sparse: not every crossing
/// of two grid lines needs a sample. Positions and samples are in internal units.
///
/// The mapping is constant outwards beyond the grid: a position there gets what the nearest edge of the grid has.
///
/// Look-ups and exports of one table may run at the same time; whatever changes a table needs it alone.
template <>
class VELSDK_EXPORT DistortionTable<double> {
 public:
  /// Adds a sample. The first sample of a grid point stays, a later one is dropped. A NaN lies on no grid, so a sample
  /// with x or y of NaN is dropped as well.
  ///
  /// \param x, y            the grid point
  /// \param valueX, valueY  the position that replaces it
  void Add(double x, double y, double valueX, double valueY);
  void Add(MMPoint2d<double> position, MMPoint2d<double> value);

  void Clear();

  /// Replaces the table by what the text holds, in n log n for n lines.
  ///
  /// A line is one sample: the four cells x, y, sample x and sample y, separated by ",". A last line without line end
  /// counts, a blank line does not pass. A cell is read as a stream in the classic locale reads a number: leading
  /// blanks and what follows the number are skipped, a cell that does not begin with a number ("", "inf", "nan") counts
  /// as 0.
  ///
  /// \throw std::runtime_error  for a line that has not exactly four cells; the text is that line, and the table is
  ///                            empty then. Mend the line and import again.
  void ImportFromCsv(std::stringstream& csv);

  /// Appends the samples to the text in the format of `ImportFromCsv`, ordered by x and then by y. Numbers have six
  /// decimals; more are lost. Grid lines that are equal to six decimals are one line after an import.
  ///
  /// \throw std::out_of_range  if a crossing of two grid lines has no sample; the rows before it have been written. Add
  ///                           the samples that are missing.
  void ExportToCsv(std::stringstream& csv) const;

  /// The replacement of a position. An empty table gives the position itself; a NaN counts as before the grid.
  ///
  /// \throw std::out_of_range  if one of the four corners around the position has no sample, also one that would not
  ///                           count. On a grid line, and beyond the grid, corners coincide.
  MMPoint2d<double> Lookup(MMPoint2d<double> position) const;

 private:
  /// An ordered map. The entries stand in blocks, so that a search runs over arrays and yet a new entry moves few
  /// others.
  template <class Key, class Value>
  class BlockMap {
   public:
    struct Entry {
      Key key;
      Value value;
    };

    std::size_t GetSize() const { return m_size; }
    /// The value of a key. If there is none, `value` is inserted first.
    Value Add(Key key, Value value);
    /// The value of a key; null if there is none. `place` is the place in the order where it may well be.
    Value const* Find(Key key, std::size_t place) const;
    /// The entries on both sides of a key: one and the same on an entry and beyond all entries. The map has entries.
    std::pair<Entry const*, Entry const*> Bracket(Key key) const;
    template <class Function>
    void ForEach(Function const& function) const;

   private:
    using Block = std::vector<Entry>;
    static constexpr std::size_t kBlockSize = 1024;

    /// The block that a key belongs to: the last one for keys above all others. The map has entries.
    std::size_t _FindBlock(Key key) const;
    static typename Block::const_iterator _FindIn(Block const& block, Key key);
    void _Split(std::size_t number);

    std::vector<Block> m_blocks;  ///< none is empty
    std::size_t m_size = 0;
  };

  /// Grid lines with the number of lines when each came. These indices name samples and say nothing of the order.
  using Axis = BlockMap<double, unsigned long>;

  /// The look-up in a table that has samples. The coordinates go one by one: a pair is passed through memory, and the
  /// wait for it is a fifth of the time.
  MMPoint2d<double> _Interpolate(double x, double y) const;
  MMPoint2d<double> const& _GetSample(unsigned long x_index, unsigned long y_index) const;

  Axis m_x_indices;
  Axis m_y_indices;
  std::vector<BlockMap<unsigned long, MMPoint2d<double>>> m_samples;  ///< by x index, then by y index
};

}  // namespace M2DSliceUtilities
