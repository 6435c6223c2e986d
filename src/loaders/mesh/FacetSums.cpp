#include "loaders/mesh/FacetSums.h"

#include <algorithm>
#include <cstring>

// This file is compiled once for each instruction set; the rest of the program sees the functions at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/FacetSums.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

#include "foundation/Math.h"
#include "loaders/mesh/VectorGeometry-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::ScalableTag<float>;
using Floats = hn::Vec<FloatTag>;
using FloatMask = hn::Mask<FloatTag>;

// Lengths to the fourth power between these are far enough from where floats end.
constexpr float smallestSquare = 0x1p-115F;
constexpr float largestSquare = 0x1p115F;
// Of the sine between two edges, squared: below it, rounding turns the normal by more than 2e-5.
constexpr float leastSineSquare = 0x1p-14F;
// Of facets that passed, up to these a count is exact and sums are as good as needed.
constexpr float mostFacets = 256;
constexpr float mostFacetsOfOneGroup = 0x1p19F;
constexpr float countOfDoubtfulFacet = 0x1p20F;

/// The rows or the columns of a matrix of four by four in each block of a vector.
template <typename Vector>
struct Four {
  Vector a, b, c, d;
};

#if HWY_TARGET != HWY_SCALAR
/// Turns rows to columns in each block by itself.
template <class Tag, typename Vector = hn::Vec<Tag>>
Four<Vector> transposed(Tag tag, const Four<Vector>& rows) {
  const hn::Repartition<double, Tag> pairs;
  const auto asPairs = [&](Vector value) { return hn::BitCast(pairs, value); };
  const auto low = [&](Vector p, Vector q) {
    return hn::BitCast(tag, hn::InterleaveLower(pairs, asPairs(p), asPairs(q)));
  };
  const auto high = [&](Vector p, Vector q) {
    return hn::BitCast(tag, hn::InterleaveUpper(pairs, asPairs(p), asPairs(q)));
  };
  const Vector lowFirst = hn::InterleaveLower(tag, rows.a, rows.b);
  const Vector lowSecond = hn::InterleaveLower(tag, rows.c, rows.d);
  const Vector highFirst = hn::InterleaveUpper(tag, rows.a, rows.b);
  const Vector highSecond = hn::InterleaveUpper(tag, rows.c, rows.d);
  return {low(lowFirst, lowSecond), high(lowFirst, lowSecond), low(highFirst, highSecond), high(highFirst, highSecond)};
}
#endif

using Row = std::array<float, 4>;

/// The columns of as many rows as a vector has numbers, in an order that depends on the instruction set.
Four<Floats> loadColumns(const Row* rows) {
  const FloatTag tag;
#if HWY_TARGET == HWY_SCALAR
  const auto load = [&](std::size_t i) { return hn::LoadU(tag, rows->data() + i); };
  return {load(0), load(1), load(2), load(3)};
#else
  const std::size_t rowsOfAVector = hn::Lanes(tag) / 4;
  const auto load = [&](std::size_t i) { return hn::Load(tag, rows[i * rowsOfAVector].data()); };
  return transposed(tag, Four<Floats>{load(0), load(1), load(2), load(3)});
#endif
}

/// Stores columns as rows, in the same order.
void storeColumns(const Four<Floats>& columns, Row* rows) {
  const FloatTag tag;
#if HWY_TARGET == HWY_SCALAR
  const auto store = [&](Floats value, std::size_t i) { hn::StoreU(value, tag, rows->data() + i); };
  const Four<Floats>& turned = columns;
#else
  const std::size_t rowsOfAVector = hn::Lanes(tag) / 4;
  const auto store = [&](Floats row, std::size_t i) { hn::Store(row, tag, rows[i * rowsOfAVector].data()); };
  const Four<Floats> turned = transposed(tag, columns);
#endif
  store(turned.a, 0);
  store(turned.b, 1);
  store(turned.c, 2);
  store(turned.d, 3);
}

/// Facets to be measured at once.
struct Batch {
  static constexpr std::size_t capacity = 64;
  using Rows = std::array<Row, capacity>;

  alignas(64) std::array<Rows, 3> corners{};  // Positions, whose fourth component means nothing.

  // What is found; zero, but the count, for a facet in doubt.
  alignas(64) Rows normals{};     // As long as twice the area.
  alignas(64) Rows directions{};  // Of unit length, and what counts for the facet.
  alignas(64) Rows angles{};      // At the three corners.
};

Vectors<Floats> loadCorners(const Row* corners) {
  const Four<Floats> columns = loadColumns(corners);
  return {columns.a, columns.b, columns.c};
}

