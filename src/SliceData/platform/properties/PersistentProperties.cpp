#include <SliceData/platform/properties/PersistentProperties.h>

#include <algorithm>
#include <utility>

template class PersistentProperty<bool>;
template class PersistentProperty<long>;
template class PersistentProperty<unsigned long>;
template class PersistentProperty<double>;
template class PersistentProperty<std::string>;
template class PersistentProperty<MMTransformMatrix>;
template class PersistentProperty<PersistentProperties>;

PersistentPropertyBase::~PersistentPropertyBase() = default;

PersistentProperties::PersistentProperties() = default;
PersistentProperties::~PersistentProperties() = default;
PersistentProperties::PersistentProperties(PersistentProperties&&) noexcept = default;
PersistentProperties& PersistentProperties::operator=(PersistentProperties&&) noexcept = default;

PersistentProperties::PersistentProperties(PersistentProperties const& other) {
  m_properties.reserve(other.m_properties.size());
  for (auto const& property : other.m_properties) m_properties.push_back(property->Clone());
}

PersistentProperties& PersistentProperties::operator=(PersistentProperties const& other) {
  return *this = PersistentProperties(other);
}

PersistentPropertyBase const* PersistentProperties::FindProperty(std::string const& name) const {
  auto const found = std::find_if(m_properties.begin(), m_properties.end(),
                                  [&](auto const& property) { return property->GetName() == name; });
  return found != m_properties.end() ? found->get() : nullptr;
}

PersistentPropertyBase* PersistentProperties::FindProperty(std::string const& name) {
  return const_cast<PersistentPropertyBase*>(std::as_const(*this).FindProperty(name));
}

void PersistentProperties::RemoveProperties(std::string name) {
  m_properties.erase(std::remove_if(m_properties.begin(), m_properties.end(),
                                    [&](auto const& property) { return property->GetName() == name; }),
                     m_properties.end());
}

bool operator==(PersistentProperties const& a, PersistentProperties const& b) {
  return std::equal(a.m_properties.begin(), a.m_properties.end(), b.m_properties.begin(), b.m_properties.end(),
                    [](auto const& left, auto const& right) { return left->IsEqual(*right); });
}
