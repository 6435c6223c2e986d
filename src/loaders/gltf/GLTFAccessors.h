#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <utility>

#include "foundation/LargeVector.h"
#include "foundation/SharedBytes.h"
#include "loaders/gltf/GLTFBuffers.h"
#include "scenegraph/SCNGeometrySource.h"

namespace ornolith {

/// The data of accessors: any component type, normalised or not, interleaved, sparse, or zeros without a buffer view
/// (glTF 2.0, section 3.6.2). What can be used where it stands in the file is not copied; everything else is made once
/// and charged to the budget. All functions throw `GLTFReadError` where the data does not lie inside its views.
class GLTFAccessors {
 public:
  /// What is passed must outlive this object.
  GLTFAccessors(const GLTFDocument& document, GLTFBuffers& buffers, GLTFMemoryBudget& budget)
      : document_(document), buffers_(buffers), budget_(budget) {}

  const GLTFAccessor& record(GLTFIndex accessor) const { return document_.accessors[accessor]; }

  /// Whether the file holds any data for the accessor: one without is all zeros, or waits for a decoder.
  bool hasData(GLTFIndex accessor) const { return record(accessor).bufferView || record(accessor).sparse; }

  /// Components of one element: 3 for VEC3, 16 for MAT4.
  static std::size_t componentCount(GLTFElementType type) noexcept;

  /// All elements as floats, one after the other; integers by their values, or from -1 or 0 to 1 where normalised.
  LargeVector<float> floats(GLTFIndex accessor);

  /// A vertex stream of 32-bit floats at multiples of 4 bytes.
  std::shared_ptr<const SCNGeometrySource> source(GLTFIndex accessor, SCNGeometrySourceSemantic semantic);

  /// Vertex indices of 32 bits.
  struct Indices {
    SharedBytes data;
    std::size_t count = 0;
    std::uint32_t largest = 0;  ///< 0 where there are none.
  };
  /// The indices of an accessor of unsigned integers. Refuses the value that would restart a strip.
  const Indices& indices(GLTFIndex accessor);
  /// The indices 0, 1, 2, ... below `count`.
  Indices sequence(std::uint64_t count);

 private:
  /// Where the elements of an accessor, or of a part of one, stand.
  struct Layout;

  Layout baseLayout(GLTFIndex accessor);
  /// Calls `put(index, bytes)` for each element that a sparse accessor replaces.
  template <typename Put>
  void forEachSparseElement(GLTFIndex accessor, const Put& put);
  void addSparseValues(GLTFIndex accessor, std::span<float> values);
  Indices makeIndices(GLTFIndex accessor);

  const GLTFDocument& document_;
  GLTFBuffers& buffers_;
  GLTFMemoryBudget& budget_;
  std::map<std::pair<GLTFIndex, SCNGeometrySourceSemantic>, std::shared_ptr<const SCNGeometrySource>> sources_;
  std::map<GLTFIndex, SharedBytes> convertedSources_;
  std::map<GLTFIndex, Indices> indices_;
  Indices sequence_;
};

}  // namespace ornolith
