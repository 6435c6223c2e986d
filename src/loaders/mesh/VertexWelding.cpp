#include "loaders/mesh/VertexWelding.h"

#include <sys/auxv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

#include "foundation/Parallel.h"

namespace ornolith {

namespace {

constexpr std::uint32_t numbered = 0x80000000;  // Marks a first corner that has its vertex's number.
constexpr std::size_t cornersOfABlock = std::size_t{1} << 16;
constexpr std::size_t mostShares = 8;
constexpr std::size_t positionSize = 12;

/// What must be equal for corners to be one vertex.
struct Key {
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  bool operator==(const Key&) const = default;
};

/// Multiplicative hashing of vectors (Dietzfelbinger, "Universal hashing and k-wise independent random variables via
/// integer arithmetic without primes", 1996), with multipliers that nobody who makes a file can know: so none can be
/// made whose corners all meet at one place of the table. What is welded does not depend on them.
class Hash {
 public:
  Hash() noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel gives addresses as numbers.
    const auto* random = reinterpret_cast<const std::byte*>(::getauxval(AT_RANDOM));  // Sixteen bytes for this process.
    if (random != nullptr) std::memcpy(multipliers_.data(), random, sizeof multipliers_);
    for (std::uint64_t& multiplier : multipliers_) multiplier |= 1;
  }

  std::uint64_t operator()(const Key& key) const noexcept {
    std::uint64_t hash = key.low * multipliers_[0] + key.high * multipliers_[1];
    hash ^= hash >> 32;
    return hash * 0x9E3779B97F4A7C15U;
  }

 private:
  std::array<std::uint64_t, 2> multipliers_{0x9E3779B97F4A7C15U, 0xC2B2AE3D27D4EB4FU};
};

/// The bits of a position, in which equal coordinates are equal and what is no number is orderly too.
std::array<std::uint32_t, 3> placeBits(const std::byte* position) noexcept {
  std::array<std::uint32_t, 3> bits{};
  std::memcpy(bits.data(), position, positionSize);
  for (std::uint32_t& component : bits) component = component == 0x80000000 ? 0 : component;
  return bits;
}

Key keyOf(const std::byte* position, std::uint32_t word) noexcept {
  const auto [x, y, z] = placeBits(position);
  return {x | std::uint64_t{y} << 32, z | std::uint64_t{word} << 32};
}

class Packed {
 public:
  explicit Packed(const PackedCorners& corners) : bytes_(corners.bytes) {}
  std::size_t count() const noexcept { return bytes_.size() / positionSize; }
  Key key(std::size_t corner) const noexcept { return keyOf(bytes_.data() + corner * positionSize, 0); }

 private:
  std::span<const std::byte> bytes_;
};

class Facets {
 public:
  explicit Facets(const FacetCorners& corners) : bytes_(corners.bytes), wordCounts_(corners.wordCounts) {}
  std::size_t count() const noexcept { return bytes_.size() / facetSize * 3; }
  Key key(std::size_t corner) const noexcept {
    const std::byte* facet = bytes_.data() + corner / 3 * facetSize;
    std::uint16_t word = 0;
    if (wordCounts_) std::memcpy(&word, facet + facetSize - sizeof word, sizeof word);
    return keyOf(facet + positionSize * (1 + corner % 3), word);
  }

 private:
  static constexpr std::size_t facetSize = 50;
  std::span<const std::byte> bytes_;
  bool wordCounts_;
};

/// The first corners of vertices, found by their hashes: open addressing, at most half full.
class FirstCorners {
 public:
  FirstCorners(const Hash& hash, std::size_t expectedCount) : hash_(hash) {
    makeSlots(std::bit_ceil(std::max<std::size_t>(expectedCount, 64)) * 2);
  }

  void prefetch(std::uint64_t hash) const noexcept { __builtin_prefetch(&slots_[hash >> shift_]); }

  /// The first corner with the hash and key of `corner`, which becomes it where there is none.
  template <typename Corners>
  std::uint32_t find(const Corners& corners, std::uint32_t corner, std::uint64_t hash) {
    const auto tag = static_cast<std::uint32_t>(hash);
    for (std::size_t place = hash >> shift_;; place = (place + 1) & (slots_.size() - 1)) {
      Slot& slot = slots_[place];
      if (slot.corner == none) {
        slot = {tag, corner};
        if (++count_ * 2 > slots_.size()) grow(corners);
        return corner;
      }
      if (slot.tag == tag && corners.key(slot.corner) == corners.key(corner)) return slot.corner;
    }
  }

 private:
  static constexpr std::uint32_t none = 0xFFFFFFFF;
  struct Slot {
    std::uint32_t tag = 0;
    std::uint32_t corner = none;
  };

  void makeSlots(std::size_t count) {
    slots_.assign(count, Slot{});
    shift_ = 64 - std::countr_zero(count);
  }

  template <typename Corners>
  void grow(const Corners& corners) {
    LargeVector<Slot> old;
    std::swap(old, slots_);
    makeSlots(old.size() * 2);
    for (const Slot& slot : old) {
      if (slot.corner == none) continue;
      std::size_t place = hash_(corners.key(slot.corner)) >> shift_;
      while (slots_[place].corner != none) place = (place + 1) & (slots_.size() - 1);
      slots_[place] = slot;
    }
  }

