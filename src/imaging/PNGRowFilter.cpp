#include "imaging/PNGRowFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

// This file is compiled once for each instruction set; the rest of the program sees the functions at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imaging/PNGRowFilter.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

constexpr std::size_t pixelBytes = 4;

using ByteTag = hn::ScalableTag<std::uint8_t>;
using Bytes = hn::Vec<ByteTag>;

// Each predictor gives what a filter takes from a byte, for a vector of them and for one: from the byte on the left,
// the one above and the one above that on the left.

struct Sub {
  static Bytes predict(Bytes left, Bytes, Bytes) { return left; }
  static int predict(int left, int, int) { return left; }
};

struct Up {
  static Bytes predict(Bytes, Bytes above, Bytes) { return above; }
  static int predict(int, int above, int) { return above; }
};

struct Average {
  static Bytes predict(Bytes left, Bytes above, Bytes) {
    // The instruction rounds up.
    const Bytes odd = hn::And(hn::Xor(left, above), hn::Set(ByteTag(), 1));
    return hn::Sub(hn::AverageRound(left, above), odd);
  }
  static int predict(int left, int above, int) { return (left + above) / 2; }
};

struct Paeth {
  static Bytes distance(Bytes a, Bytes b) { return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a)); }

  static Bytes predict(Bytes left, Bytes above, Bytes aboveLeft) {
    const Bytes leftDistance = distance(above, aboveLeft);
    const Bytes aboveDistance = distance(left, aboveLeft);
    // The third distance is that of the sum of both differences from zero: the sum of both distances where the
    // differences have one sign, else the distance of the distances. Where the sum saturates it is the largest still.
    const auto aboveRises = hn::Eq(hn::Max(above, aboveLeft), above);
    const auto leftRises = hn::Eq(hn::Max(left, aboveLeft), left);
    const Bytes aboveLeftDistance =
        hn::IfThenElse(hn::Xor(aboveRises, leftRises), distance(leftDistance, aboveDistance),
                       hn::SaturatedAdd(leftDistance, aboveDistance));
    const auto prefersAbove = hn::Eq(hn::Min(aboveDistance, aboveLeftDistance), aboveDistance);
    const auto prefersLeft = hn::Eq(hn::Min(leftDistance, hn::Min(aboveDistance, aboveLeftDistance)), leftDistance);
    return hn::IfThenElse(prefersLeft, left, hn::IfThenElse(prefersAbove, above, aboveLeft));
  }
  static int predict(int left, int above, int aboveLeft) {
    const int leftDistance = std::abs(above - aboveLeft);
    const int aboveDistance = std::abs(left - aboveLeft);
    const int aboveLeftDistance = std::abs(left + above - 2 * aboveLeft);
    if (leftDistance <= aboveDistance && leftDistance <= aboveLeftDistance) return left;
    return aboveDistance <= aboveLeftDistance ? above : aboveLeft;
  }
};

/// The row of which filtered bytes are asked for, by vectors from the second pixel on and by single bytes.
struct Row {
  const std::uint8_t* row;
  const std::uint8_t* above;

  template <typename Predictor>
  std::uint8_t filteredByte(std::size_t i) const {
    const bool isFirst = i < pixelBytes;
    const int left = isFirst ? 0 : row[i - pixelBytes];
    const int aboveLeft = isFirst ? 0 : above[i - pixelBytes];
    return static_cast<std::uint8_t>(row[i] - Predictor::predict(left, int{above[i]}, aboveLeft));
  }

  template <typename Predictor>
  Bytes filteredBytes(std::size_t i) const {
    const ByteTag tag;
    const Bytes left = hn::LoadU(tag, row + i - pixelBytes);
    const Bytes aboveLeft = hn::LoadU(tag, above + i - pixelBytes);
    return hn::Sub(hn::LoadU(tag, row + i), Predictor::predict(left, hn::LoadU(tag, above + i), aboveLeft));
  }
};

/// Adds up the filtered bytes' distances from zero.
template <typename Predictor>
class Cost {
  using SumTag = hn::Repartition<std::uint64_t, ByteTag>;

