#include "loaders/mesh/CoincidingVertices.h"

#include <algorithm>
#include <array>
#include <bit>

#include "foundation/LargeVector.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/PlaceTable.h"

namespace ornolith {

namespace {

constexpr std::size_t prefetchDistance = 16;

/// A set of hashes that may also hold others: one bit for all that begin alike.
class HashFilter {
 public:
  /// At least that many bits.
  explicit HashFilter(std::size_t bitCount)
      : shift_(32 - static_cast<int>(std::bit_width(std::clamp(bitCount, fewestBits, mostBits) - 1))),
        words_((std::size_t{1} << (32 - shift_)) / bitsOfAWord, 0) {}

  void prefetch(std::uint32_t hash) const noexcept { __builtin_prefetch(&words_[wordOf(hash)], 1); }
  bool mayHold(std::uint32_t hash) const noexcept { return (words_[wordOf(hash)] & bitOf(hash)) != 0; }
  /// Takes it in, and tells whether it may have been there.
  bool add(std::uint32_t hash) noexcept {
    std::uint64_t& word = words_[wordOf(hash)];
    const std::uint64_t bit = bitOf(hash);
    const bool wasThere = (word & bit) != 0;
    word |= bit;
    return wasThere;
  }

 private:
  static constexpr std::size_t bitsOfAWord = 64;
  static constexpr std::size_t fewestBits = std::size_t{1} << 10;
  static constexpr std::size_t mostBits = std::size_t{1} << 32;

  std::size_t wordOf(std::uint32_t hash) const noexcept { return (hash >> shift_) / bitsOfAWord; }
  std::uint64_t bitOf(std::uint32_t hash) const noexcept {
    return std::uint64_t{1} << ((hash >> shift_) % bitsOfAWord);
  }

  int shift_;
  LargeVector<std::uint64_t> words_;
};

/// Few vertices stand at one place in most meshes. So first a set that needs little memory tells which hashes may occur
/// several times, and only vertices with one of these are compared, by a table.
class VertexSearch {
 public:
  struct Repeated {
    std::uint32_t vertex;
    std::uint32_t first;
  };

  explicit VertexSearch(std::span<const float> positions) : positions_(positions), count_(positions.size() / 3) {}

  /// The vertices that stand where one before them does, in a list for each thread.
  std::vector<LargeVector<Repeated>> run() {
    constexpr std::size_t verticesWorthAThread = std::size_t{1} << 15;
    constexpr std::size_t mostShares = 8;
    shares_ = std::clamp<std::size_t>(count_ / verticesWorthAThread, 1, std::min(availableThreadCount(), mostShares));
    repeated_.resize(shares_);
    parallelFor(shares_, 1, [&](std::size_t share) { search(share); });
    return std::move(repeated_);
  }

 private:
  // Each thread has a share of the hashes' values and looks at all vertices for those that are its own.
  void search(std::size_t share) {
    constexpr std::size_t bitsOfAVertex = 16;
    constexpr std::size_t bitsOfAHash = 32;
    constexpr std::size_t verticesOfAHash = 8;
    const std::size_t expected = count_ / shares_ + 1;
    LargeVector<std::uint32_t> hashes;
    {
      HashFilter seen(expected * bitsOfAVertex);
      forEachOf(
          share, [&](std::uint32_t hash) { seen.prefetch(hash); },
          [&](std::uint32_t hash, std::uint32_t /*vertex*/) {
            if (seen.add(hash)) hashes.push_back(turned(hash));
            return hashes.size() * verticesOfAHash <= expected;
          });
    }
    if (hashes.empty()) return;
    if (hashes.size() * verticesOfAHash > expected) return compareAll(share, expected);
    HashFilter several(hashes.size() * bitsOfAHash);
    for (const std::uint32_t hash : hashes) several.add(hash);
    PlaceTable table(hashes.size() * 3, highest());
    forEachOf(
        share, [](std::uint32_t /*hash*/) {},
        [&](std::uint32_t hash, std::uint32_t vertex) {
          if (several.mayHold(turned(hash))) compare(share, table, hash, vertex);
          return true;
        });
  }

