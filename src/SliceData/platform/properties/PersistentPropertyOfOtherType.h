#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/properties/PersistentProperty.h>

#include <memory>
#include <string>
#include <utility>

/// A property of a document whose type this build does not know, as it was read. It is written back unchanged.
class VELSDK_EXPORT PersistentPropertyOfOtherType final : public PersistentPropertyBase {
 public:
  PersistentPropertyOfOtherType(std::string name, std::string type, std::string text)
      : PersistentPropertyBase(std::move(name)), m_type(std::move(type)), m_text(std::move(text)) {}
  PersistentPropertyOfOtherType(PersistentPropertyOfOtherType const&) = default;
  PersistentPropertyOfOtherType& operator=(PersistentPropertyOfOtherType const&) = delete;
  ~PersistentPropertyOfOtherType() override;

  std::string const& GetType() const { return m_type; }
  std::string const& GetText() const { return m_text; }

  std::unique_ptr<PersistentPropertyBase> Clone() const override;
  bool IsEqual(PersistentPropertyBase const& other) const override;

 private:
  std::string m_type;
  std::string m_text;
};
