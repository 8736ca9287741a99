#include <SliceData/platform/sax/MSAXStreamBinaryIn.h>
#include <SliceData/platform/sax/MSAXStreamBinaryOut.h>

#include <algorithm>

void MSAXStreamBinaryOut::Write(void const* bytes, std::size_t count) {
  for (auto const* from = static_cast<char const*>(bytes); count != 0;) {
    std::size_t const piece = std::min(count, kMaxPiece);
    std::memcpy(PrepareWrite(piece), from, piece);
    CommitWrite(piece);
    from += piece;
    count -= piece;
  }
}

void MSAXStreamBinaryIn::Read(void* bytes, std::size_t count) {
  for (auto* to = static_cast<char*>(bytes); count != 0;) {
    std::size_t const piece = std::min(count, kMaxPiece);
    std::memcpy(to, PrepareRead(piece), piece);
    CommitRead(piece);
    to += piece;
    count -= piece;
  }
}
