#pragma once

#include <vector>

#include "contracts/RenderOutputOptions.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// The canvas arithmetic of a contact sheet, in pixels and doubles. Frames have their origin at the bottom left of the
/// canvas, so that the first row lies at the top.
struct ContactSheetGeometry {
  /// The space around and between cells: 1.5 percent of the shorter side held to 8..24, and at most 35 percent of an
  /// even share of either side; a whole number, never negative.
  static double gutter(CGSize canvasSize, std::int64_t columns, std::int64_t rows);

  /// The cell of each view, row by row from the top left. Cells are at least one pixel a side; what rounding leaves
  /// over stays at the right and the bottom.
  static std::vector<CGRect> frames(ModelRenderLayout layout, ContactSheetArrangement arrangement, CGSize canvasSize);
};

}  // namespace ornolith
