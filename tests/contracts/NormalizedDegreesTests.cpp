#include <gtest/gtest.h>

#include <cmath>

#include "contracts/NormalizedDegrees.h"

namespace ornolith {
namespace {

TEST(NormalizedDegrees, BringsTurnsIntoOneTurn) {
  EXPECT_EQ(normalizedDegrees(-90.0), 270.0);
  EXPECT_EQ(normalizedDegrees(360.0), 0.0);
  EXPECT_EQ(normalizedDegrees(720.0), 0.0);
  EXPECT_EQ(normalizedDegrees(725.5), 5.5);
  EXPECT_EQ(normalizedDegrees(360.5), 0.5);
  EXPECT_EQ(normalizedDegrees(-360.0), 0.0);
}

TEST(NormalizedDegrees, NeverGivesANegativeZero) {
  EXPECT_FALSE(std::signbit(normalizedDegrees(-0.0)));
  EXPECT_FALSE(std::signbit(normalizedDegrees(-360.0)));
}

TEST(NormalizedDegrees, StaysBelowAFullTurnForATinyNegativeAngle) {
  EXPECT_EQ(normalizedDegrees(-1e-20), 0.0);
}

TEST(NormalizedDegrees, KeepsAbsentAxesAbsent) {
  const LocalRotationDegrees degrees{.x = -90.0, .y = std::nullopt, .z = 0.0};
  EXPECT_EQ(normalizedDegrees(degrees), (LocalRotationDegrees{.x = 270.0, .y = std::nullopt, .z = 0.0}));
}

}  // namespace
}  // namespace ornolith
