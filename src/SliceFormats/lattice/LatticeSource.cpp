#include <SliceData/slice_model/M2DSlice.h>
#include <SliceFormats/lattice/LatticeSource.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace SliceFormats {

namespace {

constexpr double kUnitsPerMm = 10000.0;
constexpr double kMaxSizeMm = 100000.0;  ///< the coordinates then fit into 32 bits
constexpr double kNodesPerCell = 24.0;
constexpr double kMinNodes = 24.0;
constexpr double kMaxNodes = 20000.0;
constexpr long kMinSpacing = 4;  ///< internal units between nodes, so that there is room for crossings in between
constexpr double kHalfWall =
    0.38;  ///< the solid is where the gyroid function is smaller than this: a quarter of the volume

constexpr double kTwoPi = 6.283185307179586;

[[noreturn]] void Refuse(std::string const& what) {
  throw std::invalid_argument("lattice: " + what);
}

long ToUnits(double mm, char const* name) {
  if (!(mm > 0)) Refuse(std::string(name) + " must be positive; give it in millimetres");
  if (mm > kMaxSizeMm) Refuse(std::string(name) + " is above 100 m; give it in millimetres");
  return std::lround(mm * kUnitsPerMm);
}

/// The number of a vertex.
using Vertex = std::uint32_t;
constexpr Vertex kNone = std::numeric_limits<Vertex>::max();

/// The outline of a solid on a square grid, row by row.
///
/// Every edge between a solid and an empty node carries one vertex. Each square of the grid links the vertices on its
/// edges, such that the solid is on the left; following the links then gives closed contours. The vertices lie strictly
/// between their nodes, so that no two of the links can meet. (Marching squares; W. E. Lorensen and H. E. Cline, 1987,
/// in the plane.)
class Outline {
 public:
  void Clear() { m_nodes.clear(); }

  Vertex AddVertex(std::int32_t x, std::int32_t y) {
    if (m_nodes.size() >= kNone) Refuse("one layer has too many points; use a larger cell or a smaller size");
    m_nodes.push_back({x, y, kNone});
    return static_cast<Vertex>(m_nodes.size() - 1);
  }

  void Link(Vertex from, Vertex to) { m_nodes[from].next = to; }

  /// Appends the contours in the order of their lowest vertices. The links are used up.
  void MoveContoursTo(M2DSliceContourLayer& border, M2DSliceVectorTypeInfo const& record) {
    for (Node& first : m_nodes) {
      if (first.next == kNone) continue;
      M2DSliceContour& contour = border.AddContour();
      contour.SetVectorTypeInfo(record);
      double twice_area = 0;
      for (Node* node = &first; node->next != kNone;) {
        Node& next = m_nodes[std::exchange(node->next, kNone)];
        // Next to a face of the cube several vertices lie at one place.
        if (node->x != next.x || node->y != next.y) {
          contour.AddPoint(node->x, node->y);
          twice_area += static_cast<double>(node->x - first.x) * (next.y - first.y) -
                        static_cast<double>(next.x - first.x) * (node->y - first.y);
        }
        node = &next;
      }
      contour.SetIsOuter(twice_area > 0);
    }
  }

 private:
  struct Node {
    std::int32_t x;
    std::int32_t y;
    Vertex next;
  };

  std::vector<Node> m_nodes;
};

}  // namespace

