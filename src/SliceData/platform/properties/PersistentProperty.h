#pragma once

#include <SliceData/platform/common/Export.h>

#include <memory>
#include <string>
#include <utility>

/// One named value of a `PersistentProperties`.
class VELSDK_EXPORT PersistentPropertyBase {
 public:
  explicit PersistentPropertyBase(std::string name) : m_name(std::move(name)) {}
  virtual ~PersistentPropertyBase();

  std::string const& GetName() const { return m_name; }

  /// A deleted property stays in place, with its value, but counts as absent and is not written to documents.
  bool IsDeleted() const { return m_deleted; }
  void SetDeleted(bool deleted) { m_deleted = deleted; }

  virtual std::unique_ptr<PersistentPropertyBase> Clone() const = 0;
  /// True if `other` has the same name, type, value and deletion mark.
  virtual bool IsEqual(PersistentPropertyBase const& other) const = 0;

 protected:
  PersistentPropertyBase(PersistentPropertyBase const&) = default;

 private:
  std::string m_name;
  bool m_deleted = false;
};

/// A named value of type `T`.
template <class T>
class PersistentProperty final : public PersistentPropertyBase {
 public:
  using PersistentPropertyBase::PersistentPropertyBase;

  T const& GetValue() const { return m_value; }
  T& GetValue() { return m_value; }

  std::unique_ptr<PersistentPropertyBase> Clone() const override { return std::make_unique<PersistentProperty>(*this); }

  bool IsEqual(PersistentPropertyBase const& other) const override {
    auto const* const same = dynamic_cast<PersistentProperty const*>(&other);
    return same != nullptr && GetName() == same->GetName() && IsDeleted() == same->IsDeleted() &&
           m_value == same->m_value;
  }

 private:
  T m_value{};
};
