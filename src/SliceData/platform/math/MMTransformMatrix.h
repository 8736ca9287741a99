#pragma once

#include <SliceData/platform/math/MMTransform.h>

class MStreamTextIn;
class MStreamTextOut;

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

/// The sixteen elements as document text, row by row. Where a text has fewer numbers, the last elements stay as they
/// were.
VELSDK_EXPORT MStreamTextOut& operator<<(MStreamTextOut& out, MMTransformMatrix const& matrix);
VELSDK_EXPORT MStreamTextIn& operator>>(MStreamTextIn& in, MMTransformMatrix& matrix);
