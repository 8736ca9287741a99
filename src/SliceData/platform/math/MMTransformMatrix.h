#pragma once

#include <SliceData/platform/math/MMTransform.h>

/// A placement in space, as a row-major 4 x 4 matrix. The translation is in column 3.
class VELSDK_EXPORT MMTransformMatrix : public MMTransform {
 public:
  /// Becomes the translation by (dx, dy, dz).
  void MakeTranslation(double dx, double dy, double dz);
  /// Takes the sixteen elements over, row by row.
  void MakeFromDouble16(double const* elements);
  /// Gives the sixteen elements, row by row.
  void GetDouble16(double* elements) const;
  void GetTranslation(double& dx, double& dy, double& dz) const;
  /// Replaces the translation and leaves the rest.
  void FillInTranslation(double dx, double dy, double dz);
};
