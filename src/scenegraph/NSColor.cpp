#include "scenegraph/NSColor.h"

namespace ornolith {
namespace {

constexpr NSColor colorFromBytes(int red, int green, int blue) {
  return {red / 255.0, green / 255.0, blue / 255.0, 1};
}

}  // namespace

NSColor NSColor::whiteColor() {
  return {1, 1, 1, 1};
}
NSColor NSColor::blackColor() {
  return {0, 0, 0, 1};
}
NSColor NSColor::clearColor() {
  return {0, 0, 0, 0};
}
NSColor NSColor::labelColor() {
  return {0, 0, 0, 0.85};
}
NSColor NSColor::tertiaryLabelColor() {
  return {0, 0, 0, 0.26};
}
NSColor NSColor::windowBackgroundColor() {
  return colorFromBytes(236, 236, 236);
}
NSColor NSColor::systemRedColor() {
  return colorFromBytes(255, 59, 48);
}
NSColor NSColor::systemGreenColor() {
  return colorFromBytes(52, 199, 89);
}
NSColor NSColor::systemBlueColor() {
  return colorFromBytes(0, 122, 255);
}
NSColor NSColor::systemOrangeColor() {
  return colorFromBytes(255, 149, 0);
}
NSColor NSColor::systemYellowColor() {
  return colorFromBytes(255, 204, 0);
}
NSColor NSColor::systemTealColor() {
  return colorFromBytes(48, 176, 199);
}
NSColor NSColor::systemIndigoColor() {
  return colorFromBytes(88, 86, 214);
}
NSColor NSColor::systemGrayColor() {
  return colorFromBytes(142, 142, 147);
}

NSColor NSColor::colorWithAlphaComponent(double newAlpha) const {
  return {red, green, blue, newAlpha};
}

NSColor NSColor::blendedColorWithFraction(double fraction, const NSColor& other) const {
  const double kept = 1 - fraction;
  return {red * kept + other.red * fraction, green * kept + other.green * fraction, blue * kept + other.blue * fraction,
          alpha * kept + other.alpha * fraction};
}

}  // namespace ornolith
