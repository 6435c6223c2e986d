#include "loaders/obj/OBJTwoSidedFaces.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "foundation/LargeVector.h"

namespace ornolith {

namespace {

struct Face {
  std::array<std::uint32_t, 3> places;  // In ascending order.
  std::uint32_t triangle;
  bool isTurned;  // Its corners run the other way than its places here.
};

Face faceOf(std::span<const std::uint32_t> triangles, std::size_t triangle) {
  Face face{{triangles[triangle * 3], triangles[triangle * 3 + 1], triangles[triangle * 3 + 2]},
            static_cast<std::uint32_t>(triangle),
            false};
  const auto order = [&face](std::size_t a, std::size_t b) {
    if (face.places[a] <= face.places[b]) return;
    std::swap(face.places[a], face.places[b]);
    face.isTurned = !face.isTurned;
  };
  order(0, 1);
  order(1, 2);
  order(0, 1);
  return face;
}

}  // namespace

std::vector<bool> facesBothWays(std::span<const std::uint32_t> triangles) {
  const std::size_t count = triangles.size() / 3;
  LargeVector<Face> faces(count);
  for (std::size_t i = 0; i < count; ++i) faces[i] = faceOf(triangles, i);
  std::sort(faces.begin(), faces.end(), [](const Face& a, const Face& b) { return a.places < b.places; });
  std::vector<bool> result(count);
  for (auto begin = faces.begin(); begin != faces.end();) {
    const auto end = std::find_if(begin, faces.end(), [&](const Face& face) { return face.places != begin->places; });
    const bool areBoth = std::any_of(begin, end, [&](const Face& face) { return face.isTurned != begin->isTurned; });
    for (; begin != end; ++begin) result[begin->triangle] = areBoth;
  }
  return result;
}

}  // namespace ornolith
