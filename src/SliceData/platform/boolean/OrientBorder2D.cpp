#include <SliceData/platform/boolean/OrientBorder2D.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <tuple>

namespace AU {

namespace {

__extension__ typedef __int128 Int128;

using Point = MMPoint2d<long>;
using Index = std::uint32_t;

/// Up to here the turns of as many triangles as there are indices have a sum that fits 128 bits.
constexpr long kLimit = 1l << 46;

/// The order of the sweep. Of points above each other the lower one comes first, as if the plane leaned a little: a
/// vertical edge is a steep one that rises to the right.
bool IsBefore(Point const& a, Point const& b) {
  return a.x != b.x ? a.x < b.x : a.y < b.y;
}

/// Twice the area of the triangle a, b, c; positive if it is counter-clockwise.
Int128 Turn(Point const& a, Point const& b, Point const& c) {
  return static_cast<Int128>(b.x - a.x) * (c.y - a.y) - static_cast<Int128>(b.y - a.y) * (c.x - a.x);
}

struct Edge {
  Point left;
  Point right;
  Index ring;
  int weight;  ///< 1 if the inside of its ring is above it, -1 if it is below
};

/// Positive if the point is above the edge, 0 if it is on the line through it.
int Side(Edge const& edge, Point const& point) {
  Int128 const turn = Turn(edge.left, edge.right, point);
  return (turn > 0) - (turn < 0);
}

/// Whether two edges cross in the interior of both.
bool Cross(Edge const& a, Edge const& b) {
  if (std::max(a.left.y, a.right.y) <= std::min(b.left.y, b.right.y)) return false;
  if (std::max(b.left.y, b.right.y) <= std::min(a.left.y, a.right.y)) return false;
  return Side(a, b.left) * Side(a, b.right) < 0 && Side(b, a.left) * Side(b, a.right) < 0;
}

/// The edges that the sweep line meets, from the lowest to the highest, with the sum of the weights below a place.
///
/// A treap: a search tree by height, a heap by random priorities, which keep it balanced. Each edge has a slot; slot 0
/// stands for none, and the root is its child.
class EdgeOrder {
 public:
  using Slot = Index;

  Index GetEdge(Slot slot) const { return m_nodes[slot].edge; }
  /// Lets another edge of the same weight take the place of the one there.
  void SetEdge(Slot slot, Index edge) { m_nodes[slot].edge = edge; }

  Slot GetBelow(Slot slot) const { return m_nodes[slot].neighbour[0]; }
  Slot GetAbove(Slot slot) const { return m_nodes[slot].neighbour[1]; }

  /// `is_above(e)` says whether the new edge is above the edge e.
  template <class IsAbove>
  Slot Insert(Index edge, int weight, IsAbove is_above) {
    Slot up = 0;
    std::size_t side = 0;
    for (Slot at = _Root(); at != 0; at = m_nodes[at].child[side]) {
      up = at;
      side = is_above(m_nodes[at].edge);
    }
    Slot const slot = _Take();
    Node& node = m_nodes[slot];
    node.edge = edge;
    node.weight = weight;
    node.sum = 0;
    node.priority = static_cast<Index>(m_random());
    node.up = up;
    node.child = {0, 0};
    node.neighbour[1 - side] = up;
    node.neighbour[side] = up == 0 ? 0 : m_nodes[up].neighbour[side];
    m_nodes[node.neighbour[0]].neighbour[1] = m_nodes[node.neighbour[1]].neighbour[0] = slot;
    m_nodes[up].child[side] = slot;
    _AddToSums(slot, weight);
    while (node.up != 0 && node.priority > m_nodes[node.up].priority) _Lift(slot);
    return slot;
  }

