#include <SliceData/platform/properties/PersistentPropertyOfOtherType.h>

PersistentPropertyOfOtherType::~PersistentPropertyOfOtherType() = default;

std::unique_ptr<PersistentPropertyBase> PersistentPropertyOfOtherType::Clone() const {
  return std::make_unique<PersistentPropertyOfOtherType>(*this);
}

bool PersistentPropertyOfOtherType::IsEqual(PersistentPropertyBase const& other) const {
  auto const* const same = dynamic_cast<PersistentPropertyOfOtherType const*>(&other);
  return same != nullptr && GetName() == same->GetName() && IsDeleted() == same->IsDeleted() &&
         m_type == same->m_type && m_text == same->m_text;
}
