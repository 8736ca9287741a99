#pragma once

#include <SliceData/platform/containers/MBlockArray.h>

#include <algorithm>
#include <cassert>
#include <utility>
#include <vector>

template <class Owner>
class MDataMaskList;

/// A table with one entry for each element of a list of `Owner`, found by the element's index.
///
/// Once registered with the list it grows along with it and is told when an element comes from another one. It takes
/// itself out of the list when it dies; whichever of the two dies first, the other goes on.
template <class Owner>
class MDataMaskBase {
 public:
  MDataMaskBase() = default;
  MDataMaskBase(MDataMaskBase const&) = delete;
  MDataMaskBase& operator=(MDataMaskBase const&) = delete;

  /// The entry of element `to` becomes that of element `from`, as when `to` is a part of `from`.
  virtual void CopyInfo(unsigned long from, unsigned long to) = 0;
  virtual void SwapInfo(unsigned long a, unsigned long b) = 0;
  /// Makes room for the indices below `size`; new entries hold the default.
  virtual void _SetSize(unsigned long size) = 0;
  virtual void _SetDefault(unsigned long index) = 0;
  /// Takes over size and entries of a mask of the same type. A registered mask stays as long as its list.
  virtual void CopyFrom(MDataMaskBase const& other) = 0;

  /// True while the mask is registered with a list.
  bool GetIsActive() const { return m_active != 0; }

 protected:
  ~MDataMaskBase() {
    if (m_list != nullptr) m_list->UnregisterMask(*this);
  }

 private:
  friend class MDataMaskList<Owner>;

  MDataMaskList<Owner>* m_list = nullptr;
  unsigned char m_active = 0;
};

/// A mask with values of type `T`. Reading or writing entry i takes constant time.
template <class Owner, class T>
class MDataMask final : public MDataMaskBase<Owner> {
 public:
  T& operator[](unsigned long index) { return m_values[index]; }
  T const& operator[](unsigned long index) const { return m_values[index]; }
  unsigned long GetSize() const { return m_values.size(); }

  void CopyInfo(unsigned long from, unsigned long to) override { m_values[to] = m_values[from]; }
  void SwapInfo(unsigned long a, unsigned long b) override { std::swap(m_values[a], m_values[b]); }
  void _SetSize(unsigned long size) override { m_values.resize(size, T()); }
  void _SetDefault(unsigned long index) override { m_values[index] = T(); }
  void CopyFrom(MDataMaskBase<Owner> const& other) override {
    unsigned long const size = this->GetIsActive() ? m_values.size() : 0;
    m_values.Assign(static_cast<MDataMask const&>(other).m_values);
    if (m_values.size() < size) m_values.resize(size, T());
  }

 private:
  MBlockArray<T, 1024ul> m_values;
};

/// The masks of a list, and the indices that they have room for.
template <class Owner>
class MDataMaskList {
 public:
  MDataMaskList() = default;
  MDataMaskList(MDataMaskList const&) = delete;
  MDataMaskList& operator=(MDataMaskList const&) = delete;
  ~MDataMaskList() {
    for (auto* const mask : m_masks) mask->m_list = nullptr;
  }

  /// Lets `mask`, which is registered nowhere, grow with this list from now on.
  void RegisterMask(MDataMaskBase<Owner>& mask) {
    assert(mask.m_list == nullptr);
    mask._SetSize(m_size);
    m_masks.push_back(&mask);
    mask.m_list = this;
    mask.m_active = 1;
  }

  void UnregisterMask(MDataMaskBase<Owner>& mask) {
    m_masks.erase(std::remove(m_masks.begin(), m_masks.end(), &mask), m_masks.end());
    mask.m_list = nullptr;
    mask.m_active = 0;
  }

 protected:
  /// Gives every mask an entry for `index`, by whole blocks.
  void _EnsureMaskEntry(unsigned long index) {
    if (index < m_size) return;
    unsigned long const size = (index / kStep + 1) * kStep;
    for (auto* const mask : m_masks) mask->_SetSize(size);
    m_size = size;
  }

  void _CopyMaskEntries(unsigned long from, unsigned long to) {
    for (auto* const mask : m_masks) mask->CopyInfo(from, to);
  }

 private:
  static constexpr unsigned long kStep = 1024;

  std::vector<MDataMaskBase<Owner>*> m_masks;
  unsigned long m_size = 0;
};
