#include "loaders/mesh/CoincidingVertices.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <optional>
#include <utility>

#include "foundation/LargeVector.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/PlaceHashes.h"
#include "loaders/mesh/PlaceTable.h"

namespace ornolith {

namespace {

constexpr std::size_t prefetchDistance = 16;

/// A set of hashes that may also hold others: one bit for all that are alike in some bits behind the first ones.
class HashFilter {
 public:
  /// Empties it, and gives it at least that many bits.
  void begin(std::size_t bitCount, int bitsPassedOver) {
    const int bits = static_cast<int>(std::bit_width(std::clamp(bitCount, fewestBits, mostBits) - 1));
    bitsPassedOver_ = bitsPassedOver;
    shift_ = 32 - bits;
    words_.assign((std::size_t{1} << bits) / bitsOfAWord, 0);
  }

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

  std::uint32_t numberOf(std::uint32_t hash) const noexcept { return (hash << bitsPassedOver_) >> shift_; }
  std::size_t wordOf(std::uint32_t hash) const noexcept { return numberOf(hash) / bitsOfAWord; }
  std::uint64_t bitOf(std::uint32_t hash) const noexcept { return std::uint64_t{1} << (numberOf(hash) % bitsOfAWord); }

  int bitsPassedOver_ = 0;
  int shift_ = 0;
  LargeVector<std::uint64_t> words_;
};

/// A set of hashes, and zero, which it always holds.
class HashSet {
 public:
  /// Empties it, for up to that many.
  void begin(std::size_t mostHashes) { slots_.assign(std::bit_ceil(mostHashes * 2 + 2), 0); }

  bool holds(std::uint32_t hash) const noexcept { return slots_[placeOf(hash)] == hash; }
  /// Takes it in, and tells whether it was there.
  bool add(std::uint32_t hash) noexcept {
    std::uint32_t& slot = slots_[placeOf(hash)];
    return std::exchange(slot, hash) == hash;
  }

 private:
  /// Where the hash is or would be.
  std::size_t placeOf(std::uint32_t hash) const noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t place = (std::uint64_t{hash} * 0x9E3779B1U >> 7U) & mask;
    while (slots_[place] != 0 && slots_[place] != hash) place = (place + 1) & mask;
    return place;
  }

  std::vector<std::uint32_t> slots_;
};

/// The hashes that several vertices have. They are sorted into parts by their first bits, so that what is known of a
/// part stays in the processor's own memory: which of its hashes may occur several times, by one bit for each; and of
/// these, which do.
class RepeatedHashes {
 public:
  explicit RepeatedHashes(std::size_t expected)
      : partBits_(static_cast<int>(std::bit_width(std::min(expected / hashesOfAPart, mostParts)))),
        capacity_((expected >> partBits_) + (expected >> (partBits_ + 4)) + spareHashes),
        ends_(std::size_t{1} << partBits_),
        hashes_(capacity_ << partBits_) {
    for (std::size_t part = 0; part < ends_.size(); ++part) ends_[part] = part * capacity_;
  }

  /// False where there are more hashes in a part than different ones make likely.
  bool add(std::uint32_t hash) noexcept {
    const std::size_t part = std::uint64_t{hash} << partBits_ >> 32U;
    if (ends_[part] == (part + 1) * capacity_) return false;
    hashes_[ends_[part]++] = hash;
    return true;
  }

  /// Some may be there several times, or without need.
  std::vector<std::uint32_t> find() {
    std::vector<std::uint32_t> repeated;
    for (std::size_t part = 0; part < ends_.size(); ++part) findIn(part, repeated);
    return repeated;
  }

 private:
  static constexpr std::size_t hashesOfAPart = std::size_t{1} << 15;
  static constexpr std::size_t mostParts = 255;
  static constexpr std::size_t spareHashes = 1024;

