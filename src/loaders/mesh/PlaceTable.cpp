#include "loaders/mesh/PlaceTable.h"

#include <sys/auxv.h>

#include <algorithm>
#include <bit>

namespace ornolith {

namespace {

/// A sequence of numbers that each depend on all bits of the seed (S. Vigna's SplitMix64).
std::uint64_t nextOf(std::uint64_t& state) noexcept {
  std::uint64_t value = state += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31);
}

}  // namespace

PlaceHash::PlaceHash() noexcept {
  std::array<std::uint64_t, 2> seeds{0x9E3779B97F4A7C15U, 0xC2B2AE3D27D4EB4FU};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel gives addresses as numbers.
  const auto* random = reinterpret_cast<const std::byte*>(::getauxval(AT_RANDOM));  // Sixteen bytes for this process.
  if (random != nullptr) std::memcpy(seeds.data(), random, sizeof seeds);
  for (std::uint64_t& multiplier : multipliers_) multiplier = nextOf(seeds[0]) ^ nextOf(seeds[1]);
}

PlaceTable::PlaceTable(std::size_t expectedCount, std::uint32_t highest)
    : numberBits_(static_cast<int>(std::bit_width(highest + 1))),
      numberMask_(static_cast<std::uint32_t>((std::uint64_t{1} << numberBits_) - 1)) {
  constexpr std::size_t fewestSlots = 16;  // Files of very many small meshes make a table for each.
  makeSlots(std::max(expectedCount / 5 * 9, fewestSlots));
}

void PlaceTable::makeSlots(std::size_t count) {
  slots_.assign(count, 0);
  mostCount_ = count / 8 * 5;
}

}  // namespace ornolith
