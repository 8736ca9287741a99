#include <SliceData/platform/math/MMTransformMatrix.h>
#include <SliceData/platform/sax/MStreamTextIn.h>
#include <SliceData/platform/sax/MStreamTextOut.h>

void MMTransformMatrix::MakeTranslation(double dx, double dy, double dz) {
  *this = MMTransformMatrix();
  FillInTranslation(dx, dy, dz);
}

void MMTransformMatrix::MakeFromDouble16(double const* elements) {
  for (int i = 0; i < 16; ++i) SetElement(i / 4, i % 4, elements[i]);
}

void MMTransformMatrix::GetDouble16(double* elements) const {
  for (int i = 0; i < 16; ++i) elements[i] = GetElement(i / 4, i % 4);
}

void MMTransformMatrix::GetTranslation(double& dx, double& dy, double& dz) const {
  dx = GetElement(0, 3);
  dy = GetElement(1, 3);
  dz = GetElement(2, 3);
}

void MMTransformMatrix::FillInTranslation(double dx, double dy, double dz) {
  SetElement(0, 3, dx);
  SetElement(1, 3, dy);
  SetElement(2, 3, dz);
}

MStreamTextOut& operator<<(MStreamTextOut& out, MMTransformMatrix const& matrix) {
  double elements[16];
  matrix.GetDouble16(elements);
  for (double const element : elements) out << element;
  return out;
}

MStreamTextIn& operator>>(MStreamTextIn& in, MMTransformMatrix& matrix) {
  double elements[16];
  matrix.GetDouble16(elements);
  for (double& element : elements) in >> element;
  matrix.MakeFromDouble16(elements);
  return in;
}
