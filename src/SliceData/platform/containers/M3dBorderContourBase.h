#pragma once

#include <SliceData/platform/containers/MCyclicMemoryPool.h>
#include <SliceData/platform/containers/MIntrusiveList.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

/// A contour: a ring of points from a pool that it shares with other contours.
///
/// The ring is always closed; whether the contour is, says a flag. Points are appended just before the first one, which
/// makes them the last in ring order. `Contour` is the class that derives from this one.
template <class Coordinate, class Info, class Point, class Contour>
class M3dBorderContourBase {
  /// Walks the ring once. The count ends the walk, so that the ring may be entered anywhere.
  template <class Value>
  class PointIterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Point;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    PointIterator() = default;
    PointIterator(Value* point, unsigned long remaining) : m_point(point), m_remaining(remaining) {}
    Value& operator*() const { return *m_point; }
    Value* operator->() const { return m_point; }
    PointIterator& operator++() {
      m_point = m_point->next;
      --m_remaining;
      return *this;
    }
    PointIterator operator++(int) {
      PointIterator const before = *this;
      ++*this;
      return before;
    }
    bool operator==(PointIterator const& other) const { return m_remaining == other.m_remaining; }
    bool operator!=(PointIterator const& other) const { return m_remaining != other.m_remaining; }

   private:
    Value* m_point = nullptr;
    unsigned long m_remaining = 0;
  };

  template <class Value>
  class PointRange {
   public:
    PointRange(Value* first, unsigned long count) : m_begin(first, count) {}
    PointIterator<Value> begin() const { return m_begin; }
    PointIterator<Value> end() const { return {}; }

   private:
    PointIterator<Value> m_begin;
  };

 public:
  using Pool = MCyclicMemoryPool<Point>;

  /// With a null pool the contour makes one of its own.
  explicit M3dBorderContourBase(boost::shared_ptr<Pool> pool) : m_pool(std::move(pool)) {
    if (m_pool == nullptr) m_pool = boost::make_shared<Pool>();
  }
  virtual ~M3dBorderContourBase() { _FreePoints(); }
  M3dBorderContourBase(M3dBorderContourBase const&) = delete;
  M3dBorderContourBase& operator=(M3dBorderContourBase const&) = delete;

  /// Frees all points; the flags and links stay.
  virtual void MakeEmpty() { _FreePoints(); }

  /// Null for an empty contour.
  Point* GetFirstPoint() { return m_first_point; }
  Point const* GetFirstPoint() const { return m_first_point; }
  /// Lets the ring begin at `point`, which is one of its points.
  void SetFirstPoint(Point* point) { m_first_point = point; }
  unsigned long GetNumPoints() const { return m_num_points; }

  PointRange<Point> GetPoints() { return {m_first_point, m_num_points}; }
  PointRange<Point const> GetPoints() const { return {m_first_point, m_num_points}; }

  /// Appends a point in internal units. Throws `std::bad_alloc` without memory; the contour is unchanged then.
  Point& AddPoint(Coordinate x, Coordinate y, Coordinate z = 0, Info info = Info()) {
    Point* const point = m_pool->Allocate();
    point->x = x;
    point->y = y;
    point->z = z;
    point->info = info;
    if (m_first_point == nullptr) {
      m_first_point = point->next = point->previous = point;
    } else {
      Point* const last = m_first_point->previous;
      point->next = m_first_point;
      point->previous = last;
      last->next = m_first_point->previous = point;
    }
    ++m_num_points;
    return *point;
  }

  /// Removes and frees one of this contour's points. If it was the first, the next one becomes the first.
  void RemovePoint(Point* point) {
    assert(m_num_points != 0);
    if (m_num_points == 1) {
      m_first_point = nullptr;
    } else {
      point->previous->next = point->next;
      point->next->previous = point->previous;
      if (m_first_point == point) m_first_point = point->next;
    }
    --m_num_points;
    m_pool->Free(point);
  }

  /// Turns the direction of the ring. A closed contour keeps its first point; an open one begins at its old last point.
  void ReverseDirection() {
    if (m_first_point == nullptr) return;
    Point* const old_last = m_first_point->previous;
    Point* point = m_first_point;
    do {
      std::swap(point->next, point->previous);
      point = point->previous;
    } while (point != m_first_point);
    if (!m_is_closed) m_first_point = old_last;
  }

  bool GetIsClosed() const { return m_is_closed; }
  void SetIsClosed(bool closed) { m_is_closed = closed; }
  bool GetIsOuter() const { return m_is_outer; }
  void SetIsOuter(bool outer) { m_is_outer = outer; }

  // Two bytes and a word for the host's use: they start at 0 and are copied along.
  unsigned char GetUserByte1() const { return m_user_byte_1; }
  void SetUserByte1(unsigned char value) { m_user_byte_1 = value; }
  unsigned char GetUserByte2() const { return m_user_byte_2; }
  void SetUserByte2(unsigned char value) { m_user_byte_2 = value; }
  std::uint64_t GetUserWord() const { return m_user_word; }
  void SetUserWord(std::uint64_t value) { m_user_word = value; }

  Contour* GetNext() { return m_next; }
  Contour const* GetNext() const { return m_next; }
  Contour* GetPrevious() { return m_previous; }
  Contour const* GetPrevious() const { return m_previous; }

  boost::shared_ptr<Pool> const& GetPool() const { return m_pool; }

 protected:
  /// The part of an assignment that is the base's: the points, drawn from this contour's own pool, and the flags.
  void _CopyContentFrom(M3dBorderContourBase const& source) {
    MakeEmpty();
    for (Point const& point : source.GetPoints()) AddPoint(point.x, point.y, point.z, point.info);
    m_is_closed = source.m_is_closed;
    m_is_outer = source.m_is_outer;
    m_user_byte_1 = source.m_user_byte_1;
    m_user_byte_2 = source.m_user_byte_2;
    m_user_word = source.m_user_word;
  }

 private:
  friend class MIntrusiveList<Contour>;

  void _FreePoints() noexcept {
    if (m_first_point == nullptr) return;
    if (m_pool->GetNumLive() == m_num_points) {
      m_pool->ReleaseMemory(false);  // freeing them one by one would end here too
    } else {
      Point* point = m_first_point;
      for (unsigned long remaining = m_num_points; remaining != 0; --remaining) {
        Point* const next = point->next;
        m_pool->Free(point);
        point = next;
      }
    }
    m_first_point = nullptr;
    m_num_points = 0;
  }

  Point* m_first_point = nullptr;
  unsigned long m_num_points = 0;
  bool m_is_closed = true;
  bool m_is_outer = true;
  unsigned char m_user_byte_1 = 0;
  unsigned char m_user_byte_2 = 0;
  std::uint64_t m_user_word = 0;
  Contour* m_next = nullptr;
  Contour* m_previous = nullptr;
  boost::shared_ptr<Pool> m_pool;
};