  Hash hash_;
  LargeVector<Slot> slots_;
  int shift_ = 0;
  std::size_t count_ = 0;
};

class Numbering {
 public:
  explicit Numbering(std::span<std::uint32_t> corners) : corners_(corners) {}

  LargeVector<std::uint32_t> run() {
    numberFirstCorners();
    takeNumbersOfFirstCorners();
    return std::move(firstCorners_);
  }

 private:
  std::size_t blockCount() const noexcept { return (corners_.size() + cornersOfABlock - 1) / cornersOfABlock; }
  std::size_t endOfBlock(std::size_t block) const noexcept {
    return std::min((block + 1) * cornersOfABlock, corners_.size());
  }

  template <typename Body>
  void forEachBlock(const Body& body) const {
    parallelFor(blockCount(), 1, [&](std::size_t block) { body(block, block * cornersOfABlock, endOfBlock(block)); });
  }

  void numberFirstCorners() {
    std::vector<std::uint32_t> firstNumbers(blockCount() + 1);
    forEachBlock([&](std::size_t block, std::size_t begin, std::size_t end) {
      std::uint32_t firsts = 0;
      for (std::size_t corner = begin; corner < end; ++corner) firsts += corners_[corner] == corner ? 1 : 0;
      firstNumbers[block + 1] = firsts;
    });
    for (std::size_t block = 0; block < blockCount(); ++block) firstNumbers[block + 1] += firstNumbers[block];
    firstCorners_.resize(firstNumbers.back());
    forEachBlock([&](std::size_t block, std::size_t begin, std::size_t end) {
      std::uint32_t number = firstNumbers[block];
      for (std::size_t corner = begin; corner < end; ++corner) {
        if (corners_[corner] != corner) continue;
        firstCorners_[number] = static_cast<std::uint32_t>(corner);
        corners_[corner] = numbered | number++;
      }
    });
  }

  // First corners are read here by all threads and keep their mark until the others have their numbers.
  void takeNumbersOfFirstCorners() {
    forEachBlock([&](std::size_t /*block*/, std::size_t begin, std::size_t end) {
      for (std::size_t corner = begin; corner < end; ++corner) {
        const std::uint32_t first = corners_[corner];
        if ((first & numbered) == 0) corners_[corner] = corners_[first] & ~numbered;
      }
    });
    forEachBlock([&](std::size_t /*block*/, std::size_t begin, std::size_t end) {
      for (std::size_t corner = begin; corner < end; ++corner) corners_[corner] &= ~numbered;
    });
  }

  std::span<std::uint32_t> corners_;
  LargeVector<std::uint32_t> firstCorners_;
};

template <typename Corners>
class Welding {
 public:
  explicit Welding(const Corners& corners) : corners_(corners), count_(corners.count()) {}

  WeldedCorners run() {
    result_.vertices.resize(count_);
    findFirstCorners();
    result_.firstCorners = numberedByFirstCorners(result_.vertices);
    return std::move(result_);
  }

 private:
  // Each thread has a share of the hashes' values and looks at all corners for those that are its own.
  void findFirstCorners() {
    const bool isSmall = count_ < cornersOfABlock;
    const std::size_t shares = isSmall ? 1 : std::bit_ceil(std::min(availableThreadCount(), mostShares));
    parallelFor(shares, 1, [&](std::size_t share) { findFirstCorners(share, shares); });
  }

  void findFirstCorners(std::size_t share, std::size_t shares) {
    constexpr std::size_t batch = 1024;
    constexpr std::size_t ahead = 16;
    struct Wanted {
      std::uint64_t hash;
      std::uint32_t corner;
    };
    std::array<Wanted, batch + ahead> wanted{};
    FirstCorners firsts(hash_, count_ / 6 / shares);
    for (std::size_t begin = 0; begin < count_; begin += batch) {
      const std::size_t end = std::min(begin + batch, count_);
      std::size_t wantedCount = 0;
      for (std::size_t corner = begin; corner < end; ++corner) {
        const std::uint64_t hash = hash_(corners_.key(corner));
        wanted[wantedCount] = {hash, static_cast<std::uint32_t>(corner)};
        wantedCount += ((hash >> 32) & (shares - 1)) == share ? 1 : 0;
      }
      for (std::size_t i = 0; i < std::min(ahead, wantedCount); ++i) firsts.prefetch(wanted[i].hash);
      for (std::size_t i = 0; i < wantedCount; ++i) {
        firsts.prefetch(wanted[i + ahead].hash);
        const std::uint32_t corner = wanted[i].corner;
        result_.vertices[corner] = firsts.find(corners_, corner, wanted[i].hash);
      }
    }
  }

  const Corners& corners_;
  std::size_t count_;
  Hash hash_;
  WeldedCorners result_;
};

}  // namespace

LargeVector<std::uint32_t> numberedByFirstCorners(std::span<std::uint32_t> corners) {
  return Numbering(corners).run();
}

WeldedCorners weldedCorners(const PackedCorners& corners) {
  const Packed packed(corners);
  return Welding(packed).run();
}

WeldedCorners weldedCorners(const FacetCorners& corners) {
  const Facets facets(corners);
  return Welding(facets).run();
}

}  // namespace ornolith
