#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

#include <string>

/// The layer of a component in a document: one tag for each of its elements, nothing without any.
///
/// What is paged out is written from its record, and a component that was prepared for pushing is filled on disk:
/// neither is loaded. `InMemory` and `OnDisk` are the elements for the two places.
template <class Component, class InMemory, class OnDisk>
class VELSDK_EXPORT MSaxM2DSliceLayer : public ISAXPersistHelper {
 public:
  /// Empties the component. One that is out of memory and was not prepared for pushing is in memory afterwards, so that
  /// nothing is added to an old record.
  void SetDefaults() override;
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  /// Always true.
  bool Write(MSAXWriter& writer) const override;

 protected:
  /// \param component    whose layer is read or written; outlives this
  /// \param stream_name  of binary values; outlives this; null for values without a name
  MSaxM2DSliceLayer(Component* component, char const* stream_name);
  ~MSaxM2DSliceLayer() override;

 private:
  char const* m_stream_name;
  Component* m_component;
};
