#pragma once

#include "foundation/JSONCoding.h"
#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// Three 32-bit floats as documents hold them: an object with the keys "x", "y" and "z", all required.
struct CodableVector3 {
  float x = 0;
  float y = 0;
  float z = 0;

  static constexpr CodableVector3 from(simd_float3 vector) noexcept { return {vector.x, vector.y, vector.z}; }
  constexpr simd_float3 simd() const noexcept { return {x, y, z}; }

  static CodableVector3 fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const CodableVector3&) const = default;
};

}  // namespace ornolith
