#include "loaders/mesh/PlaceHashes.h"

// This file is compiled once for each instruction set; the rest of the program sees the function at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/PlaceHashes.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
using IntegerTag = hn::ScalableTag<std::uint32_t>;
using Integers = hn::Vec<IntegerTag>;
using FloatTag = hn::Rebind<float, IntegerTag>;
using WideTag = hn::RepartitionToWide<IntegerTag>;
using Wides = hn::Vec<WideTag>;

/// The sums of the products that a hash is, of the numbers at even places and of those at odd ones. What the upper
/// halves of multipliers add lies in the hash alone.
class Products {
 public:
  explicit Products(std::uint64_t start)
      : even_(hn::Set(WideTag(), start)), odd_(even_), high_(hn::Zero(IntegerTag())) {}

  void add(Integers values, std::uint64_t multiplier) {
    const IntegerTag tag;
    const WideTag wide;
    const Integers low = hn::Set(tag, static_cast<std::uint32_t>(multiplier));
    const Integers upper = hn::BitCast(tag, hn::ShiftRight<32>(hn::BitCast(wide, values)));
    even_ = hn::Add(even_, hn::MulEven(values, low));
    odd_ = hn::Add(odd_, hn::MulEven(upper, low));
    high_ = hn::Add(high_, hn::Mul(values, hn::Set(tag, static_cast<std::uint32_t>(multiplier >> 32))));
  }

  Integers hashes() const {
    const IntegerTag tag;
    const Integers even = hn::BitCast(tag, hn::ShiftRight<32>(even_));
    return hn::Add(hn::OddEven(hn::BitCast(tag, odd_), even), high_);
  }

 private:
  Wides even_;
  Wides odd_;
  Integers high_;
};

std::size_t hashMost(const PlaceHash& hash, std::span<const float> positions, std::uint32_t* hashes) {
  const IntegerTag tag;
  const FloatTag floats;
  const auto& multipliers = hash.multipliers();
  const std::size_t count = positions.size() / 3;
  const auto withoutSignOfZero = [&](hn::Vec<FloatTag> value) {
    return hn::BitCast(tag, hn::IfThenZeroElse(hn::Eq(value, hn::Zero(floats)), value));
  };
  std::size_t first = 0;
  for (; first + hn::Lanes(tag) <= count; first += hn::Lanes(tag)) {
    hn::Vec<FloatTag> x, y, z;
    hn::LoadInterleaved3(floats, positions.data() + first * 3, x, y, z);
    Products products(multipliers[0]);
    products.add(withoutSignOfZero(x), multipliers[1]);
    products.add(withoutSignOfZero(y), multipliers[2]);
    products.add(withoutSignOfZero(z), multipliers[3]);
    hn::StoreU(products.hashes(), tag, hashes + first);
  }
  return first;
}
#else
std::size_t hashMost(const PlaceHash& /*hash*/, std::span<const float> /*positions*/, std::uint32_t* /*hashes*/) {
  return 0;
}
#endif

void hashAll(const PlaceHash& hash, std::span<const float> positions, std::uint32_t* hashes) {
  for (std::size_t i = hashMost(hash, positions, hashes); i < positions.size() / 3; ++i) {
    hashes[i] = hash(PlaceKey::at(positions.data() + i * 3));
  }
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(hashAll);

}  // namespace

void hashPlaces(const PlaceHash& hash, std::span<const float> positions, std::uint32_t* hashes) {
  HWY_DYNAMIC_DISPATCH(hashAll)(hash, positions, hashes);
}

}  // namespace ornolith
#endif
