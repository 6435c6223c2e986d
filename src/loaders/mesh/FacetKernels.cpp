#include "loaders/mesh/FacetKernels.h"

#include <cstring>
#include <limits>

// This file is compiled once for each instruction set; the rest of the program sees the functions at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/FacetKernels.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

#include "foundation/Math.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DoubleTag = hn::ScalableTag<double>;
using Doubles = hn::Vec<DoubleTag>;
using FloatTag = hn::Rebind<float, DoubleTag>;
using Floats = hn::Vec<FloatTag>;
using DoubleMask = hn::Mask<DoubleTag>;

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Vectors {
  Doubles x, y, z;
};

Vectors difference(const Vectors& a, const Vectors& b) {
  return {hn::Sub(a.x, b.x), hn::Sub(a.y, b.y), hn::Sub(a.z, b.z)};
}

Doubles dot(const Vectors& a, const Vectors& b) {
  return hn::Add(hn::Add(hn::Mul(a.x, b.x), hn::Mul(a.y, b.y)), hn::Mul(a.z, b.z));
}

Vectors cross(const Vectors& a, const Vectors& b) {
  const auto part = [](Doubles p, Doubles q, Doubles r, Doubles s) { return hn::Sub(hn::Mul(p, q), hn::Mul(r, s)); };
  return {part(a.y, b.z, a.z, b.y), part(a.z, b.x, a.x, b.z), part(a.x, b.y, a.y, b.x)};
}

/// True for what is above zero and finite.
DoubleMask isPositive(Doubles value) {
  const DoubleTag tag;
  return hn::And(hn::Gt(value, hn::Zero(tag)), hn::Lt(value, hn::Set(tag, infinity)));
}

/// atan(x) for x in 0..1, within 2e-8 (M. Abramowitz and I. Stegun, "Handbook of mathematical functions", 4.4.49).
Doubles arcTangent(Doubles x) {
  constexpr double c[] = {-0.3333314528, 0.1999355085, -0.1420889944, 0.1065626393,
                          -0.0752896400, 0.0429096138, -0.0161657367, 0.0028662257};
  const DoubleTag tag;
  const Doubles square = hn::Mul(x, x);
  Doubles series = hn::Set(tag, c[7]);
  for (int i = 6; i >= 0; --i) series = hn::Add(hn::Mul(series, square), hn::Set(tag, c[i]));
  return hn::Add(hn::Mul(hn::Mul(series, square), x), x);
}

/// The angle whose sine and cosine are in the proportion of `sine`, above zero, and `cosine`.
Doubles angleOf(Doubles sine, Doubles cosine) {
  const DoubleTag tag;
  const Doubles size = hn::Abs(cosine);
  const DoubleMask isSteep = hn::Gt(sine, size);
  const Doubles ratio = hn::Div(hn::IfThenElse(isSteep, size, sine), hn::IfThenElse(isSteep, sine, size));
  const Doubles flat = arcTangent(ratio);
  const Doubles sharp = hn::IfThenElse(isSteep, hn::Sub(hn::Set(tag, math::pi / 2), flat), flat);
  return hn::IfThenElse(hn::Lt(cosine, hn::Zero(tag)), hn::Sub(hn::Set(tag, math::pi), sharp), sharp);
}

Vectors loadCorners(const float* corners) {
  const DoubleTag tag;
  const FloatTag floatTag;
  Floats x, y, z, unused;
  hn::LoadInterleaved4(floatTag, corners, x, y, z, unused);
  return {hn::PromoteTo(tag, x), hn::PromoteTo(tag, y), hn::PromoteTo(tag, z)};
}