void measure(Batch& batch, std::size_t count) {
  const FloatTag tag;
  for (std::size_t i = 0; i < count; i += hn::Lanes(tag)) {
    const Vectors<Floats> p = loadCorners(&batch.corners[0][i]);
    const Vectors<Floats> q = loadCorners(&batch.corners[1][i]);
    const Vectors<Floats> r = loadCorners(&batch.corners[2][i]);
    const Vectors<Floats> a = difference(q, p);
    const Vectors<Floats> b = difference(r, p);
    const Vectors<Floats> c = difference(r, q);
    const Vectors<Floats> normal = cross(a, b);
    const Floats square = dot(normal, normal);
    const Floats leastSquare = hn::Mul(hn::Mul(dot(a, a), dot(b, b)), hn::Set(tag, leastSineSquare));
    const FloatMask isInRange =
        hn::And(hn::Ge(square, hn::Set(tag, smallestSquare)), hn::Le(square, hn::Set(tag, largestSquare)));
    const FloatMask isSure = hn::And(isInRange, hn::Ge(square, leastSquare));
    const auto kept = [&](Floats value) { return hn::IfThenElseZero(isSure, value); };

    const Floats area = hn::Sqrt(square);
    const Floats inverse = hn::Div(hn::Set(tag, 1), area);
    const auto direction = [&](Floats component) { return kept(hn::Mul(component, inverse)); };
    const Floats weight = hn::IfThenElse(isSure, hn::Set(tag, 1), hn::Set(tag, countOfDoubtfulFacet));
    storeColumns({kept(normal.x), kept(normal.y), kept(normal.z), hn::Zero(tag)}, &batch.normals[i]);
    storeColumns({direction(normal.x), direction(normal.y), direction(normal.z), weight}, &batch.directions[i]);

    const Floats first = angleOf(area, dot(a, b));
    const Floats second = angleOf(area, hn::Neg(dot(a, c)));
    const Floats left = hn::Sub(hn::Sub(hn::Set(tag, static_cast<float>(math::pi)), first), second);
    const Floats third = hn::IfThenElse(hn::Gt(left, hn::Zero(tag)), left, hn::Zero(tag));
    storeColumns({kept(first), kept(second), kept(third), hn::Zero(tag)}, &batch.angles[i]);
  }
}

/// Adds measured facets to sums.
class Scattering {
 public:
  explicit Scattering(const Batch& batch) : batch_(batch) {}

  void add(std::size_t facet, PlaceSum& first, PlaceSum& second, PlaceSum& third) const {
    const auto& angles = batch_.angles[facet];
    add(facet, angles[0], first);
    add(facet, angles[1], second);
    add(facet, angles[2], third);
  }

 private:
  void add(std::size_t facet, float angle, PlaceSum& sum) const {
    const Row& normal = batch_.normals[facet];
    const Row& direction = batch_.directions[facet];
    float* const values = sum.values.data();
#if HWY_TARGET == HWY_SCALAR
    for (std::size_t i = 0; i < 4; ++i) {
      values[i] += normal[i] * angle;
      values[i + 4] += direction[i];
    }
#elif HWY_TARGET <= HWY_AVX2
    const hn::CappedTag<float, 4> half;
    const hn::CappedTag<float, 8> tag;
    const auto facets = hn::Combine(tag, hn::Load(half, direction.data()), hn::Load(half, normal.data()));
    const auto factors = hn::Combine(tag, hn::Set(half, 1.0F), hn::Set(half, angle));
    hn::Store(hn::Add(hn::Load(tag, values), hn::Mul(facets, factors)), tag, values);
#else
    const hn::CappedTag<float, 4> tag;
    const auto weighted = hn::Mul(hn::Load(tag, normal.data()), hn::Set(tag, angle));
    hn::Store(hn::Add(hn::Load(tag, values), weighted), tag, values);
    hn::Store(hn::Add(hn::Load(tag, values + 4), hn::Load(tag, direction.data())), tag, values + 4);
#endif
  }

  const Batch& batch_;
};

void copyPosition(const float* position, Row& place) {
  std::memcpy(place.data(), position, sizeof place);
}

/// The way of most triangles.
void addInside(const MeshPlaces& places, std::span<const std::uint32_t> triangles, const PlaceRange& range,
               PlaceSum* sums) {
  Batch batch;
  const Scattering scattering(batch);
  const float* const positions = places.positions.data();
  const auto sumOf = [&](std::uint32_t vertex) -> PlaceSum& { return sums[std::size_t{vertex} - range.first]; };
  for (std::size_t first = 0; first < triangles.size(); first += Batch::capacity * 3) {
    const std::uint32_t* const corners = triangles.data() + first;
    const std::size_t count = std::min(Batch::capacity, (triangles.size() - first) / 3);
    for (std::size_t facet = 0; facet < count; ++facet) {
      for (std::size_t i = 0; i < 3; ++i) {
        copyPosition(positions + std::size_t{corners[facet * 3 + i]} * 3, batch.corners[i][facet]);
      }
    }
    measure(batch, count);
    for (std::size_t facet = 0; facet < count; ++facet) {
      const std::uint32_t* const of = corners + facet * 3;
      scattering.add(facet, sumOf(of[0]), sumOf(of[1]), sumOf(of[2]));
    }
  }
}

