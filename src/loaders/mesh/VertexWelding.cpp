#include "loaders/mesh/VertexWelding.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "loaders/mesh/PlaceTable.h"

namespace ornolith {

namespace {

constexpr std::size_t positionSize = 12;
constexpr std::size_t cornersOfAFacet = 3;
constexpr std::size_t prefetchDistance = 16;

// Corners of facets. A block of them is welded by itself first, in a table that stays in the processor's own memory, as
// most facets share their vertices with near ones; what is left, a sixth, is looked for among the vertices of all
// blocks before, in order.

/// The different corners of a block of facets.
struct WeldedBlock {
  std::vector<PlaceKey> keys;
  std::vector<std::uint32_t> hashes;
  std::vector<std::uint32_t> vertices;  // What they are among those of all blocks.
  std::uint16_t bitsOfWords = 0;
};

class BlockWelding {
 public:
  static constexpr std::size_t facetsOfABlock = 4096;

  explicit BlockWelding(const FacetCorners& facets, const PlaceHash& hash) : facets_(facets), hash_(hash) {}

  /// Gives the corners of the facets from `first` to `end` the numbers of their keys in the block.
  void weld(std::size_t first, std::size_t end, WeldedBlock& block, std::uint32_t* corners) const {
    constexpr std::size_t slotBits = 14;
    std::array<std::uint16_t, std::size_t{1} << slotBits> slots{};  // More than corners; the key's number plus one.
    block.keys.clear();
    block.hashes.clear();
    block.bitsOfWords = 0;
    for (std::size_t facet = first; facet < end; ++facet) {
      const std::byte* position = facets_.bytes.data() + facet * facets_.facetSize + facets_.firstCorner;
      std::uint16_t word = 0;
      if (facets_.words != FacetWords::none) {
        std::memcpy(&word, position + cornersOfAFacet * positionSize, sizeof word);
        block.bitsOfWords |= word;
        if (facets_.words != FacetWords::counted) word = 0;
      }
      for (std::size_t i = 0; i < cornersOfAFacet; ++i, position += positionSize) {
        const PlaceKey key = PlaceKey::at(position, word);
        const std::uint32_t hash = hash_(key);
        std::size_t place = hash >> (32 - slotBits);
        while (slots[place] != 0 && block.keys[slots[place] - 1U] != key) place = (place + 1) % slots.size();
        if (slots[place] == 0) {
          block.keys.push_back(key);
          block.hashes.push_back(hash);
          slots[place] = static_cast<std::uint16_t>(block.keys.size());
        }
        *corners++ = slots[place] - 1U;
      }
    }
  }

 private:
  const FacetCorners& facets_;
  const PlaceHash& hash_;
};

class FacetWelding {
 public:
  FacetWelding(const FacetCorners& facets, const BytesRead& whenRead)
      : facets_(facets),
        whenRead_(whenRead),
        facetCount_(facets.bytes.size() / facets.facetSize),
        blockCount_((facetCount_ + BlockWelding::facetsOfABlock - 1) / BlockWelding::facetsOfABlock),
        expectedCount_(facetCount_ / 2 + facetCount_ / 64),
        table_(expectedCount_, static_cast<std::uint32_t>(facetCount_ * cornersOfAFacet)) {}

  WeldedCorners run() {
    result_.vertices.resize(facetCount_ * cornersOfAFacet);
    result_.positions.reserve(expectedCount_ * 3);
    if (wordsCount()) result_.words.reserve(expectedCount_);
    weldInWaves();
    result_.positions.resize(vertexCount_ * 3);
    return std::move(result_);
  }

