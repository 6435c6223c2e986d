#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/LargeVector.h"
#include "loaders/mesh/BytesRead.h"

namespace ornolith {

/// An index that a corner does not have.
inline constexpr std::uint32_t noOBJIndex = 0xFFFFFFFF;

/// Corners: indices from 0 into the file's positions, texture coordinates and normals. The last two lists are empty
/// where no corner has such an index.
struct OBJCorners {
  LargeVector<std::uint32_t> positions;
  LargeVector<std::uint32_t> texcoords;
  LargeVector<std::uint32_t> normals;

  std::size_t count() const noexcept { return positions.size(); }
  std::uint32_t texcoordOf(std::size_t corner) const { return texcoords.empty() ? noOBJIndex : texcoords[corner]; }
  std::uint32_t normalOf(std::size_t corner) const { return normals.empty() ? noOBJIndex : normals[corner]; }
};

/// Primitives one after the other with equally many corners.
struct OBJRun {
  std::uint32_t cornersPerPrimitive = 0;
  std::size_t primitiveCount = 0;
};

enum class OBJStateKind : std::uint8_t { object, group, material, smoothing };

/// A statement that holds for the primitives behind it, until the next of its kind.
struct OBJStateChange {
  OBJStateKind kind = OBJStateKind::object;
  std::string_view value;  ///< The rest of the line, without blanks around it.
  // How many corners stand before it, of each kind of primitive.
  std::size_t faceCorners = 0;
  std::size_t lineCorners = 0;
  std::size_t pointCorners = 0;
};

/// What one stretch of an OBJ file's lines says. Its corners are written down once and named by their numbers from then
/// on, so that one of a common mesh takes 4 bytes and the sixth part of up to 12.
struct OBJStretch {
  LargeVector<float> positions;      ///< Three for each vertex.
  LargeVector<float> colors;         ///< Three for each vertex, sRGB, or none where no vertex has one.
  LargeVector<float> texcoords;      ///< Two for each, as the file counts them: from the bottom.
  LargeVector<float> normals;        ///< Three for each.
  OBJCorners corners;                ///< All that differ; some of those that do not lie close together may stand twice.
  LargeVector<std::uint32_t> faces;  ///< Numbers of corners.
  std::vector<OBJRun> faceRuns;
  bool hasShortFaces = false;  ///< Some have fewer than three corners.
  LargeVector<std::uint32_t> lines;
  std::vector<OBJRun> lineRuns;
  LargeVector<std::uint32_t> points;
  std::vector<OBJStateChange> changes;
  /// Where these lie, so that a stretch may be moved but not copied: the text's pages go once they have been read.
  std::vector<char> changeValues;
};

/// The whole of an OBJ file. The stretches hold corners and changes; what the corners refer to stands together here.
struct OBJStatements {
  LargeVector<float> positions;
  LargeVector<float> colors;
  LargeVector<float> texcoords;
  LargeVector<float> normals;
  std::vector<OBJStretch> stretches;
};

/// Reads the statements of an OBJ file. Lines end in LF, CR LF or CR, and go on behind a backslash at their end. Read
/// are v (with colours behind the position), vt, vn, f, fo, l, p, o, g, usemtl and s; all others are skipped. Every
/// index of a corner lies in range. Long texts are read in stretches, on several threads. Throws `MeshReadError` with
/// the number of the line, the first in the file.
OBJStatements readOBJStatements(std::string_view text, const BytesRead& whenRead = {});

}  // namespace ornolith
