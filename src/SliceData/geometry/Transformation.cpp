#include <SliceData/geometry/MapPoint.h>
#include <SliceData/geometry/Transformation.h>

#include <cmath>
#include <utility>

namespace M2DSliceUtilities {

iTransformation::~iTransformation() = default;

TransformationMatrix* TransformationMatrix::_Clone() const {
  return new TransformationMatrix(*this);
}

void TransformationMatrix::_Transform(double& x, double& y) const {
  PlainMatrix(*this).Transform(x, y);
}

void TransformationMatrix::MakeRotation(double degrees) {
  double const radians = degrees * 3.141592653589793 / 180.0;
  double sine = 0;
  double cosine = 0;
  sincos(radians, &sine, &cosine);
  _Set(cosine, sine, -sine, cosine, 0, 0);
}

void TransformationMatrix::MakeRotation90() {
  _Set(0, 1, -1, 0, 0, 0);
}
void TransformationMatrix::MakeRotation180() {
  _Set(-1, 0, 0, -1, 0, 0);
}
void TransformationMatrix::MakeRotation270() {
  _Set(0, -1, 1, 0, 0, 0);
}
void TransformationMatrix::MakeTranslation(double dx, double dy) {
  _Set(1, 0, 0, 1, dx, dy);
}

bool TransformationMatrix::IsTranslation(double& dx, double& dy) const {
  if (!(a == 1.0 && d == 1.0 && b == 0.0 && c == 0.0)) return false;
  dx = tx;
  dy = ty;
  return true;
}

void TransformationMatrix::_Set(double new_a, double new_b, double new_c, double new_d, double new_tx, double new_ty) {
  a = new_a;
  b = new_b;
  c = new_c;
  d = new_d;
  tx = new_tx;
  ty = new_ty;
}

TransformationVector::TransformationVector() = default;
TransformationVector::~TransformationVector() {
  Reset();
}
TransformationVector::TransformationVector(TransformationVector const&) = default;
TransformationVector& TransformationVector::operator=(TransformationVector const&) = default;

void TransformationVector::AddTransformation(iTransformation const& transformation) {
  m_transformations.push_back(std::shared_ptr<iTransformation const>(transformation._Clone()));
}

void TransformationVector::AddTransformation(std::shared_ptr<iTransformation const>& transformation) {
  m_transformations.push_back(transformation);
}

void TransformationVector::Reset() {
  while (!m_transformations.empty()) m_transformations.pop_back();
}

TransformationVector* TransformationVector::_Clone() const {
  auto clone = std::make_unique<TransformationVector>();
  clone->m_transformations.reserve(m_transformations.size());
  for (auto const& transformation : m_transformations) clone->AddTransformation(*transformation);
  return clone.release();
}

void TransformationVector::_Transform(double& x, double& y) const {
  for (auto const& transformation : m_transformations) transformation->Transform(x, y);
}

bool ConvertTransformMatrix(MMTransformMatrix const& source, TransformationMatrix& target) {
  for (auto const& [row, column] :
       {std::pair(0, 2), std::pair(1, 2), std::pair(2, 0), std::pair(2, 1), std::pair(2, 3)}) {
    if (source.GetElement(row, column) != 0.0) return false;
  }
  target.a = source.GetElement(0, 0);
  target.b = source.GetElement(0, 1);
  target.c = source.GetElement(1, 0);
  target.d = source.GetElement(1, 1);
  target.tx = source.GetElement(0, 3);
  target.ty = source.GetElement(1, 3);
  return true;
}

}  // namespace M2DSliceUtilities
