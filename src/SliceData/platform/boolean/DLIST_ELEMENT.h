#pragma once

/// An element of a doubly linked list: the value with its links. The list that holds it sets the links.
template <class T>
class DLIST_ELEMENT : public T {
 public:
  DLIST_ELEMENT* GetNext() { return m_next; }
  DLIST_ELEMENT const* GetNext() const { return m_next; }
  DLIST_ELEMENT* GetPrevious() { return m_previous; }
  DLIST_ELEMENT const* GetPrevious() const { return m_previous; }

  void SetNext(DLIST_ELEMENT* element) { m_next = element; }
  void SetPrevious(DLIST_ELEMENT* element) { m_previous = element; }

 private:
  DLIST_ELEMENT* m_next = nullptr;
  DLIST_ELEMENT* m_previous = nullptr;
};