  void Erase(Slot slot) {
    Node& node = m_nodes[slot];
    while (node.child[0] != 0 || node.child[1] != 0) {
      bool const right = m_nodes[node.child[1]].priority > m_nodes[node.child[0]].priority;
      _Lift(node.child[right]);
    }
    _AddToSums(slot, -node.weight);
    _Replace(node.up, slot, 0);
    m_nodes[node.neighbour[0]].neighbour[1] = node.neighbour[1];
    m_nodes[node.neighbour[1]].neighbour[0] = node.neighbour[0];
    m_free.push_back(slot);
  }

  /// The sum of the weights of all edges that a place is above of.
  template <class IsAbove>
  long SumBelow(IsAbove is_above) const {
    long sum = 0;
    for (Slot at = _Root(); at != 0;) {
      Node const& node = m_nodes[at];
      bool const above = is_above(node.edge);
      if (above) sum += node.weight + m_nodes[node.child[0]].sum;
      at = node.child[above];
    }
    return sum;
  }

 private:
  struct Node {
    Index edge = 0;
    Index priority = 0;
    Slot up = 0;
    std::array<Slot, 2> child{};      ///< below, above
    std::array<Slot, 2> neighbour{};  ///< below, above
    int weight = 0;
    long sum = 0;  ///< of the weights of this node and all under it in the tree
  };

  Slot _Root() const { return m_nodes[0].child[0]; }

  Slot _Take() {
    if (m_free.empty()) {
      m_nodes.emplace_back();
      return static_cast<Slot>(m_nodes.size() - 1);
    }
    Slot const slot = m_free.back();
    m_free.pop_back();
    return slot;
  }

  void _Replace(Slot up, Slot old, Slot child) { m_nodes[up].child[m_nodes[up].child[1] == old] = child; }

  void _AddToSums(Slot slot, int weight) {
    for (; slot != 0; slot = m_nodes[slot].up) m_nodes[slot].sum += weight;
  }

  /// Lets a node change places with the one above it in the tree; the order of the edges stays.
  void _Lift(Slot slot) {
    Slot const old_up = m_nodes[slot].up;
    Node& node = m_nodes[slot];
    Node& old = m_nodes[old_up];
    bool const side = old.child[1] == slot;
    Slot const inner = node.child[!side];
    _Replace(old.up, old_up, slot);
    node.up = old.up;
    node.child[!side] = old_up;
    old.up = slot;
    old.child[side] = inner;
    if (inner != 0) m_nodes[inner].up = old_up;
    long const sum = old.sum;
    old.sum += m_nodes[inner].sum - node.sum;
    node.sum = sum;
  }

  std::vector<Node> m_nodes = std::vector<Node>(1);
  std::vector<Slot> m_free;
  std::minstd_rand m_random;
};

/// Finds the nesting of the rings. From left to right, it keeps the order of the edges at the sweep line, and asks for
/// the edges below each ring where the ring begins.
///
/// Edges of the order never cross: when two become neighbours that will, which happens before the crossing is reached,
/// both are taken out and looked at one by one from then on.
class Sweep {
 public:
  explicit Sweep(std::vector<Ring> const& rings) : m_nestings(rings.size()), m_rings(rings.size()) {
    for (std::size_t i = 0; i < rings.size(); ++i) _AddRing(rings[i], static_cast<Index>(i));
  }

  std::vector<RingNesting> Run() && {
    m_slots.resize(m_edges.size());
    std::sort(m_corners.begin(), m_corners.end(), [](Corner const& a, Corner const& b) {
      return a.point == b.point ? a.edges < b.edges : IsBefore(a.point, b.point);
    });
    for (auto corner = m_corners.begin(); corner != m_corners.end();) {
      auto const end =
          std::find_if(corner, m_corners.end(), [&](Corner const& other) { return !(other.point == corner->point); });
      if (end - corner > 1 || !_Continue(*corner)) _Pass(&*corner, &*corner + (end - corner));
      corner = end;
    }
    return std::move(m_nestings);
  }

 private:
  using Slot = EdgeOrder::Slot;

  struct RingData {
    Int128 area = 0;
    bool has_begun = false;
  };

  struct Corner {
    Point point;
    std::array<Index, 2> edges;  ///< that meet there
  };

