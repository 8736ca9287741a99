#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>

#include <string>

/// Where an element of a layer is: in memory.
template <class ElementOfLayer>
struct MSaxElementInMemory {
  using Element = ElementOfLayer;
  Element* element;
};

/// Where an element of a layer is: in the record of a component, at an index.
template <class ComponentOfElement>
struct MSaxElementOnDisk {
  using Element = typename ComponentOfElement::Element;
  ComponentOfElement* component;
  unsigned long index;
};

/// One contour, vector block or point block in a document: "Points" or "Coordinates" with its items as one binary value
/// of 32-bit integers, the flags of a contour, "VectorTypeInfo".
///
/// The three kinds and the two places of an element, `Target`, give six classes; a document does not show the place.
/// Coordinates are narrowed to their low 32 bits without a word. An element lives for one tag.
template <class Target>
class VELSDK_EXPORT MSaxM2DSliceElement : public ISAXPersistHelper {
 public:
  /// Empties a contour in memory; the other elements are made empty.
  void SetDefaults() override;
  /// Throws what the binary value throws where it has fewer items than "Count" says; those that it has are taken.
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  /// Always true. Reads a paged-out element in pieces and does not load it.
  bool Write(MSAXWriter& writer) const override;

 protected:
  /// \param target       the element to read or write
  /// \param stream_name  of binary values; outlives this; null for values without a name
  MSaxM2DSliceElement(Target target, char const* stream_name);
  ~MSaxM2DSliceElement() override;

 private:
  bool _HandleTagCoordinates(std::string const& tag, MSAXReader& reader);
  bool _WriteCoordinates(MSAXWriter& writer) const;

  Target m_target;
  char const* m_stream_name;
  unsigned long m_count = 0;  ///< of items, once it has been read
};
