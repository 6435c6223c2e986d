#pragma once

#include "loaders/mesh/IndexedMesh.h"
#include "loaders/mesh/PLYRows.h"
#include "loaders/mesh/PLYVertices.h"

namespace ornolith {

/// What faces say about the corners of their triangles, three corners to a triangle. Either is empty where no face
/// does.
struct PLYCorners {
  LargeVector<float> colors;  ///< Four components.
  LargeVector<float> texcoords;
};

/// True for the elements that `readPLYFaces` reads: "face" and "tristrips".
bool isPLYFaces(const PLYElement& element) noexcept;

/// True for those whose faces have a colour.
bool hasPLYFaceColors(const PLYElement& element) noexcept;

/// Appends the triangles of the element, whose rows come next, to those of a mesh whose positions are there, and what
/// the faces say about corners to `corners`. Throws `MeshReadError`.
void readPLYFaces(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels, IndexedMesh& mesh,
                  PLYCorners& corners);

}  // namespace ornolith
