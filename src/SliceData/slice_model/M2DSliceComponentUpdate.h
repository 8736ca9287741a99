#pragma once

#include <SliceData/slice_model/M2DSliceComponent.h>

/// Write access to the data of a component, counted by it while the handle lives. The count holds nothing in memory: in
/// a stack that pages, a handle is done with before other slices are accessed.
///
/// A handle neither loads data nor declares anything stale: the hooks of the slice do so before a handle is made.
/// Making one drops the component's index into the layer; questions by index between two changes need a new handle for
/// the second.
template <class T>
class M2DSliceComponentUpdate {
 public:
  explicit M2DSliceComponentUpdate(M2DSliceComponent<T>& component) : m_component(&component) { _Count(1); }
  M2DSliceComponentUpdate(M2DSliceComponentUpdate const& other) : m_component(other.m_component) { _Count(1); }
  M2DSliceComponentUpdate& operator=(M2DSliceComponentUpdate const& other) {
    _Count(-1);
    m_component = other.m_component;
    _Count(1);
    return *this;
  }
  ~M2DSliceComponentUpdate() {
    _Count(-1);
    m_component = nullptr;
  }

  operator T*() { return &m_component->GetData(); }              // NOLINT(google-explicit-constructor)
  operator T const*() const { return &m_component->GetData(); }  // NOLINT(google-explicit-constructor)
  T* operator->() { return &m_component->GetData(); }
  T const* operator->() const { return &m_component->GetData(); }
  T& operator*() { return m_component->GetData(); }
  T const& operator*() const { return m_component->GetData(); }

 private:
  void _Count(long step) { m_component->m_update_count += static_cast<unsigned long>(step); }

  M2DSliceComponent<T>* m_component;
};
