#include <SliceData/interchange/M2DSliceConversions.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <utility>

namespace M2DSliceConversions {

namespace {

template <class Source, class Target>
void Copy(Source const& source, Target& target) {
  target.Clear();
  for (auto const& from : source) {
    auto& to = target.Append(target._CreateNewContour());
    for (auto const& point : from.GetPoints()) to.AddPoint(point.x, point.y, point.z);
    to.SetUserWord(from.GetUserWord());
    to.SetIsClosed(from.GetIsClosed());
    to.SetIsOuter(from.GetIsOuter());
    to.SetUserByte1(from.GetUserByte1());
    to.SetUserByte2(from.GetUserByte2());
  }
}

}  // namespace

void Convert(M2DSliceContourLayer const& source, Border& target) {
  Copy(source, target);
}
void Convert(Border const& source, M2DSliceContourLayer& target) {
  Copy(source, target);
}

void QuerySlice(M2DSlice const& slice, Border& border) {
  Convert(slice.GetBorder(), border);
}

void SetSlice(M2DSlice& slice, Border const& border) {
  Convert(border, *slice.GetBorderUpdate());
}

void SetSlice(M2DSlice& slice, Border& border, bool clear) {
  SetSlice(slice, std::as_const(border));
  if (clear) border.Clear();
}

}  // namespace M2DSliceConversions
