#include <SliceFormats/FormatSource.h>

namespace SliceFormats {

FormatSource::~FormatSource() = default;

}  // namespace SliceFormats