void measure(FacetBatch& batch, std::size_t count) {
  const DoubleTag tag;
  const FloatTag floatTag;
  const auto rounded = [&](Doubles value) { return hn::DemoteTo(floatTag, value); };
  for (std::size_t i = 0; i < count; i += hn::Lanes(tag)) {
    const Vectors p = loadCorners(batch.corners[0][i].data());
    const Vectors q = loadCorners(batch.corners[1][i].data());
    const Vectors r = loadCorners(batch.corners[2][i].data());
    const Vectors a = difference(q, p);
    const Vectors b = difference(r, p);
    const Vectors c = difference(r, q);
    const Vectors normal = cross(a, b);
    const Doubles area = hn::Sqrt(dot(normal, normal));
    const DoubleMask hasArea = isPositive(area);
    const auto kept = [&](Doubles value) { return hn::IfThenElseZero(hasArea, value); };

    const Doubles inverse = hn::Div(hn::Set(tag, 1), area);
    hn::StoreInterleaved4(kept(normal.x), kept(normal.y), kept(normal.z), kept(inverse), tag,
                          batch.areaNormals[i].data());
    const auto direction = [&](Doubles component) { return rounded(kept(hn::Mul(component, inverse))); };
    const Doubles weight = hn::IfThenElse(hasArea, hn::Set(tag, 1), hn::Set(tag, 2));
    hn::StoreInterleaved4(direction(normal.x), direction(normal.y), direction(normal.z), rounded(weight), floatTag,
                          batch.directions[i].data());

    const Doubles first = angleOf(area, dot(a, b));
    const Doubles second = angleOf(area, hn::Neg(dot(a, c)));
    const Doubles left = hn::Sub(hn::Sub(hn::Set(tag, math::pi), first), second);
    hn::Store(kept(first), tag, &batch.angles[0][i]);
    hn::Store(kept(second), tag, &batch.angles[1][i]);
    hn::Store(kept(hn::IfThenElse(hn::Gt(left, hn::Zero(tag)), left, hn::Zero(tag))), tag, &batch.angles[2][i]);
  }
}

void measureAll(FacetBatch& batch) {
  measure(batch, FacetBatch::capacity);
}

/// Adds to four numbers each.
void add(const double* values, double factor, double* sum) {
  const hn::CappedTag<double, 4> tag;
  for (std::size_t i = 0; i < 4; i += hn::Lanes(tag)) {
    hn::Store(hn::Add(hn::Load(tag, sum + i), hn::Mul(hn::Load(tag, values + i), hn::Set(tag, factor))), tag, sum + i);
  }
}

void add(const float* values, float* sum) {
  const hn::CappedTag<float, 4> tag;
  for (std::size_t i = 0; i < 4; i += hn::Lanes(tag)) {
    hn::Store(hn::Add(hn::Load(tag, sum + i), hn::Load(tag, values + i)), tag, sum + i);
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
        const std::uint32_t number = range_.numberOf(mayCoincide ? places_.firstThere[vertex] : vertex);
        if (mayCoincide && number < range_.count) used_[vertex] = vertex_use::inTriangle;
        nearest = std::min(nearest, number);
        numbers_[corner][count_] = number;
        copyPosition(vertex, batch_.corners[corner][count_].data());
      }
      count_ += nearest < range_.count ? 1 : 0;
      if (count_ == FacetBatch::capacity) finishBatch();
    }
    finishBatch();
  }

 private:
  void copyPosition(std::uint32_t vertex, float* place) const {
    const hn::CappedTag<float, 4> tag;
    const float* position = vertex == last_ ? lastPosition_.data() : places_.positions.data() + std::size_t{vertex} * 3;
    for (std::size_t i = 0; i < 4; i += hn::Lanes(tag)) hn::Store(hn::LoadU(tag, position + i), tag, place + i);
  }

  void finishBatch() {
    measure(batch_, count_);
    for (std::size_t facet = 0; facet < count_; ++facet) {
      for (std::size_t corner = 0; corner < 3; ++corner) {
        PlaceSum& sum = sums_[numbers_[corner][facet]];
        HWY_NAMESPACE::add(batch_.areaNormals[facet].data(), batch_.angles[corner][facet], sum.normal.data());
        HWY_NAMESPACE::add(batch_.directions[facet].data(), sum.directions.data());
      }
    }
    count_ = 0;
  }

  const MeshPlaces& places_;
  const PlaceRange range_;
  std::span<PlaceSum> sums_;
  std::span<std::uint8_t> used_;
  std::uint32_t last_ = 0;
  std::array<float, 4> lastPosition_{};
  FacetBatch batch_;
  std::array<std::array<std::uint32_t, FacetBatch::capacity>, 3> numbers_{};
  std::size_t count_ = 0;
};

void addAll(const MeshPlaces& places, std::span<const std::uint32_t> triangles, const PlaceRange& range,
            std::span<PlaceSum> sums, std::span<std::uint8_t> used) {
  if (triangles.empty()) return;
  Adding adding(places, range, sums, used);
  if (places.firstThere.empty()) {
    adding.add<false>(triangles);
  } else {
    adding.add<true>(triangles);
  }
}