/// Facets that have a corner in the range, until a batch of them is full.
class Adding {
 public:
  Adding(const MeshPlaces& places, const PlaceRange& range, std::span<PlaceSum> sums, std::span<std::uint8_t> used)
      : places_(places), range_(range), sums_(sums), used_(used) {
    // Positions are loaded by four numbers, and behind the last one there is nothing.
    const std::size_t vertexCount = places.positions.size() / 3;
    last_ = static_cast<std::uint32_t>(vertexCount - 1);
    std::memcpy(lastPosition_.data(), places.positions.data() + std::size_t{last_} * 3, 3 * sizeof(float));
  }

  template <bool mayCoincide>
  void add(std::span<const std::uint32_t> triangles) {
    for (std::size_t first = 0; first < triangles.size(); first += 3) {
      std::uint32_t nearest = range_.count;
      for (std::size_t corner = 0; corner < 3; ++corner) {
        const std::uint32_t vertex = triangles[first + corner];
        const std::uint32_t number = range_.numberOf(mayCoincide ? places_.placeOf(vertex) : vertex);
        if (mayCoincide && number < range_.count) used_[vertex] = vertex_use::inTriangle;
        nearest = std::min(nearest, number);
        numbers_[corner][count_] = number;
        const float* const position = places_.positions.data() + std::size_t{vertex} * 3;
        copyPosition(vertex == last_ ? lastPosition_.data() : position, batch_.corners[corner][count_]);
      }
      count_ += nearest < range_.count ? 1 : 0;
      if (count_ == Batch::capacity) finishBatch();
    }
    finishBatch();
  }

 private:
  void finishBatch() {
    measure(batch_, count_);
    const Scattering scattering(batch_);
    for (std::size_t facet = 0; facet < count_; ++facet) {
      scattering.add(facet, sums_[numbers_[0][facet]], sums_[numbers_[1][facet]], sums_[numbers_[2][facet]]);
    }
    count_ = 0;
  }

  const MeshPlaces& places_;
  const PlaceRange range_;
  std::span<PlaceSum> sums_;
  std::span<std::uint8_t> used_;
  std::uint32_t last_ = 0;
  Row lastPosition_{};
  Batch batch_;
  std::array<std::array<std::uint32_t, Batch::capacity>, 3> numbers_{};
  std::size_t count_ = 0;
};

void addAll(const MeshPlaces& places, std::span<const std::uint32_t> triangles, CornersLie cornersLie,
            const PlaceRange& range, std::span<PlaceSum> sums, std::span<std::uint8_t> used) {
  if (triangles.empty()) return;
  if (cornersLie == CornersLie::inside) return addInside(places, triangles, range, sums.data());
  Adding adding(places, range, sums, used);
  if (cornersLie == CornersLie::apart) {
    adding.add<false>(triangles);
  } else {
    adding.add<true>(triangles);
  }
}

// At most eight sums at once, so that a vector has whole ones or halves.
using SumTag = hn::CappedTag<float, 8>;
using Sums = hn::Vec<SumTag>;

/// Which of the sums have facets that lie within 60 degrees of each other, or where smooth everywhere do not cancel
/// each other out. The fourth components count the facets, and are so small here that rounding does not reach the
/// difference of what is asked for and what is needed.
hn::Mask<SumTag> isSmooth(const Four<Sums>& directions, Smoothness smoothness) {
  constexpr float mostLost = 0.25F;  // 2 (1 - cos 30) is 0.268.
  const SumTag tag;
  const Sums& count = directions.d;
  const Vectors<Sums> sum{directions.a, directions.b, directions.c};
  const Sums square = dot(sum, sum);
  if (smoothness == Smoothness::everywhere) {
    const auto isCounted = hn::And(hn::Ge(count, hn::Set(tag, 1)), hn::Le(count, hn::Set(tag, mostFacetsOfOneGroup)));
    return hn::And(isCounted, hn::Ge(square, hn::Mul(hn::Mul(count, count), hn::Set(tag, 0.25F))));
  }
  const auto isCounted = hn::And(hn::Ge(count, hn::Set(tag, 1)), hn::Le(count, hn::Set(tag, mostFacets)));
  const Sums least = hn::Sub(count, hn::Set(tag, mostLost));
  const Sums most = hn::Add(count, hn::Set(tag, mostLost));
  const auto isNear = hn::And(hn::Ge(square, hn::Mul(least, least)), hn::Le(square, hn::Mul(most, most)));
  return hn::And(isCounted, isNear);
}

