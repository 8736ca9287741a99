#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceFormats/FileTarget.h>

#include <memory>
#include <string>

namespace SliceFormats {

/// Writes slices to a stack document as they come, one in memory.
///
/// The document is the one that `WriteStackDocument` makes of a stack with the same slices and properties, byte for
/// byte. It keeps elements, types and properties; what it cannot carry goes to the report: heights and further
/// information of single contour points, digits beyond the sixth of numbers in type records, and of Z ranges that were
/// set explicitly all but the thickness. The two
/// parameter records are not kept. Properties may be set until `StopAddingSlices`.
///
/// Throws `FormatError` for a slice that cannot be written (z not above that of the slice before or not valid,
/// coordinates beyond 32 bits, which is 214 m) and `std::system_error` if the disk refuses.
class VELSDK_EXPORT StackDocumentTarget final : public FileTarget {
 public:
  explicit StackDocumentTarget(std::string path, FormatReport* report = nullptr);
  ~StackDocumentTarget() override;

 protected:
  std::unique_ptr<FileWriting> _Open(std::string const& path, MPendingFile::Existing existing,
                                     PersistentProperties const& properties, FormatReport* report) const override;
};

}  // namespace SliceFormats