  void _AddRing(Ring ring, Index index) {
    for (Point const& point : ring) {
      if (std::min(point.x, point.y) <= -kLimit || std::max(point.x, point.y) >= kLimit) {
        throw std::out_of_range(
            "AU::OrientBorder2D: a coordinate is not within ±2^46 internal units; remove its contour or scale the "
            "border down");
      }
    }
    ring.erase(std::unique(ring.begin(), ring.end()), ring.end());
    while (ring.size() > 1 && ring.front() == ring.back()) ring.pop_back();
    if (ring.size() >= std::numeric_limits<Index>::max() - m_edges.size()) {
      throw std::length_error("AU::OrientBorder2D: more than 2^32 points; orient the border in parts");
    }
    Int128 area = 0;
    for (std::size_t i = 2; i < ring.size(); ++i) area += Turn(ring[0], ring[i - 1], ring[i]);
    if (area == 0) return;

    bool const ccw = area > 0;
    m_nestings[index].direction = ccw ? 1 : -1;
    m_rings[index].area = ccw ? area : -area;
    auto const first = static_cast<Index>(m_edges.size());
    Index before = first + static_cast<Index>(ring.size()) - 1;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      Point const& a = ring[i];
      Point const& b = ring[i + 1 < ring.size() ? i + 1 : 0];
      bool const rightward = IsBefore(a, b);
      auto const edge = static_cast<Index>(m_edges.size());
      m_edges.push_back({rightward ? a : b, rightward ? b : a, index, rightward == ccw ? 1 : -1});
      m_corners.push_back({a, {before, edge}});
      before = edge;
    }
  }

  /// Whether edge a lies below edge b where both begin to be met.
  ///
  /// Where edges coincide, what lies below them ends before what lies above them begins, and the ring with the larger
  /// area begins before the other.
  bool _IsBelow(Index index_a, Index index_b) const {
    Edge const& a = m_edges[index_a];
    Edge const& b = m_edges[index_b];
    if (IsBefore(a.left, b.left)) {
      if (int const side = Side(a, b.left)) return side > 0;
    } else if (IsBefore(b.left, a.left)) {
      if (int const side = Side(b, a.left)) return side < 0;
    }
    if (int const side = Side(a, b.right)) return side > 0;

    if (a.weight != b.weight) return a.weight < b.weight;
    if (a.ring == b.ring) return index_a < index_b;
    Int128 const area_a = m_rings[a.ring].area;
    Int128 const area_b = m_rings[b.ring].area;
    return area_a != area_b ? area_a > area_b : a.ring < b.ring;
  }

  /// Where one edge goes on as another, and nothing else happens, that takes the place of the first. False if this is
  /// not the case.
  bool _Continue(Corner const& corner) {
    auto [ending, starting] = corner.edges;
    if (m_edges[ending].left == corner.point) std::swap(ending, starting);
    if (m_edges[ending].left == corner.point || m_edges[starting].right == corner.point) return false;
    Slot const slot = m_slots[ending];
    if (slot == 0) return false;
    Slot const below = m_order.GetBelow(slot);
    Slot const above = m_order.GetAbove(slot);
    if (below != 0 && !_IsBelow(m_order.GetEdge(below), starting)) return false;
    if (above != 0 && !_IsBelow(starting, m_order.GetEdge(above))) return false;
    m_order.SetEdge(slot, starting);
    m_slots[starting] = slot;
    m_slots[ending] = 0;
    _UntangleAround(slot);
    return true;
  }

  /// Passes all corners at one place.
  void _Pass(Corner const* begin, Corner const* end) {
    Point const place = begin->point;
    m_starting.clear();
    bool ring_begins = false;
    for (Corner const* corner = begin; corner != end; ++corner) {
      for (Index const edge : corner->edges) {
        if (m_edges[edge].left == place) {
          m_starting.push_back(edge);
          ring_begins |= !m_rings[m_edges[edge].ring].has_begun;
        } else if (Slot const slot = m_slots[edge]) {
          _TakeOut(slot);
        }
      }
    }
    _EnterStarting();
    if (ring_begins) _BeginRings(place);
  }