/// Four of the values, from `offset`, of as many sums as a vector has numbers, in order.
Four<Sums> columnsOf(const PlaceSum* sums, std::size_t offset) {
  const SumTag tag;
#if HWY_TARGET == HWY_SCALAR
  const auto load = [&](std::size_t i) { return hn::LoadU(tag, sums->values.data() + offset + i); };
  return {load(0), load(1), load(2), load(3)};
#else
  const hn::CappedTag<float, 4> half;
  const auto load = [&](std::size_t i) {
    const auto first = hn::Load(half, sums[i].values.data() + offset);
#if HWY_TARGET <= HWY_AVX2
    return hn::Combine(tag, hn::Load(half, sums[i + 4].values.data() + offset), first);
#else
    return first;
#endif
  };
  return transposed(tag, Four<Sums>{load(0), load(1), load(2), load(3)});
#endif
}

std::size_t finish(const PlaceSum* sums, std::size_t count, Smoothness smoothness, float* normals,
                   std::uint32_t firstNumber, std::uint32_t* others) {
  static_assert(hn::MaxLanes(SumTag()) <= sumsBehindTheLast);
  const SumTag tag;
  const std::size_t lanes = hn::Lanes(tag);
  std::size_t otherCount = 0;
  for (std::size_t first = 0; first < count; first += lanes) {
    const std::size_t here = std::min(lanes, count - first);
    const Four<Sums> normal = columnsOf(sums + first, 0);
    const Vectors<Sums> sum{normal.a, normal.b, normal.c};
    const Sums size = hn::Sqrt(dot(sum, sum));
    const auto hasSize = hn::Gt(size, hn::Zero(tag));
    // Divided, as it is then 1 along an axis.
    const auto component = [&](Sums value, float otherwise) {
      return hn::IfThenElse(hasSize, hn::Div(value, size), hn::Set(tag, otherwise));
    };
    const Vectors<Sums> unit{component(sum.x, 0), component(sum.y, 0), component(sum.z, 1)};
    if (here == lanes) {
      hn::StoreInterleaved3(unit.x, unit.y, unit.z, tag, normals + first * 3);
    } else {
      std::array<float, std::size_t{3} * hn::MaxLanes(tag)> result{};
      hn::StoreInterleaved3(unit.x, unit.y, unit.z, tag, result.data());
      std::memcpy(normals + first * 3, result.data(), here * 3 * sizeof(float));
    }
    std::array<std::uint8_t, 8> smooth{};
    hn::StoreMaskBits(tag, isSmooth(columnsOf(sums + first, 4), smoothness), smooth.data());
    if (smooth[0] == (1U << lanes) - 1) continue;
    for (std::size_t i = 0; i < here; ++i) {
      if ((smooth[0] >> i & 1U) == 0) others[otherCount++] = firstNumber + static_cast<std::uint32_t>(first + i);
    }
  }
  return otherCount;
}

NumberBounds bounds(std::span<const std::uint32_t> numbers) {
  const hn::ScalableTag<std::uint32_t> tag;
  const std::size_t lanes = hn::Lanes(tag);
  NumberBounds result{numbers.front(), numbers.front()};
  std::size_t i = 0;
  if (numbers.size() >= lanes) {
    auto lowest = hn::LoadU(tag, numbers.data());
    auto highest = lowest;
    for (; i + lanes <= numbers.size(); i += lanes) {
      const auto values = hn::LoadU(tag, numbers.data() + i);
      lowest = hn::Min(lowest, values);
      highest = hn::Max(highest, values);
    }
    result = {hn::GetLane(hn::MinOfLanes(tag, lowest)), hn::GetLane(hn::MaxOfLanes(tag, highest))};
  }
  for (; i < numbers.size(); ++i) {
    result.lowest = std::min(result.lowest, numbers[i]);
    result.highest = std::max(result.highest, numbers[i]);
  }
  return result;
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(addAll);
HWY_EXPORT(finish);
HWY_EXPORT(bounds);

}  // namespace

NumberBounds boundsOf(std::span<const std::uint32_t> numbers) {
  return HWY_DYNAMIC_DISPATCH(bounds)(numbers);
}

void addFacets(const MeshPlaces& places, std::span<const std::uint32_t> triangles, CornersLie cornersLie,
               const PlaceRange& range, std::span<PlaceSum> sums, std::span<std::uint8_t> used) {
  HWY_DYNAMIC_DISPATCH(addAll)(places, triangles, cornersLie, range, sums, used);
}

std::size_t finishNormals(const PlaceSum* sums, std::size_t count, Smoothness smoothness, float* normals,
                          std::uint32_t firstNumber, std::uint32_t* others) {
  return HWY_DYNAMIC_DISPATCH(finish)(sums, count, smoothness, normals, firstNumber, others);
}

}  // namespace ornolith
#endif