  void findIn(std::size_t part, std::vector<std::uint32_t>& repeated) {
    constexpr std::size_t bitsOfAHash = 12;
    constexpr std::size_t bitsOfADoubtfulHash = 32;
    const auto hashes = std::span(hashes_).subspan(part * capacity_, ends_[part] - part * capacity_);
    doubtful_.clear();
    seen_.begin(hashes.size() * bitsOfAHash, partBits_);
    for (const std::uint32_t hash : hashes) {
      if (seen_.add(hash)) doubtful_.push_back(hash);
    }
    if (doubtful_.empty()) return;
    // By their last bits, as they are alike in the first ones.
    several_.begin(doubtful_.size() * bitsOfADoubtfulHash, 0);
    for (const std::uint32_t hash : doubtful_) several_.add(std::rotr(hash, 16));
    doubtful_.clear();
    for (const std::uint32_t hash : hashes) {
      if (several_.mayHold(std::rotr(hash, 16))) doubtful_.push_back(hash);
    }
    repeats_.begin(doubtful_.size());
    for (const std::uint32_t hash : doubtful_) {
      if (repeats_.add(hash)) repeated.push_back(hash);
    }
  }

  int partBits_;
  std::size_t capacity_;
  std::vector<std::size_t> ends_;  // Of each part, among the hashes.
  LargeVector<std::uint32_t> hashes_;
  HashFilter seen_;
  HashFilter several_;
  HashSet repeats_;
  std::vector<std::uint32_t> doubtful_;
};

/// Few vertices stand at one place in most meshes. So only those are compared whose hash several have.
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
    constexpr std::size_t verticesOfARepeat = 8;
    constexpr std::size_t bitsOfARepeat = 32;
    const std::size_t expected = count_ / shares_ + 1;
    const std::optional<std::vector<std::uint32_t>> repeated = repeatedHashes(share, expected);
    if (!repeated || repeated->size() * verticesOfARepeat > expected) return compareAll(share, expected);
    if (repeated->empty()) return;
    HashFilter several;
    several.begin(repeated->size() * bitsOfARepeat, 0);
    HashSet surely;
    surely.begin(repeated->size());
    for (const std::uint32_t hash : *repeated) {
      several.add(hash);
      surely.add(hash);
    }
    PlaceTable table(repeated->size() * 3, highest());
    forEachOf(
        share, [](std::uint32_t /*hash*/) {},
        [&](std::uint32_t hash, std::uint32_t vertex) {
          if (several.mayHold(hash) && surely.holds(hash)) compare(share, table, hash, vertex);
          return true;
        });
  }

  /// Nothing where very many are.
  std::optional<std::vector<std::uint32_t>> repeatedHashes(std::size_t share, std::size_t expected) const {
    RepeatedHashes hashes(expected);
    bool areLikely = true;
    forEachOf(
        share, [](std::uint32_t /*hash*/) {},
        [&](std::uint32_t hash, std::uint32_t /*vertex*/) { return areLikely = hashes.add(hash); });
    if (!areLikely) return std::nullopt;
    return hashes.find();
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
    std::array<std::uint32_t, batch + prefetchDistance> hashes{};
    std::array<std::uint32_t, batch> vertices{};
    for (std::size_t begin = 0; begin < count_; begin += batch) {
      const std::size_t end = std::min(begin + batch, count_);
      hashPlaces(hash_, positions_.subspan(begin * 3, (end - begin) * 3), hashes.data());
      std::iota(vertices.begin(), vertices.end(), static_cast<std::uint32_t>(begin));
      const std::size_t wantedCount = keepShare(share, std::span(hashes).first(end - begin), vertices);
      for (std::size_t i = 0; i < std::min(prefetchDistance, wantedCount); ++i) beforehand(hashes[i]);
      for (std::size_t i = 0; i < wantedCount; ++i) {
        beforehand(hashes[i + prefetchDistance]);
        if (!body(hashes[i], vertices[i])) return;
      }
    }
  }

  /// Moves the hashes of a share to the front, and their vertices, and gives their number.
  std::size_t keepShare(std::size_t share, std::span<std::uint32_t> hashes, std::span<std::uint32_t> vertices) const {
    if (shares_ == 1) return hashes.size();
    std::size_t count = 0;
    for (std::size_t i = 0; i < hashes.size(); ++i) {
      // The front of the product tells the share; what is left is a hash again.
      const std::uint64_t product = std::uint64_t{hashes[i]} * shares_;
      hashes[count] = static_cast<std::uint32_t>(product);
      vertices[count] = vertices[i];
      count += product >> 32 == share ? 1 : 0;
    }
    return count;
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
