#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/math/MMTransformMatrix.h>
#include <SliceData/platform/properties/PersistentProperty.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

class PersistentProperties;

extern template class VELSDK_EXPORT PersistentProperty<bool>;
extern template class VELSDK_EXPORT PersistentProperty<long>;
extern template class VELSDK_EXPORT PersistentProperty<unsigned long>;
extern template class VELSDK_EXPORT PersistentProperty<double>;
extern template class VELSDK_EXPORT PersistentProperty<std::string>;
extern template class VELSDK_EXPORT PersistentProperty<MMTransformMatrix>;

/// Ordered list of named, typed values that can be nested. Several may share a name.
///
/// Types: `bool`, `long`, `unsigned long`, `double`, `std::string`, `MMTransformMatrix`, `PersistentProperties`.
/// A pointer to a property or to its value stays valid while other properties come and go. Copies are deep.
class VELSDK_EXPORT PersistentProperties {
 public:
  PersistentProperties();
  ~PersistentProperties();
  PersistentProperties(PersistentProperties const& other);
  PersistentProperties& operator=(PersistentProperties const& other);
  PersistentProperties(PersistentProperties&&) noexcept;
  PersistentProperties& operator=(PersistentProperties&&) noexcept;

  /// The first property of that name, whatever its type and deleted or not; null if there is none.
  PersistentPropertyBase* FindProperty(std::string const& name);
  PersistentPropertyBase const* FindProperty(std::string const& name) const;

  /// The value of the first property of that name; null if there is none, it has another type or is deleted.
  template <class T>
  T const* GetValue(std::string const& name) const {
    auto const* const property = dynamic_cast<PersistentProperty<T> const*>(FindProperty(name));
    return property != nullptr && !property->IsDeleted() ? &property->GetValue() : nullptr;
  }

  /// The values of all properties of that name and type that are not deleted, in order.
  template <class T>
  std::vector<T const*> GetProperties(std::string const& name) const {
    std::vector<T const*> values;
    for (auto const& property : m_properties) {
      auto const* const typed = dynamic_cast<PersistentProperty<T> const*>(property.get());
      if (typed != nullptr && !typed->IsDeleted() && typed->GetName() == name) values.push_back(&typed->GetValue());
    }
    return values;
  }

  /// Gives the first property of that name and type the value and takes a deletion back; adds one if there is none.
  template <class T>
  void SetProperty(std::string const& name, T const& value) {
    for (auto const& property : m_properties) {
      auto* const typed = dynamic_cast<PersistentProperty<T>*>(property.get());
      if (typed == nullptr || typed->GetName() != name) continue;
      typed->SetDeleted(false);
      typed->GetValue() = value;
      return;
    }
    _AddProperty<T>(name, true) = value;
  }

  /// Adds a property with a default value and returns the value. `keep_others` false first removes all of that name.
  template <class T>
  T& _AddProperty(std::string name, bool keep_others) {
    if (!keep_others) RemoveProperties(name);
    auto property = std::make_unique<PersistentProperty<T>>(std::move(name));
    T& value = property->GetValue();
    m_properties.push_back(std::move(property));
    return value;
  }

  /// Appends a property.
  void AddProperty(std::unique_ptr<PersistentPropertyBase> property) { m_properties.push_back(std::move(property)); }

  /// Removes all properties of that name.
  void RemoveProperties(std::string name);

  /// All properties in order, deleted ones included.
  std::vector<std::unique_ptr<PersistentPropertyBase>> const& GetAll() const { return m_properties; }

  /// Equal if both hold equal properties in the same order.
  friend VELSDK_EXPORT bool operator==(PersistentProperties const& a, PersistentProperties const& b);

 private:
  std::vector<std::unique_ptr<PersistentPropertyBase>> m_properties;
};

extern template class VELSDK_EXPORT PersistentProperty<PersistentProperties>;