  void compareAll(std::size_t share, std::size_t expected) {
    PlaceTable table(expected, highest());
    forEachOf(
        share, [&](std::uint32_t hash) { table.prefetch(hash); },
        [&](std::uint32_t hash, std::uint32_t vertex) {
          compare(share, table, hash, vertex);
          return true;
        });
  }

  /// The last bits first: hashes that began alike differ there.
  static std::uint32_t turned(std::uint32_t hash) noexcept { return std::rotl(hash, 16) * 0x9E3779B1U; }

  std::uint32_t highest() const noexcept { return static_cast<std::uint32_t>(std::max<std::size_t>(count_, 1) - 1); }

  void compare(std::size_t share, PlaceTable& table, std::uint32_t hash, std::uint32_t vertex) {
    const std::uint32_t first = table.find(
        hash, vertex, [&](std::uint32_t other) { return keyOf(other) == keyOf(vertex); },
        [&](std::uint32_t other) { return static_cast<std::uint32_t>(hash_(keyOf(other)) * shares_); });
    if (first != vertex) repeated_[share].push_back({vertex, first});
  }

  /// Calls `body(hash, vertex)` for the vertices of the share, in their order, until it says false; and
  /// `beforehand(hash)` some time before that.
  template <typename Beforehand, typename Body>
  void forEachOf(std::size_t share, const Beforehand& beforehand, const Body& body) const {
    constexpr std::size_t batch = 1024;
    struct Wanted {
      std::uint32_t hash;
      std::uint32_t vertex;
    };
    std::array<Wanted, batch + prefetchDistance> wanted{};
    for (std::size_t begin = 0; begin < count_; begin += batch) {
      const std::size_t end = std::min(begin + batch, count_);
      std::size_t wantedCount = 0;
      for (std::size_t vertex = begin; vertex < end; ++vertex) {
        // The front of the product tells the share; what is left is a hash again.
        const std::uint64_t product = std::uint64_t{hash_(keyOf(static_cast<std::uint32_t>(vertex)))} * shares_;
        wanted[wantedCount] = {static_cast<std::uint32_t>(product), static_cast<std::uint32_t>(vertex)};
        wantedCount += product >> 32 == share ? 1 : 0;
      }
      for (std::size_t i = 0; i < std::min(prefetchDistance, wantedCount); ++i) beforehand(wanted[i].hash);
      for (std::size_t i = 0; i < wantedCount; ++i) {
        beforehand(wanted[i + prefetchDistance].hash);
        if (!body(wanted[i].hash, wanted[i].vertex)) return;
      }
    }
  }

  PlaceKey keyOf(std::uint32_t vertex) const { return PlaceKey::at(positions_.data() + std::size_t{vertex} * 3); }

  std::span<const float> positions_;
  std::size_t count_;
  std::size_t shares_ = 1;
  PlaceHash hash_;
  std::vector<LargeVector<Repeated>> repeated_;  // Of each share.
};

}  // namespace

CoincidingVertices::CoincidingVertices(std::span<const float> positions) {
  const std::size_t count = positions.size() / 3;
  const auto repeated = VertexSearch(positions).run();
  if (std::all_of(repeated.begin(), repeated.end(), [](const auto& list) { return list.empty(); })) return;
  stepsToFirst_ = LazyZeros<std::uint32_t>(count);
  concernedBefore_.resize((count + verticesOfAPage - 1) / verticesOfAPage + 1);
  for (const auto& list : repeated) {
    for (const auto& [vertex, first] : list) {
      stepsToFirst_.values()[vertex] = vertex - first;
      concernedBefore_[vertex / verticesOfAPage + 1] = 1;
      concernedBefore_[first / verticesOfAPage + 1] = 1;
    }
  }
  for (std::size_t page = 1; page < concernedBefore_.size(); ++page) {
    concernedBefore_[page] += concernedBefore_[page - 1];
  }
}

}  // namespace ornolith
