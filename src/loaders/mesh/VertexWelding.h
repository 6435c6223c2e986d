#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/LargeVector.h"
#include "loaders/mesh/BytesRead.h"

namespace ornolith {

/// The vertices that some corners are.
struct WeldedCorners {
  LargeVector<std::uint32_t> vertices;  ///< For each corner its vertex. Vertices are numbered as they first occur.
  LargeVector<float> positions;         ///< Three components for each vertex; a zero has no sign.
  LargeVector<std::uint16_t> words;     ///< Of each vertex, where the facets' words count.
  std::uint16_t bitsOfWords = 0;        ///< Those that any of the words has.
};

/// The most corners that can be welded.
inline constexpr std::size_t mostWeldedCorners = 0x7FFFFFFF;

/// Behind a facet's corners may stand a word of 16 bits. Where it counts, the corners of facets with different words
/// are different.
enum class FacetWords { none, noted, counted };

/// Facets one after the other, each with three corners of three 32-bit floats, in the machine's byte order at any
/// address.
struct FacetCorners {
  std::span<const std::byte> bytes;
  std::size_t facetSize = 36;   ///< Bytes from one facet to the next.
  std::size_t firstCorner = 0;  ///< Where in a facet its corners begin.
  FacetWords words = FacetWords::none;
};

/// Makes one vertex of all corners at one place: those whose coordinates have the same bits, but for the sign of zero.
/// It takes time in proportion to the corners, on all threads, and no memory besides the result but a table of about
/// 8 bytes a vertex. The bytes are read once, from front to back. Needs no more than `mostWeldedCorners` corners. The
/// result does not depend on the threads.
WeldedCorners weldedCorners(const FacetCorners& facets, const BytesRead& whenRead = {});

/// The same for facets that are told one after the other, on the calling thread.
class CornerWelding {
 public:
  /// How many are best told at once.
  static constexpr std::size_t facetsAtOnce = 4096;

  /// Memory is set aside for `expectedFacets`. There are at most `mostFacets`, which have no more than
  /// `mostWeldedCorners` corners.
  CornerWelding(std::size_t expectedFacets, std::size_t mostFacets);
  ~CornerWelding();
  CornerWelding(const CornerWelding&) = delete;
  CornerWelding& operator=(const CornerWelding&) = delete;

  /// Takes the corners of further facets, nine components to each.
  void add(std::span<const float> corners);
  /// Gives what has been told, and is then not to be used any more.
  WeldedCorners finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ornolith
