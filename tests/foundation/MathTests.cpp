#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include "foundation/Math.h"

namespace ornolith {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Units in the last place between a result and the value computed with more digits.
double ulpsOff(double result, long double exact) {
  const auto rounded = static_cast<double>(exact);
  const double ulp = std::nextafter(std::abs(rounded), infinity) - std::abs(rounded);
  return static_cast<double>(std::abs((static_cast<long double>(result) - exact) / static_cast<long double>(ulp)));
}

double ulpsOff(float result, double exact) {
  const auto rounded = static_cast<float>(exact);
  const float ulp = std::nextafter(std::abs(rounded), std::numeric_limits<float>::infinity()) - std::abs(rounded);
  return std::abs((double{result} - exact) / double{ulp});
}

TEST(Math, DoublesAreWithinOneUnitOfTheLastPlace) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> angle(-20, 20);
  std::uniform_real_distribution<double> unit(-1, 1);
  std::uniform_real_distribution<double> positive(1e-3, 1e3);
  for (int i = 0; i < 5000; ++i) {
    const double a = angle(random);
    const double u = unit(random);
    const double p = positive(random);
    const long double la = a;
    const long double lu = u;
    const long double lp = p;
    EXPECT_LE(ulpsOff(math::sin(a), std::sin(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::cos(a), std::cos(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::tan(a), std::tan(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::asin(u), std::asin(lu)), 1) << u;
    EXPECT_LE(ulpsOff(math::acos(u), std::acos(lu)), 1) << u;
    EXPECT_LE(ulpsOff(math::atan(a), std::atan(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::atan2(u, a), std::atan2(lu, la)), 1) << u << " " << a;
    EXPECT_LE(ulpsOff(math::exp(a), std::exp(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::exp2(a), std::exp2(la)), 1) << a;
    EXPECT_LE(ulpsOff(math::log(p), std::log(lp)), 1) << p;
    EXPECT_LE(ulpsOff(math::log2(p), std::log2(lp)), 1) << p;
    EXPECT_LE(ulpsOff(math::pow(p, u), std::pow(lp, lu)), 1) << p << " " << u;
  }
}

TEST(Math, FloatsAreWithinOneUnitOfTheLastPlace) {
  std::mt19937_64 random(2);
  std::uniform_real_distribution<float> angle(-20, 20);
  std::uniform_real_distribution<float> unit(-1, 1);
  std::uniform_real_distribution<float> positive(1e-3F, 1e3F);
  for (int i = 0; i < 5000; ++i) {
    const float a = angle(random);
    const float u = unit(random);
    const float p = positive(random);
    EXPECT_LE(ulpsOff(math::sin(a), std::sin(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::cos(a), std::cos(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::tan(a), std::tan(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::asin(u), std::asin(double{u})), 1) << u;
    EXPECT_LE(ulpsOff(math::acos(u), std::acos(double{u})), 1) << u;
    EXPECT_LE(ulpsOff(math::atan(a), std::atan(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::atan2(u, a), std::atan2(double{u}, double{a})), 1) << u << " " << a;
    EXPECT_LE(ulpsOff(math::exp(a), std::exp(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::exp2(a), std::exp2(double{a})), 1) << a;
    EXPECT_LE(ulpsOff(math::log(p), std::log(double{p})), 1) << p;
    EXPECT_LE(ulpsOff(math::log2(p), std::log2(double{p})), 1) << p;
    EXPECT_LE(ulpsOff(math::pow(p, u), std::pow(double{p}, double{u})), 1) << p << " " << u;
  }
}

TEST(Math, SpecialArgumentsGiveTheSpecialResults) {
  EXPECT_EQ(math::sin(0.0), 0.0);
  EXPECT_EQ(math::cos(0.0), 1.0);
  EXPECT_EQ(math::exp(0.0), 1.0);
  EXPECT_EQ(math::exp2(10.0), 1024.0);
  EXPECT_EQ(math::log(1.0), 0.0);
  EXPECT_EQ(math::log2(8.0), 3.0);
  EXPECT_EQ(math::log(0.0), -infinity);
  EXPECT_EQ(math::pow(0.0, 0.0), 1.0);
  EXPECT_EQ(math::pow(2.0, 10.0), 1024.0);
  EXPECT_EQ(math::pow(-2.0, 3.0), -8.0);
  EXPECT_EQ(math::atan2(0.0, -1.0), math::pi);
  EXPECT_EQ(math::atan2(-0.0, -1.0), -math::pi);
  EXPECT_EQ(math::atan2(0.0, 0.0), 0.0);
  EXPECT_TRUE(std::isnan(math::acos(1.5)));
  EXPECT_TRUE(std::isnan(math::log(-1.0)));
  EXPECT_TRUE(std::isnan(math::sin(infinity)));
  EXPECT_TRUE(std::isnan(math::cos(std::nan(""))));
}

std::uint64_t mixed(std::uint64_t hash, std::uint64_t bits) {
  return (hash ^ bits) * 0x100000001b3ULL;
}

// The bits themselves, so that a machine or a build on which they come out otherwise shows.
TEST(Math, BitsAreTheSameOnEveryMachine) {
  std::uint64_t doubles = 0xcbf29ce484222325ULL;
  std::uint64_t floats = doubles;
  for (int i = 1; i <= 1000; ++i) {
    const double x = i / 1001.0;
    for (const double value :
         {math::sin(x * 7), math::cos(x * 7), math::tan(x), math::asin(x), math::acos(x), math::atan(x),
          math::atan2(x, 0.3), math::exp(x), math::exp2(x), math::log(x), math::log2(x), math::pow(x, 2.4)}) {
      doubles = mixed(doubles, std::bit_cast<std::uint64_t>(value));
    }
    const auto f = static_cast<float>(x);
    for (const float value :
         {math::sin(f * 7), math::cos(f * 7), math::tan(f), math::asin(f), math::acos(f), math::atan(f),
          math::atan2(f, 0.3F), math::exp(f), math::exp2(f), math::log(f), math::log2(f), math::pow(f, 2.4F)}) {
      floats = mixed(floats, std::bit_cast<std::uint32_t>(value));
    }
  }
  EXPECT_EQ(doubles, 13776143614833137690ULL);
  EXPECT_EQ(floats, 9218000955648779452ULL);
}

}  // namespace
}  // namespace ornolith
