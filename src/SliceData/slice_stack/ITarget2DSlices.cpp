#include <SliceData/slice_stack/ITarget2DSlices.h>

ITarget2DSlices::~ITarget2DSlices() = default;

bool ITarget2DSlices::_OnStartAddingSlices() const {
  return true;
}
bool ITarget2DSlices::_OnStopAddingSlices() const {
  return true;
}
