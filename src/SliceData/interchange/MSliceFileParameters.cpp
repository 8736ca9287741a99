#include <SliceData/interchange/MSliceFileParameters.h>
#include <SliceData/platform/units/MInternalUnits.h>

MSliceFileParameters::MSliceFileParameters()
    : scaledValueA(static_cast<long>(VelSDK::Common::MInternalUnits::GetInstance().length * 0.3)),
      scaledValueB(scaledValueA),
      halfValueA(scaledValueA / 2),
      halfValueB(scaledValueB / 2) {}

MSliceFileParameters::MSliceFileParameters(MSliceFileParameters const&) = default;
MSliceFileParameters& MSliceFileParameters::operator=(MSliceFileParameters const&) = default;
MSliceFileParameters::~MSliceFileParameters() = default;
