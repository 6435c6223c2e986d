#include "loaders/gltf/GLTFMeshopt.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ornolith {

namespace {

bool isAllowed(const GLTFMeshoptCompression& compression) noexcept {
  const std::uint64_t stride = compression.byteStride;
  switch (compression.mode) {
    case GLTFMeshoptMode::attributes:
      if (stride == 0 || stride % 4 != 0 || stride > 256) return false;
      break;
    case GLTFMeshoptMode::triangles:
      if ((stride != 2 && stride != 4) || compression.count % 3 != 0) return false;
      break;
    case GLTFMeshoptMode::indices:
      if (stride != 2 && stride != 4) return false;
      break;
  }
  switch (compression.filter) {
    case GLTFMeshoptFilter::none:
      return true;
    case GLTFMeshoptFilter::octahedral:
      return compression.mode == GLTFMeshoptMode::attributes && (stride == 4 || stride == 8);
    case GLTFMeshoptFilter::quaternion:
      return compression.mode == GLTFMeshoptMode::attributes && stride == 8;
    case GLTFMeshoptFilter::exponential:
      return compression.mode == GLTFMeshoptMode::attributes;
  }
  return false;
}

/// 0 where the data is sound.
int decode(const GLTFMeshoptCompression& compression, std::span<const std::byte> source, std::byte* target) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(source.data());
  const auto count = static_cast<std::size_t>(compression.count);
  const auto stride = static_cast<std::size_t>(compression.byteStride);
  switch (compression.mode) {
    case GLTFMeshoptMode::attributes:
      return meshopt_decodeVertexBuffer(target, count, stride, bytes, source.size());
    case GLTFMeshoptMode::triangles:
      return meshopt_decodeIndexBuffer(target, count, stride, bytes, source.size());
    case GLTFMeshoptMode::indices:
      return meshopt_decodeIndexSequence(target, count, stride, bytes, source.size());
  }
  return -1;
}

// Filters, as the extension's appendix B gives them. The library's own take approximate square roots, whose last bits
// depend on the machine.

template <typename Integer>
Integer rounded(float unitValue) noexcept {
  constexpr auto most = static_cast<float>(std::numeric_limits<Integer>::max());
  if (!(std::abs(unitValue) <= 1))
    return std::isnan(unitValue) ? Integer{0} : static_cast<Integer>(unitValue > 0 ? most : -most);
  return static_cast<Integer>(unitValue * most + (unitValue >= 0 ? 0.5F : -0.5F));
}

template <typename Integer>
void undoOctahedralFilter(std::span<std::byte> bytes) {
  for (std::size_t at = 0; at < bytes.size(); at += 4 * sizeof(Integer)) {
    Integer v[4];
    std::memcpy(v, bytes.data() + at, sizeof v);
    const auto one = static_cast<float>(v[2]);
    float x = static_cast<float>(v[0]) / one;
    float y = static_cast<float>(v[1]) / one;
    const float z = 1 - std::abs(x) - std::abs(y);
    const float fold = std::min(z, 0.0F);
    x += x >= 0 ? fold : -fold;
    y += y >= 0 ? fold : -fold;
    const float size = std::sqrt(x * x + y * y + z * z);
    v[0] = rounded<Integer>(x / size);
    v[1] = rounded<Integer>(y / size);
    v[2] = rounded<Integer>(z / size);
    std::memcpy(bytes.data() + at, v, sizeof v);
  }
}

void undoQuaternionFilter(std::span<std::byte> bytes) {
  constexpr float range = 0.70710678F;  // The square root of a half.
  for (std::size_t at = 0; at < bytes.size(); at += 4 * sizeof(std::int16_t)) {
    std::int16_t v[4];
    std::memcpy(v, bytes.data() + at, sizeof v);
    const auto one = static_cast<float>(v[3] | 3);
    const auto largest = static_cast<std::size_t>(v[3] & 3);
    const float x = static_cast<float>(v[0]) / one * range;
    const float y = static_cast<float>(v[1]) / one * range;
    const float z = static_cast<float>(v[2]) / one * range;
    const float w = std::sqrt(std::max(0.0F, 1 - x * x - y * y - z * z));
    v[(largest + 1) % 4] = rounded<std::int16_t>(x);
    v[(largest + 2) % 4] = rounded<std::int16_t>(y);
    v[(largest + 3) % 4] = rounded<std::int16_t>(z);
    v[largest] = rounded<std::int16_t>(w);
    std::memcpy(bytes.data() + at, v, sizeof v);
  }
}

void undoExponentialFilter(std::span<std::byte> bytes) {
  for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint32_t)) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, bytes.data() + at, sizeof bits);
    const auto exponent = static_cast<std::int8_t>(bits >> 24U);
    const std::int32_t mantissa = static_cast<std::int32_t>(bits << 8U) >> 8;
    const float value = std::ldexp(static_cast<float>(mantissa), exponent);
    std::memcpy(bytes.data() + at, &value, sizeof value);
  }
}

void undoFilter(const GLTFMeshoptCompression& compression, std::span<std::byte> bytes) {
  switch (compression.filter) {
    case GLTFMeshoptFilter::none:
      break;
    case GLTFMeshoptFilter::octahedral:
      if (compression.byteStride == 4) {
        undoOctahedralFilter<std::int8_t>(bytes);
      } else {
        undoOctahedralFilter<std::int16_t>(bytes);
      }
      break;
    case GLTFMeshoptFilter::quaternion:
      undoQuaternionFilter(bytes);
      break;
    case GLTFMeshoptFilter::exponential:
      undoExponentialFilter(bytes);
      break;
  }
}

}  // namespace

std::shared_ptr<const std::vector<std::byte>> decompressMeshopt(const GLTFMeshoptCompression& compression,
                                                                std::span<const std::byte> source,
                                                                const std::string& subject, GLTFMemoryBudget& budget) {
  if (!isAllowed(compression))
    throwMalformedGLTF("The compression of " + subject + " has a layout that is not allowed.");
  budget.take(compression.count, compression.byteStride);
  auto bytes =
      std::make_shared<std::vector<std::byte>>(static_cast<std::size_t>(compression.count * compression.byteStride));
  if (!bytes->empty() && decode(compression, source, bytes->data()) != 0) {
    throwMalformedGLTF("The compressed data of " + subject + " is damaged.");
  }
  undoFilter(compression, *bytes);
  return bytes;
}

}  // namespace ornolith