  /// Enters the edges that start, but for those that their ring runs along in both directions: they bound nothing.
  void _EnterStarting() {
    auto const key = [this](Index index) {
      Edge const& edge = m_edges[index];
      return std::make_tuple(edge.ring, edge.right.x, edge.right.y, edge.weight, index);
    };
    std::sort(m_starting.begin(), m_starting.end(), [&](Index a, Index b) { return key(a) < key(b); });
    m_entering.clear();
    for (Index const index : m_starting) {
      Edge const& edge = m_edges[index];
      if (!m_entering.empty()) {
        Edge const& last = m_edges[m_entering.back()];
        if (last.ring == edge.ring && last.right == edge.right && last.weight != edge.weight) {
          m_entering.pop_back();
          continue;
        }
      }
      m_entering.push_back(index);
    }
    for (Index const edge : m_entering) _Enter(edge);
  }

  void _BeginRings(Point const& place) {
    m_loose.erase(std::remove_if(m_loose.begin(), m_loose.end(),
                                 [&](Index edge) { return !IsBefore(place, m_edges[edge].right); }),
                  m_loose.end());
    std::sort(m_starting.begin(), m_starting.end(), [this](Index a, Index b) { return _IsBelow(a, b); });
    for (Index const lowest : m_starting) {
      Index const ring = m_edges[lowest].ring;
      if (m_rings[ring].has_begun) continue;
      m_rings[ring].has_begun = true;
      long depth = m_order.SumBelow([&](Index edge) { return _IsBelow(edge, lowest); });
      for (Index const edge : m_loose) {
        if (_IsBelow(edge, lowest)) depth += m_edges[edge].weight;
      }
      m_nestings[ring].depth = depth;
    }
  }

  void _Enter(Index edge) {
    m_slots[edge] = m_order.Insert(edge, m_edges[edge].weight, [&](Index other) { return _IsBelow(other, edge); });
    _UntangleAround(m_slots[edge]);
  }

  void _TakeOut(Slot slot) {
    Slot const below = m_order.GetBelow(slot);
    Slot const above = m_order.GetAbove(slot);
    _Remove(slot);
    _Untangle(below, above);
  }

  void _UntangleAround(Slot slot) {
    if (_Cross(m_order.GetBelow(slot), slot)) {
      _Untangle(m_order.GetBelow(slot), slot);
    } else {
      _Untangle(slot, m_order.GetAbove(slot));
    }
  }

  /// Takes two neighbours out if they will cross, and those that become neighbours then.
  void _Untangle(Slot below, Slot above) {
    while (_Cross(below, above)) {
      Slot const next_below = m_order.GetBelow(below);
      Slot const next_above = m_order.GetAbove(above);
      m_loose.push_back(_Remove(below));
      m_loose.push_back(_Remove(above));
      below = next_below;
      above = next_above;
    }
  }

  Index _Remove(Slot slot) {
    Index const edge = m_order.GetEdge(slot);
    m_slots[edge] = 0;
    m_order.Erase(slot);
    return edge;
  }

  bool _Cross(Slot below, Slot above) const {
    return below != 0 && above != 0 && Cross(m_edges[m_order.GetEdge(below)], m_edges[m_order.GetEdge(above)]);
  }

  std::vector<RingNesting> m_nestings;
  std::vector<RingData> m_rings;
  std::vector<Edge> m_edges;
  std::vector<Corner> m_corners;
  std::vector<Slot> m_slots;  ///< of each edge; 0 while it is not in the order
  EdgeOrder m_order;
  std::vector<Index> m_loose;  ///< edges to be looked at one by one
  std::vector<Index> m_starting;
  std::vector<Index> m_entering;
};

}  // namespace

std::vector<RingNesting> NestRings(std::vector<Ring> const& rings) {
  return Sweep(rings).Run();
}

}  // namespace AU
