#pragma once

namespace ornolith::math {

/// Transcendental functions with the same bits on every processor: within 1 ulp and without fused multiply-add. Every
/// result that can reach a document or a pixel goes through these, never through the C library, which picks other code
/// with other last bits on processors with FMA. Angles are radians. Square root, absolute value, floor, ceiling and the
/// remainder are exact in the C library and are used from there.
double sin(double angle) noexcept;
double cos(double angle) noexcept;
double tan(double angle) noexcept;
double asin(double value) noexcept;
double acos(double value) noexcept;
double atan(double value) noexcept;
double atan2(double y, double x) noexcept;
double exp(double exponent) noexcept;
double exp2(double exponent) noexcept;
double log(double value) noexcept;
double log2(double value) noexcept;
double pow(double base, double exponent) noexcept;

float sin(float angle) noexcept;
float cos(float angle) noexcept;
float tan(float angle) noexcept;
float asin(float value) noexcept;
float acos(float value) noexcept;
float atan(float value) noexcept;
float atan2(float y, float x) noexcept;
float exp(float exponent) noexcept;
float exp2(float exponent) noexcept;
float log(float value) noexcept;
float log2(float value) noexcept;
float pow(float base, float exponent) noexcept;

inline constexpr double pi = 3.14159265358979323846;

}  // namespace ornolith::math
