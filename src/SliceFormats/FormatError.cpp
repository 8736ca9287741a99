#include <SliceFormats/FormatError.h>

namespace SliceFormats {

FormatError::~FormatError() = default;

}  // namespace SliceFormats