 public:
  Cost() : sums_(hn::Zero(SumTag())) {}

  void addByte(const Row& row, std::size_t i) {
    const std::uint8_t value = row.filteredByte<Predictor>(i);
    sum_ += std::min(value, static_cast<std::uint8_t>(-value));
  }

  void addBytes(const Row& row, std::size_t i) {
    const Bytes value = row.filteredBytes<Predictor>(i);
    const Bytes magnitude = hn::Min(value, hn::Sub(hn::Zero(ByteTag()), value));
    sums_ = hn::Add(sums_, hn::SumsOf8(magnitude));
  }

  std::uint64_t total() const {
    const SumTag tag;
    HWY_ALIGN std::uint64_t lanes[hn::MaxLanes(tag)];
    hn::Store(sums_, tag, lanes);
    std::uint64_t total = sum_;
    for (std::size_t i = 0; i < hn::Lanes(tag); ++i) total += lanes[i];
    return total;
  }

 private:
  hn::Vec<SumTag> sums_;
  std::uint64_t sum_ = 0;
};

PNGFilter chooseFilter(const std::uint8_t* bytes, const std::uint8_t* above, std::size_t count) {
  const Row row{bytes, above};
  const std::size_t step = hn::Lanes(ByteTag());
  Cost<Sub> sub;
  Cost<Up> up;
  Cost<Average> average;
  Cost<Paeth> paeth;
  const auto addByte = [&](std::size_t i) HWY_ATTR {
    sub.addByte(row, i);
    up.addByte(row, i);
    average.addByte(row, i);
    paeth.addByte(row, i);
  };
  std::size_t i = 0;
  for (; i < std::min(pixelBytes, count); ++i) addByte(i);
  for (; i + step <= count; i += step) {
    sub.addBytes(row, i);
    up.addBytes(row, i);
    average.addBytes(row, i);
    paeth.addBytes(row, i);
  }
  for (; i < count; ++i) addByte(i);

  PNGFilter best = PNGFilter::up;
  std::uint64_t bestCost = up.total() * 4;
  const auto offer = [&](PNGFilter filter, std::uint64_t cost) {
    if (cost >= bestCost) return;
    best = filter;
    bestCost = cost;
  };
  offer(PNGFilter::sub, sub.total() * 4);
  offer(PNGFilter::average, average.total() * 5);
  offer(PNGFilter::paeth, paeth.total() * 5);
  return best;
}

template <typename Predictor>
void filterRow(const Row& row, std::size_t count, std::uint8_t* out) {
  const ByteTag tag;
  const std::size_t step = hn::Lanes(tag);
  std::size_t i = 0;
  for (; i < std::min(pixelBytes, count); ++i) out[i] = row.filteredByte<Predictor>(i);
  for (; i + step <= count; i += step) hn::StoreU(row.filteredBytes<Predictor>(i), tag, out + i);
  for (; i < count; ++i) out[i] = row.filteredByte<Predictor>(i);
}

void applyFilter(PNGFilter filter, const std::uint8_t* bytes, const std::uint8_t* above, std::size_t count,
                 std::uint8_t* out) {
  const Row row{bytes, above};
  switch (filter) {
    case PNGFilter::none:
      std::memcpy(out, bytes, count);
      return;
    case PNGFilter::sub:
      return filterRow<Sub>(row, count, out);
    case PNGFilter::up:
      return filterRow<Up>(row, count, out);
    case PNGFilter::average:
      return filterRow<Average>(row, count, out);
    case PNGFilter::paeth:
      return filterRow<Paeth>(row, count, out);
  }
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(chooseFilter);
HWY_EXPORT(applyFilter);

}  // namespace

PNGFilter choosePNGFilter(const std::uint8_t* row, const std::uint8_t* above, std::size_t count) {
  return HWY_DYNAMIC_DISPATCH(chooseFilter)(row, above, count);
}

void applyPNGFilter(PNGFilter filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                    std::uint8_t* out) {
  HWY_DYNAMIC_DISPATCH(applyFilter)(filter, row, above, count, out);
}

}  // namespace ornolith
#endif
