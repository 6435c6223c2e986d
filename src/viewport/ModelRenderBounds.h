#pragma once

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// The box of a model in world space, by its corners, in 32-bit floats.
struct ModelRenderBounds {
  simd_float3 minimum;
  simd_float3 maximum;

  simd_float3 center() const { return (minimum + maximum) * 0.5F; }
  bool operator==(const ModelRenderBounds&) const = default;
};

}  // namespace ornolith
