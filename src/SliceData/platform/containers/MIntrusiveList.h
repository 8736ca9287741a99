#pragma once

#include <cassert>
#include <cstddef>
#include <iterator>
#include <memory>

/// List of elements that carry their own links `m_next` and `m_previous`. The list owns its elements.
///
/// `Element` befriends this class and has a public destructor, virtual where elements may be of a derived class.
template <class Element>
class MIntrusiveList {
  template <class Value>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Element;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() = default;
    explicit Iterator(Value* element) : m_element(element) {}
    Value& operator*() const { return *m_element; }
    Value* operator->() const { return m_element; }
    Iterator& operator++() {
      m_element = m_element->m_next;
      return *this;
    }
    Iterator operator++(int) {
      Iterator const before = *this;
      ++*this;
      return before;
    }
    bool operator==(Iterator const& other) const { return m_element == other.m_element; }
    bool operator!=(Iterator const& other) const { return m_element != other.m_element; }

   private:
    Value* m_element = nullptr;
  };

 public:
  using iterator = Iterator<Element>;
  using const_iterator = Iterator<Element const>;

  MIntrusiveList() = default;
  ~MIntrusiveList() { Clear(); }
  MIntrusiveList(MIntrusiveList const&) = delete;
  MIntrusiveList& operator=(MIntrusiveList const&) = delete;

  Element* GetFirst() { return m_first; }
  Element const* GetFirst() const { return m_first; }
  Element* GetLast() { return m_last; }
  Element const* GetLast() const { return m_last; }
  unsigned long GetCount() const { return m_count; }
  bool IsEmpty() const { return m_count == 0; }

  iterator begin() { return iterator(m_first); }
  iterator end() { return iterator(); }
  const_iterator begin() const { return const_iterator(m_first); }
  const_iterator end() const { return const_iterator(); }

  /// Links the element at the tail and takes ownership of it.
  Element& Append(std::unique_ptr<Element> element) noexcept {
    assert(element != nullptr && element->m_next == nullptr && element->m_previous == nullptr);
    Element* const added = element.release();
    added->m_previous = m_last;
    (m_last != nullptr ? m_last->m_next : m_first) = added;
    m_last = added;
    ++m_count;
    return *added;
  }

  /// Links the element directly behind one of this list and takes ownership of it.
  Element& InsertAfter(Element* position, std::unique_ptr<Element> element) noexcept {
    assert(position != nullptr && m_count != 0);
    assert(element != nullptr && element->m_next == nullptr && element->m_previous == nullptr);
    Element* const added = element.release();
    added->m_previous = position;
    added->m_next = position->m_next;
    (added->m_next != nullptr ? added->m_next->m_previous : m_last) = added;
    position->m_next = added;
    ++m_count;
    return *added;
  }

  /// Takes an element of this list out and gives it back to the caller.
  std::unique_ptr<Element> Unlink(Element* element) noexcept {
    assert(element != nullptr && m_count != 0);
    (element->m_previous != nullptr ? element->m_previous->m_next : m_first) = element->m_next;
    (element->m_next != nullptr ? element->m_next->m_previous : m_last) = element->m_previous;
    element->m_next = element->m_previous = nullptr;
    --m_count;
    return std::unique_ptr<Element>(element);
  }

  /// Moves all elements of `other` behind those of this list, in their order; `other` ends empty.
  void Splice(MIntrusiveList& other) noexcept {
    if (&other == this || other.m_first == nullptr) return;
    other.m_first->m_previous = m_last;
    (m_last != nullptr ? m_last->m_next : m_first) = other.m_first;
    m_last = other.m_last;
    m_count += other.m_count;
    other.m_first = other.m_last = nullptr;
    other.m_count = 0;
  }

  /// Deletes elements at the tail until there are no more than `count`.
  void Truncate(unsigned long count) noexcept {
    while (m_count > count) Unlink(m_last);
  }

  /// Deletes all elements, first to last.
  void Clear() noexcept {
    for (Element* element = m_first; element != nullptr;) {
      Element* const next = element->m_next;
      delete element;
      element = next;
    }
    m_first = m_last = nullptr;
    m_count = 0;
  }

 private:
  Element* m_first = nullptr;
  Element* m_last = nullptr;
  unsigned long m_count = 0;
};
