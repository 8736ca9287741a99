#include <SliceFormats/RandomAccessSource.h>

namespace SliceFormats {

RandomAccessSource::~RandomAccessSource() = default;

}  // namespace SliceFormats
