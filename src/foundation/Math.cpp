#include "foundation/Math.h"

#include <sleef.h>

namespace ornolith::math {

double sin(double angle) noexcept {
  return Sleef_cinz_sind1_u10purec(angle);
}
double cos(double angle) noexcept {
  return Sleef_cinz_cosd1_u10purec(angle);
}
double tan(double angle) noexcept {
  return Sleef_cinz_tand1_u10purec(angle);
}
double asin(double value) noexcept {
  return Sleef_cinz_asind1_u10purec(value);
}
double acos(double value) noexcept {
  return Sleef_cinz_acosd1_u10purec(value);
}
double atan(double value) noexcept {
  return Sleef_cinz_atand1_u10purec(value);
}
double atan2(double y, double x) noexcept {
  return Sleef_cinz_atan2d1_u10purec(y, x);
}
double exp(double exponent) noexcept {
  return Sleef_cinz_expd1_u10purec(exponent);
}
double exp2(double exponent) noexcept {
  return Sleef_cinz_exp2d1_u10purec(exponent);
}
double log(double value) noexcept {
  return Sleef_cinz_logd1_u10purec(value);
}
double log2(double value) noexcept {
  return Sleef_cinz_log2d1_u10purec(value);
}
double pow(double base, double exponent) noexcept {
  return Sleef_cinz_powd1_u10purec(base, exponent);
}

float sin(float angle) noexcept {
  return Sleef_cinz_sinf1_u10purec(angle);
}
float cos(float angle) noexcept {
  return Sleef_cinz_cosf1_u10purec(angle);
}
float tan(float angle) noexcept {
  return Sleef_cinz_tanf1_u10purec(angle);
}
float asin(float value) noexcept {
  return Sleef_cinz_asinf1_u10purec(value);
}
float acos(float value) noexcept {
  return Sleef_cinz_acosf1_u10purec(value);
}
float atan(float value) noexcept {
  return Sleef_cinz_atanf1_u10purec(value);
}
float atan2(float y, float x) noexcept {
  return Sleef_cinz_atan2f1_u10purec(y, x);
}
float exp(float exponent) noexcept {
  return Sleef_cinz_expf1_u10purec(exponent);
}
float exp2(float exponent) noexcept {
  return Sleef_cinz_exp2f1_u10purec(exponent);
}
float log(float value) noexcept {
  return Sleef_cinz_logf1_u10purec(value);
}
float log2(float value) noexcept {
  return Sleef_cinz_log2f1_u10purec(value);
}
float pow(float base, float exponent) noexcept {
  return Sleef_cinz_powf1_u10purec(base, exponent);
}

}  // namespace ornolith::math
