#pragma once

#include <SliceData/platform/common/Export.h>

#include <string>

/// Describes the slice file that a stack belongs to. Carried along with the slices; nothing here reads the values.
class VELSDK_EXPORT MSliceFileParameters {
 public:
  MSliceFileParameters();
  MSliceFileParameters(MSliceFileParameters const&);
  MSliceFileParameters& operator=(MSliceFileParameters const&);
  virtual ~MSliceFileParameters();

  int firstValue = 0;
  std::string fileName = "part.sli";
  long value2500 = 2500;
  short value200 = 200;
  long valueZero = 0;
  long scaledValueA;  ///< 0.3 mm
  long scaledValueB;  ///< 0.3 mm
  long halfValueA;
  long halfValueB;
  bool option1 = true;
  bool option2 = true;
  bool option3 = true;
  bool option4 = false;
  bool option5 = true;
  long value1400 = 1400;
  long value3 = 3;
  bool option6 = false;
  long value80000 = 80000;
  long value2000 = 2000;
  long valueMinus2000 = -2000;
  short lastValue = 1;
};
