#pragma once

#include <SliceData/geometry/iTransformation.h>
#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/math/MMTransformMatrix.h>

#include <memory>
#include <vector>

namespace M2DSliceUtilities {

/// The affine mapping x' = a·x + b·y + tx, y' = c·x + d·y + ty. A new one is the identity.
class VELSDK_EXPORT TransformationMatrix final : public iTransformation {
 public:
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double tx = 0;  ///< internal units
  double ty = 0;  ///< internal units

  TransformationMatrix* _Clone() const override;
  void _Transform(double& x, double& y) const override;

  /// Becomes the rotation by an angle in degrees; positive turns clockwise where y points up: (1, 0) goes to (cos,
  /// -sin).
  void MakeRotation(double degrees);
  /// Quarter turns in the direction of `MakeRotation`, exact: the first takes (1, 0) to (0, -1).
  void MakeRotation90();
  void MakeRotation180();
  void MakeRotation270();
  /// Becomes the translation by (dx, dy), in internal units.
  void MakeTranslation(double dx, double dy);

  /// True if this is a translation, with no tolerance; gives it then. Otherwise false, and the arguments stay.
  bool IsTranslation(double& dx, double& dy) const;

 private:
  void _Set(double new_a, double new_b, double new_c, double new_d, double new_tx, double new_ty);
};

/// A chain of mappings, each applied to the result of the one before. An empty chain changes nothing.
class VELSDK_EXPORT TransformationVector final : public iTransformation {
 public:
  TransformationVector();
  ~TransformationVector() override;
  TransformationVector(TransformationVector const&);
  TransformationVector& operator=(TransformationVector const&);

  /// Appends a clone of the mapping.
  void AddTransformation(iTransformation const& transformation);
  /// Appends the mapping itself, shared with the caller.
  void AddTransformation(std::shared_ptr<iTransformation const>& transformation);
  /// Removes all mappings, from the back.
  void Reset();

  std::vector<std::shared_ptr<iTransformation const>> const& GetVector() const { return m_transformations; }

  /// Clones every element, also those that are shared.
  TransformationVector* _Clone() const override;
  void _Transform(double& x, double& y) const override;

 private:
  std::vector<std::shared_ptr<iTransformation const>> m_transformations;
};

/// Owns a mapping, or none.
class VELSDK_EXPORT TransformationHolder {
 public:
  TransformationHolder() = default;
  ~TransformationHolder() = default;

  std::unique_ptr<iTransformation> transformation;
};

/// Takes the planar part of a placement over.
///
/// \return false, with `target` unchanged, if z and the plane mix: an element (0,2), (1,2), (2,0), (2,1) or (2,3) that
/// is
///         not zero. The scale in z and the last row do not matter.
VELSDK_EXPORT bool ConvertTransformMatrix(MMTransformMatrix const& source, TransformationMatrix& target);

}  // namespace M2DSliceUtilities
