#pragma once

#include <cstdint>
#include <span>

#include "loaders/mesh/PlaceTable.h"

namespace ornolith {

/// Writes the hashes of the keys of positions, three components each, with no word.
void hashPlaces(const PlaceHash& hash, std::span<const float> positions, std::uint32_t* hashes);

}  // namespace ornolith
