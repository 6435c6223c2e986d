// The maths functions that ufbx asks of its surroundings (UFBX_EXTERNAL_MATH), under the names and with the meaning of
// the C library's. Those that are exact go to the C library, the others to the deterministic ones.

#include <cmath>

#include "foundation/Math.h"

extern "C" {

double ufbx_sqrt(double x);
double ufbx_sin(double x);
double ufbx_cos(double x);
double ufbx_tan(double x);
double ufbx_asin(double x);
double ufbx_acos(double x);
double ufbx_atan(double x);
double ufbx_atan2(double y, double x);
double ufbx_pow(double x, double y);
double ufbx_fmin(double a, double b);
double ufbx_fmax(double a, double b);
double ufbx_fabs(double x);
double ufbx_copysign(double x, double y);
double ufbx_nextafter(double x, double y);
double ufbx_rint(double x);
double ufbx_floor(double x);
double ufbx_ceil(double x);
int ufbx_isnan(double x);

double ufbx_sqrt(double x) {
  return std::sqrt(x);
}
double ufbx_sin(double x) {
  return ornolith::math::sin(x);
}
double ufbx_cos(double x) {
  return ornolith::math::cos(x);
}
double ufbx_tan(double x) {
  return ornolith::math::tan(x);
}
double ufbx_asin(double x) {
  return ornolith::math::asin(x);
}
double ufbx_acos(double x) {
  return ornolith::math::acos(x);
}
double ufbx_atan(double x) {
  return ornolith::math::atan(x);
}
double ufbx_atan2(double y, double x) {
  return ornolith::math::atan2(y, x);
}
double ufbx_pow(double x, double y) {
  return ornolith::math::pow(x, y);
}
// Of two zeros either sign is a right answer; these fix which one it is.
double ufbx_fmin(double a, double b) {
  return std::isnan(b) || a < b ? a : b;
}
double ufbx_fmax(double a, double b) {
  return std::isnan(b) || a > b ? a : b;
}
double ufbx_fabs(double x) {
  return std::fabs(x);
}
double ufbx_copysign(double x, double y) {
  return std::copysign(x, y);
}
double ufbx_nextafter(double x, double y) {
  return std::nextafter(x, y);
}
double ufbx_rint(double x) {
  return std::rint(x);
}
double ufbx_floor(double x) {
  return std::floor(x);
}
double ufbx_ceil(double x) {
  return std::ceil(x);
}
int ufbx_isnan(double x) {
  return std::isnan(x) ? 1 : 0;
}

}  // extern "C"
