#pragma once

#include <array>
#include <string_view>

#include "loaders/mesh/IndexedMesh.h"
#include "loaders/mesh/PLYRows.h"

namespace ornolith {

/// What a row's values mean, in the order in which they are kept.
enum PLYSlot : std::size_t {
  plyX,
  plyY,
  plyZ,
  plyNormalX,
  plyNormalY,
  plyNormalZ,
  plyRed,
  plyGreen,
  plyBlue,
  plyAlpha,
  plyTextureU,
  plyTextureV,
  plySlotCount  ///< Of values that mean nothing here.
};

/// The meaning of a property by its customary names.
PLYSlot plySlotOf(const PLYProperty& property) noexcept;

/// Turns the parts of colours into linear ones, 1 at the top of their type's range: fractions as they stand, integers
/// of 16 bits without a sign as parts of 65535, other integers as parts of 255.
class PLYColorLevels {
 public:
  PLYColorLevels() noexcept;
  float linear(float value, PLYType type) const noexcept;
  float linear(std::uint8_t value) const noexcept { return levels_[value]; }
  /// The same without the curve of colours, for alphas.
  static float fraction(float value, PLYType type) noexcept;

 private:
  std::array<float, 256> levels_{};
};

/// Appends the element's vertices, whose rows come next, to the streams of an empty mesh: positions, and normals,
/// colours (with an alpha where all four are there) and texture coordinates where the rows have all their components.
/// Throws `MeshReadError`, also where there are no positions.
void readPLYVertices(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels, IndexedMesh& mesh);

}  // namespace ornolith
