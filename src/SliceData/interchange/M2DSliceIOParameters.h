#pragma once

#include <SliceData/platform/units/MUnit.h>

/// Settings that all slice imports and exports share.
struct M2DSliceIO_Common_Parameters {
  bool value = true;

  void SetDefaults() { *this = M2DSliceIO_Common_Parameters(); }
};

/// Settings of SLI and 3DS import and export, in internal units.
struct M2DSliceIO_SLI_3DS_Parameters {
  long firstValue = static_cast<long>(static_cast<double>(MUnit::GetIE()) * 0.3);
  long secondValue = static_cast<long>(static_cast<double>(MUnit::GetIE()) * 0.3);

  void SetDefaults() { *this = M2DSliceIO_SLI_3DS_Parameters(); }
};

/// Settings of slice import and export. Carried along with the slices; nothing here reads the values.
struct M2DSliceIOParameters {
  M2DSliceIO_Common_Parameters common;
  M2DSliceIO_SLI_3DS_Parameters sli3ds;

  /// Leaves the record as it is, unlike its two sections: hosts call it on records whose values they want to keep.
  void SetDefaults() {}
};
