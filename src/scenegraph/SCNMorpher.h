#pragma once

#include <cstddef>

namespace ornolith {

/// Marks a node's geometry as having morph targets, which are shown at rest.
struct SCNMorpher {
  std::size_t targetCount = 0;
};

}  // namespace ornolith