 private:
  // While a wave of blocks is welded, one thread takes in the vertices of the wave before, and the corners of the one
  // before that get theirs.
  void weldInWaves() {
    const std::size_t threads = availableThreadCount();
    const std::size_t blocksOfAWave = threads == 1 ? 1 : threads * 2;
    const std::size_t waveCount = (blockCount_ + blocksOfAWave - 1) / blocksOfAWave;
    std::size_t firstFacetNotNoted = 0;
    std::array<std::vector<WeldedBlock>, 3> waves;
    for (std::vector<WeldedBlock>& wave : waves) wave.resize(blocksOfAWave);
    const BlockWelding welding(facets_, hash_);
    for (std::size_t step = 0; step < waveCount + 2; ++step) {
      const auto forBlockOf = [&](std::size_t wave, std::size_t i, const auto& body) {
        const std::size_t block = wave * blocksOfAWave + i;
        if (wave < waveCount && block < blockCount_) body(block, waves[wave % waves.size()][i]);
      };
      const auto weld = [&](std::size_t i) {
        forBlockOf(step, i, [&](std::size_t block, WeldedBlock& welded) {
          welding.weld(firstFacetOf(block), firstFacetOf(block + 1), welded, cornersOf(block));
        });
      };
      const auto takeIn = [&] {
        for (std::size_t i = 0; i < blocksOfAWave && step >= 1; ++i) {
          forBlockOf(step - 1, i, [&](std::size_t /*block*/, WeldedBlock& welded) { takeInVertices(welded); });
        }
      };
      const auto translate = [&](std::size_t i) {
        if (step < 2) return;
        forBlockOf(step - 2, i, [&](std::size_t block, const WeldedBlock& welded) { translateCorners(block, welded); });
      };
      parallelFor(1 + 2 * blocksOfAWave, 1, [&](std::size_t task) {
        if (task == 0) return takeIn();
        task % 2 == 0 ? translate(task / 2 - 1) : weld(task / 2);
      });
      const std::size_t firstFacetNotRead = firstFacetOf((step + 1) * blocksOfAWave);
      if ((firstFacetNotRead - firstFacetNotNoted) * facets_.facetSize < bytesOfAPart) continue;
      noteFacetsRead(std::exchange(firstFacetNotNoted, firstFacetNotRead), firstFacetNotRead);
    }
    noteFacetsRead(firstFacetNotNoted, facetCount_);
  }

  void noteFacetsRead(std::size_t first, std::size_t end) const {
    noteBytesRead(whenRead_, facets_.bytes.subspan(first * facets_.facetSize, (end - first) * facets_.facetSize));
  }

  bool wordsCount() const noexcept { return facets_.words == FacetWords::counted; }

  std::size_t firstFacetOf(std::size_t block) const {
    return std::min(block * BlockWelding::facetsOfABlock, facetCount_);
  }
  std::uint32_t* cornersOf(std::size_t block) {
    return result_.vertices.data() + firstFacetOf(block) * cornersOfAFacet;
  }

  void takeInVertices(WeldedBlock& block) {
    result_.bitsOfWords |= block.bitsOfWords;
    const std::size_t count = block.keys.size();
    block.vertices.resize(count);
    result_.positions.resize((vertexCount_ + count) * 3);
    if (wordsCount()) result_.words.resize(vertexCount_ + count);
    for (std::size_t i = 0; i < std::min(prefetchDistance, count); ++i) table_.prefetch(block.hashes[i]);
    for (std::size_t i = 0; i < count; ++i) {
      if (i + prefetchDistance < count) table_.prefetch(block.hashes[i + prefetchDistance]);
      const PlaceKey& key = block.keys[i];
      const auto added = static_cast<std::uint32_t>(vertexCount_);
      block.vertices[i] = table_.find(
          block.hashes[i], added, [&](std::uint32_t vertex) { return keyOf(vertex) == key; },
          [&](std::uint32_t vertex) { return hash_(vertex == added ? key : keyOf(vertex)); });
      if (block.vertices[i] != added) continue;
      key.copyPosition(result_.positions.data() + vertexCount_ * 3);
      if (wordsCount()) result_.words[vertexCount_] = static_cast<std::uint16_t>(key.word());
      ++vertexCount_;
    }
    if (wordsCount()) result_.words.resize(vertexCount_);
  }

  PlaceKey keyOf(std::uint32_t vertex) const {
    return PlaceKey::at(result_.positions.data() + std::size_t{vertex} * 3, wordsCount() ? result_.words[vertex] : 0);
  }

  void translateCorners(std::size_t block, const WeldedBlock& welded) {
    std::uint32_t* const end = cornersOf(block + 1);
    for (std::uint32_t* corner = cornersOf(block); corner != end; ++corner) *corner = welded.vertices[*corner];
  }

  const FacetCorners& facets_;
  const BytesRead& whenRead_;
  std::size_t facetCount_;
  std::size_t blockCount_;
  std::size_t expectedCount_;
  PlaceHash hash_;
  PlaceTable table_;
  std::size_t vertexCount_ = 0;
  WeldedCorners result_;
};

}  // namespace

WeldedCorners weldedCorners(const FacetCorners& facets, const BytesRead& whenRead) {
  return FacetWelding(facets, whenRead).run();
}

}  // namespace ornolith
