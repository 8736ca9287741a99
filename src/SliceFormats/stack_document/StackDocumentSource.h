#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FormatReport.h>
#include <SliceFormats/RandomAccessSource.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// The slices of a stack document, read when they are asked for.
///
/// The constructor reads the contents of the document and no slice. A slice costs the reading of the part that it is
/// in, up to some 4 MiB of tags, and of its own coordinates; the part is kept, so that slices in their order cost each
/// part once. Memory: 40 bytes a slice, one part, one slice.
///
/// Slices stand in ascending z; a document in which they do not is refused. Slices of equal z are one, which takes of
/// each kind of elements what comes last, as a stack does. Z areas are those of the document; one without a thickness
/// stays so, unlike in a stack that was read by `ReadStackDocument`. The properties are read when they are first asked
/// for, and so is the thickness of a layer: it is the property "SliceThickness", 0 without. The XY area takes a reading
/// of everything, once.
///
/// What is wrong with the document is a `MDocumentError`: from the constructor if it concerns the document as a whole,
/// from the getters if it concerns a part; the other parts can still be read. A disk that fails is a
/// `std::system_error`: the same call may work later. One thread at a time; several sources
/// may read the same document.
class VELSDK_EXPORT StackDocumentSource final : public RandomAccessSource {
 public:
  /// Opens the document at `path`. `report`, if given, outlives the source; it receives what is skipped when a run
  /// ends. Throws `MDocumentError`, also for documents of another kind, and `std::system_error` if the file cannot be
  /// opened.
  explicit StackDocumentSource(std::string const& path, FormatReport* report = nullptr);
  ~StackDocumentSource() override;

 protected:
  long _OnGetSliceThickness() const override;
  PersistentProperties const& _OnGetProperties() const override;
  M2DSliceXYArea _OnGetXYArea() const override;
  unsigned long _OnStartGettingSlices() const override;
  unsigned long _OnGetNumSlices() const override;
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override;
  void _OnStopGettingSlices() const override;

 private:
  class Reading;
  std::unique_ptr<Reading> m_reading;
};

}  // namespace SliceFormats
