#pragma once

#include <array>

#include "foundation/RawValue.h"

namespace ornolith {

/// The three local axes of a node.
enum class ViewportAxis { x, y, z };

template <>
inline constexpr auto rawValueTable<ViewportAxis> = std::to_array<RawValueEntry<ViewportAxis>>(
    {{ViewportAxis::x, "x"}, {ViewportAxis::y, "y"}, {ViewportAxis::z, "z"}});

}  // namespace ornolith
