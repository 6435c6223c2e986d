#pragma once

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// A colour: sRGB-encoded red, green, blue and straight alpha, 0 to 1 by convention, as doubles. Extended values are
/// kept.
struct NSColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  // The platform's named colours, as constant values.
  static NSColor whiteColor();
  static NSColor blackColor();
  static NSColor clearColor();
  static NSColor labelColor();
  static NSColor tertiaryLabelColor();
  static NSColor windowBackgroundColor();
  static NSColor systemRedColor();
  static NSColor systemGreenColor();
  static NSColor systemBlueColor();
  static NSColor systemOrangeColor();
  static NSColor systemYellowColor();
  static NSColor systemTealColor();
  static NSColor systemIndigoColor();
  static NSColor systemGrayColor();

  NSColor colorWithAlphaComponent(double newAlpha) const;
  /// (1 - fraction) of this colour plus fraction of `other`, per component of the encoded values, alpha included.
  NSColor blendedColorWithFraction(double fraction, const NSColor& other) const;
  /// The colour in the device RGB space, which is sRGB here: the same values.
  NSColor colorUsingDeviceRGBColorSpace() const { return *this; }

  bool operator==(const NSColor&) const = default;
};

}  // namespace ornolith