/// The grid of a layer, and the gyroid on it.
///
/// A further line of empty nodes surrounds the cube at no distance from its faces, so that contours close on the faces.
class LatticeSource::Grid {
 public:
  explicit Grid(LatticeOptions const& options)
      : m_size(ToUnits(options.size_mm, "the size")),
        m_thickness(ToUnits(options.thickness_mm, "the thickness of a layer")) {
    ToUnits(options.cell_mm, "the cell");
    if (m_thickness == 0) Refuse("the thickness of a layer is below 0.0001 mm; use thicker layers");
    if (m_thickness > m_size) Refuse("the layers are thicker than the cube; use thinner layers or a larger size");
    double const nodes = std::max(kMinNodes, std::ceil(options.size_mm / options.cell_mm * kNodesPerCell));
    if (nodes + 1 > kMaxNodes) Refuse("too many cells for one layer; use a larger cell or a smaller size");
    m_num_nodes = static_cast<std::size_t>(nodes) + 1;
    if (m_size / static_cast<long>(nodes) < kMinSpacing)
      Refuse("the cells are too small; use a larger cell or a larger size");

    m_radians_per_unit = kTwoPi / (options.cell_mm * kUnitsPerMm);
    m_positions.resize(m_num_nodes + 2);
    m_sin.resize(m_num_nodes + 2);
    m_cos.resize(m_num_nodes + 2);
    for (std::size_t i = 0; i < m_num_nodes; ++i) {
      double const position = std::round(static_cast<double>(m_size) * static_cast<double>(i) / nodes);
      m_positions[i + 1] = static_cast<std::int32_t>(position);
      m_sin[i + 1] = std::sin(position * m_radians_per_unit);
      m_cos[i + 1] = std::cos(position * m_radians_per_unit);
    }
    m_positions.back() = m_positions[m_num_nodes];
    m_record.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 0);
  }

  long GetSize() const { return m_size; }
  long GetThickness() const { return m_thickness; }
  unsigned long GetNumSlices() const { return static_cast<unsigned long>(m_size / m_thickness); }
  long GetZ(unsigned long index) const { return m_thickness * (static_cast<long>(index) + 1); }

  void MakeLayer(long z, M2DSliceContourLayer& border) {
    m_outline.Clear();
    std::size_t const num_columns = m_positions.size();
    m_sin_z = std::sin(static_cast<double>(z) * m_radians_per_unit);
    m_cos_z = std::cos(static_cast<double>(z) * m_radians_per_unit);
    m_below.Clear(num_columns);
    m_above.Clear(num_columns);
    for (std::size_t row = 1; row < num_columns; ++row) {
      if (row + 1 < num_columns) {
        _Evaluate(row, m_above);
      } else {
        m_above.Clear(num_columns);
      }
      _LinkSquares(row);
      std::swap(m_below, m_above);
    }
    m_outline.MoveContoursTo(border, m_record);
  }

 private:
  /// Values of the gyroid function on one line of nodes, and the vertices between these nodes.
  struct Row {
    std::vector<double> values;
    std::vector<unsigned char> solid;
    std::vector<Vertex> vertices;  ///< i: between nodes i and i + 1; only where their states differ

    void Clear(std::size_t num_columns) {
      values.assign(num_columns, 0.0);
      solid.assign(num_columns, 0);
      vertices.resize(num_columns);
    }
  };

  void _Evaluate(std::size_t row_index, Row& row) {
    double const cos_y = m_cos[row_index];
    double const term_yz = m_sin[row_index] * m_cos_z;
    double* const values = row.values.data();
    unsigned char* const solid = row.solid.data();
    for (std::size_t i = 1; i <= m_num_nodes; ++i) {
      double const value = m_sin[i] * cos_y + term_yz + m_sin_z * m_cos[i];
      values[i] = value;
      solid[i] = static_cast<unsigned char>(std::abs(value) < kHalfWall);
    }
    for (std::size_t i = 0; i <= m_num_nodes; ++i) {
      if (solid[i] != solid[i + 1]) {
        row.vertices[i] =
            m_outline.AddVertex(_Cross(i, i + 1, solid[i] != 0, values[i], values[i + 1]), m_positions[row_index]);
      }
    }
  }

  /// Where the border of the solid lies between two neighbouring nodes of different states.
  std::int32_t _Cross(std::size_t a, std::size_t b, bool a_is_solid, double value_a, double value_b) const {
    std::int32_t const from = m_positions[a];
    std::int32_t const to = m_positions[b];
    if (from == to) return from;
    // The function passes one of the two limits, the one on the side of the empty node.
    double const limit = std::copysign(kHalfWall, a_is_solid ? value_b : value_a);
    double const fraction = (limit - value_a) / (value_b - value_a);
    auto const position = from + static_cast<std::int32_t>(fraction * (to - from) + 0.5);
    return std::clamp(position, from + 1, to - 1);
  }

  /// Links the vertices of the squares between the rows `m_below` and `m_above`; the latter has the given index.
  void _LinkSquares(std::size_t row_index) {
    Vertex left = kNone;
    for (std::size_t i = 0; i + 1 < m_positions.size(); ++i) {
      unsigned const state = m_below.solid[i] | static_cast<unsigned>(m_below.solid[i + 1] << 1) |
                             static_cast<unsigned>(m_above.solid[i + 1] << 2) |
                             static_cast<unsigned>(m_above.solid[i] << 3);
      if (state == 0 || state == 15) continue;
      Vertex const bottom = m_below.vertices[i];
      Vertex const top = m_above.vertices[i];
      Vertex right = kNone;
      if (m_below.solid[i + 1] != m_above.solid[i + 1]) {
        std::int32_t const y =
            _Cross(row_index - 1, row_index, m_below.solid[i + 1] != 0, m_below.values[i + 1], m_above.values[i + 1]);
        right = m_outline.AddVertex(m_positions[i + 1], y);
      }
      switch (state) {
        case 1:
          m_outline.Link(bottom, left);
          break;
        case 2:
          m_outline.Link(right, bottom);
          break;
        case 3:
          m_outline.Link(right, left);
          break;
        case 4:
          m_outline.Link(top, right);
          break;
        case 6:
          m_outline.Link(top, bottom);
          break;
        case 7:
          m_outline.Link(top, left);
          break;
        case 8:
          m_outline.Link(left, top);
          break;
        case 9:
          m_outline.Link(bottom, top);
          break;
        case 11:
          m_outline.Link(right, top);
          break;
        case 12:
          m_outline.Link(left, right);
          break;
        case 13:
          m_outline.Link(bottom, right);
          break;
        case 14:
          m_outline.Link(left, bottom);
          break;
        default: {  // 5 and 10: two opposite corners; the middle of the square decides whether they hang together
          double const middle =
              (m_below.values[i] + m_below.values[i + 1] + m_above.values[i] + m_above.values[i + 1]) / 4;
          bool const joined = std::abs(middle) < kHalfWall;
          if (state == 5) {
            m_outline.Link(bottom, joined ? right : left);
            m_outline.Link(top, joined ? left : right);
          } else {
            m_outline.Link(right, joined ? top : bottom);
            m_outline.Link(left, joined ? bottom : top);
          }
        }
      }
      left = right;
    }
  }

  long m_size;
  long m_thickness;
  std::size_t m_num_nodes = 0;  ///< of the cube; the surrounding line of nodes has the indices 0 and `m_num_nodes + 1`
  double m_radians_per_unit = 0;
  std::vector<std::int32_t> m_positions;
  std::vector<double> m_sin;
  std::vector<double> m_cos;
  double m_sin_z = 0;
  double m_cos_z = 0;
  M2DSliceVectorTypeInfo m_record{e2DSliceVectorType::Border};
  Row m_below;
  Row m_above;
  Outline m_outline;
};

LatticeSource::LatticeSource(LatticeOptions const& options) : m_grid(std::make_unique<Grid>(options)) {}

LatticeSource::~LatticeSource() = default;

long LatticeSource::_OnGetSliceThickness() const {
  return m_grid->GetThickness();
}
PersistentProperties const& LatticeSource::_OnGetProperties() const {
  return m_properties;
}

M2DSliceXYArea LatticeSource::_OnGetXYArea() const {
  M2DSliceXYArea area;
  area.Extend(0, 0);
  area.Extend(m_grid->GetSize(), m_grid->GetSize());
  return area;
}

unsigned long LatticeSource::_OnGetNumSlices() const {
  return m_grid->GetNumSlices();
}

M2DSliceZArea LatticeSource::_OnGetSliceZArea(unsigned long index) const {
  return M2DSliceZArea(m_grid->GetZ(index));
}

void LatticeSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  M2DSliceContourLayer border;
  m_grid->MakeLayer(m_grid->GetZ(index), border);
  M2DSlice built(_OnGetSliceZArea(index));
  built.CopyBorderFrom(border, true);
  slice.CopyFrom(built, true);
}

}  // namespace SliceFormats