/// Which of the sums have facets that lie within 60 degrees of each other. The fourth components count the facets, and
/// are so small here that rounding does not reach the difference of what is asked for and what is needed.
hn::Mask<FloatTag> isSmooth(Floats x, Floats y, Floats z, Floats count, Smoothness smoothness) {
  constexpr float mostLost = 0.25F;  // 2 (1 - cos 30) is 0.268.
  constexpr float mostFacets = 256;
  const FloatTag tag;
  const auto isThere = hn::Ge(count, hn::Set(tag, 1));
  if (smoothness == Smoothness::everywhere) return isThere;
  const Floats square = hn::Add(hn::Add(hn::Mul(x, x), hn::Mul(y, y)), hn::Mul(z, z));
  const Floats least = hn::Sub(count, hn::Set(tag, mostLost));
  const Floats most = hn::Add(count, hn::Set(tag, mostLost));
  const auto isNear = hn::And(hn::Ge(square, hn::Mul(least, least)), hn::Le(square, hn::Mul(most, most)));
  return hn::And(hn::And(isThere, isNear), hn::Le(count, hn::Set(tag, mostFacets)));
}

std::size_t finish(std::span<const PlaceSum> sums, Smoothness smoothness, float* normals, std::uint32_t* others) {
  const DoubleTag tag;
  const FloatTag floatTag;
  const std::size_t lanes = hn::Lanes(tag);
  alignas(64) std::array<double, std::size_t{4} * hn::MaxLanes(tag)> normal{};
  alignas(64) std::array<float, std::size_t{4} * hn::MaxLanes(tag)> directions{};
  std::array<float, std::size_t{3} * hn::MaxLanes(tag)> result{};
  std::size_t otherCount = 0;
  for (std::size_t first = 0; first < sums.size(); first += lanes) {
    const std::size_t count = std::min(lanes, sums.size() - first);
    for (std::size_t i = 0; i < count; ++i) {
      std::memcpy(&normal[i * 4], sums[first + i].normal.data(), sizeof(PlaceSum::normal));
      std::memcpy(&directions[i * 4], sums[first + i].directions.data(), sizeof(PlaceSum::directions));
    }
    Doubles nx, ny, nz, unused;
    hn::LoadInterleaved4(tag, normal.data(), nx, ny, nz, unused);
    const Vectors sum{nx, ny, nz};
    const Doubles size = hn::Sqrt(dot(sum, sum));
    const DoubleMask hasSize = isPositive(size);
    const Doubles inverse = hn::Div(hn::Set(tag, 1), size);
    const auto component = [&](Doubles value, double otherwise) {
      return hn::DemoteTo(floatTag, hn::IfThenElse(hasSize, hn::Mul(value, inverse), hn::Set(tag, otherwise)));
    };
    hn::StoreInterleaved3(component(sum.x, 0), component(sum.y, 0), component(sum.z, 1), floatTag, result.data());
    std::memcpy(normals + first * 3, result.data(), count * 3 * sizeof(float));

    Floats x, y, z, facets;
    hn::LoadInterleaved4(floatTag, directions.data(), x, y, z, facets);
    std::array<std::uint8_t, 8> smooth{};
    hn::StoreMaskBits(floatTag, isSmooth(x, y, z, facets, smoothness), smooth.data());
    if (smooth[0] == (1U << lanes) - 1) continue;
    for (std::size_t i = 0; i < count; ++i) {
      if ((smooth[0] >> i & 1U) == 0) others[otherCount++] = static_cast<std::uint32_t>(first + i);
    }
  }
  return otherCount;
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(measureAll);
HWY_EXPORT(addAll);
HWY_EXPORT(finish);

}  // namespace

void measureFacets(FacetBatch& batch) {
  HWY_DYNAMIC_DISPATCH(measureAll)(batch);
}

void addFacets(const MeshPlaces& places, std::span<const std::uint32_t> triangles, const PlaceRange& range,
               std::span<PlaceSum> sums, std::span<std::uint8_t> used) {
  HWY_DYNAMIC_DISPATCH(addAll)(places, triangles, range, sums, used);
}

std::size_t finishNormals(std::span<const PlaceSum> sums, Smoothness smoothness, float* normals,
                          std::uint32_t* others) {
  return HWY_DYNAMIC_DISPATCH(finish)(sums, smoothness, normals, others);
}

}  // namespace ornolith
#endif
