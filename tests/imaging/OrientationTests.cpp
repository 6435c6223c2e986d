#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/Orientation.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(Orientation, EveryOneIsUndone) {
  const Image upright = noiseImage(5, 3);
  for (unsigned orientation = 1; orientation <= 8; ++orientation) {
    EXPECT_TRUE(uprightImage(storedFor(upright, orientation), orientation) == upright) << orientation;
  }
  EXPECT_TRUE(uprightImage(upright, 0) == upright);
  EXPECT_TRUE(uprightImage(upright, 9) == upright);
}

}  // namespace
}  // namespace ornolith
