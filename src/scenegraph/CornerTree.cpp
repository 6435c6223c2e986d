#include "scenegraph/CornerTree.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

namespace ornolith {
namespace {

constexpr std::size_t childCount = 8;

// So few places need no order to be found soon.
constexpr std::size_t unsortedCorners = 64;

// Puts a 0 above each bit.
std::uint64_t spread(std::uint64_t bits) {
  bits = (bits | bits << 16) & 0x0000FFFF0000FFFF;
  bits = (bits | bits << 8) & 0x00FF00FF00FF00FF;
  bits = (bits | bits << 4) & 0x0F0F0F0F0F0F0F0F;
  bits = (bits | bits << 2) & 0x3333333333333333;
  return (bits | bits << 1) & 0x5555555555555555;
}

// Any value at all, an infinite or undefined one too, becomes a step.
std::uint64_t step(double value, double low, double scale) {
  constexpr double lastStep = std::numeric_limits<std::uint32_t>::max();
  const double steps = (value - low) * scale;
  if (!(steps > 0)) return 0;
  return static_cast<std::uint64_t>(std::min(steps, lastStep));
}

// An edge of a triangle, to ask on which side of it points and boxes lie.
struct Edge {
  PlanePoint from;
  double dx;
  double dy;

  Edge(const PlanePoint& a, const PlanePoint& b) : from(a), dx(b.x - a.x), dy(b.y - a.y) {}

  // The very steps of `turn`.
  double turnTo(double x, double y) const { return dx * (y - from.y) - dy * (x - from.x); }
};

}  // namespace

struct CornerTree::Search {
  std::array<PlanePoint, 3> corners;
  std::array<Edge, 3> edges;
  Box reach;
  std::uint32_t start;
  std::size_t& testsLeft;
  Place found = noPlace;

  bool isOver() const { return found != noPlace || testsLeft == 0; }

  bool isHit(const PlanePoint& p) const {
    if (p == corners[0] || p == corners[1] || p == corners[2]) return false;
    return std::all_of(edges.begin(), edges.end(), [&](const Edge& edge) { return edge.turnTo(p.x, p.y) >= 0; });
  }

  // Rounding keeps order, so the turn as computed rises and falls with each coordinate as the exact one does, and no
  // point of a box has a greater one than the box's vertex farthest to the left of the edge. One that overflows into
  // NaN rules nothing out.
  bool mayHit(const Box& box) const {
    if (box.low.x > reach.high.x || box.high.x < reach.low.x || box.low.y > reach.high.y || box.high.y < reach.low.y) {
      return false;
    }
    return std::none_of(edges.begin(), edges.end(), [&](const Edge& edge) {
      return edge.turnTo(edge.dy > 0 ? box.low.x : box.high.x, edge.dx > 0 ? box.high.y : box.low.y) < 0;
    });
  }
};

void CornerTree::build(std::span<const PlanePoint> corners, std::span<const std::uint32_t> members, Reach reach) {
  reach_ = reach;
  order_.clear();
  for (const std::uint32_t corner : members) {
    const PlanePoint& p = corners[corner];
    if (!std::isnan(p.x) && !std::isnan(p.y)) order_.push_back({0, corner});
  }
  if (order_.size() > unsortedCorners) sortAlongCurve(corners);
  gatherPlaces(corners);
  buildLevels();
}

void CornerTree::sortAlongCurve(std::span<const PlanePoint> corners) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  Box whole{{infinity, infinity}, {-infinity, -infinity}};
  for (const SortKey& key : order_) {
    const PlanePoint& p = corners[key.corner];
    if (!std::isfinite(p.x) || !std::isfinite(p.y)) continue;
    whole.low = {std::min(whole.low.x, p.x), std::min(whole.low.y, p.y)};
    whole.high = {std::max(whole.high.x, p.x), std::max(whole.high.y, p.y)};
  }
  const double scale = 0x1p32 / std::max(whole.high.x - whole.low.x, whole.high.y - whole.low.y);
  for (SortKey& key : order_) {
    const PlanePoint& p = corners[key.corner];
    key.curve = spread(step(p.x, whole.low.x, scale)) | spread(step(p.y, whole.low.y, scale)) << 1;
  }
  std::sort(order_.begin(), order_.end(), [&](const SortKey& first, const SortKey& second) {
    if (first.curve != second.curve) return first.curve < second.curve;
    const PlanePoint& a = corners[first.corner];
    const PlanePoint& b = corners[second.corner];
    if (a.x != b.x) return a.x < b.x;
    if (a.y != b.y) return a.y < b.y;
    return first.corner < second.corner;
  });
}

void CornerTree::gatherPlaces(std::span<const PlanePoint> corners) {
  placeOf_.assign(corners.size(), noPlace);
  places_.clear();
  cornersAt_.clear();
  for (const SortKey& key : order_) {
    const PlanePoint& p = corners[key.corner];
    if (places_.empty() || p != places_.back()) {
      places_.push_back(p);
      cornersAt_.push_back(0);
    }
    placeOf_[key.corner] = static_cast<Place>(places_.size() - 1);
    ++cornersAt_.back();
  }
}

void CornerTree::buildLevels() {
  depth_ = 0;
  std::size_t below = places_.size();
  do {
    if (levels_.size() == depth_) levels_.emplace_back();
    Level& level = levels_[depth_];
    level.boxes.clear();
    level.filled.clear();
    for (std::size_t first = 0; first < below; first += childCount) {
      const std::size_t end = std::min(first + childCount, below);
      const auto boxOf = [&](std::size_t child) {
        return depth_ == 0 ? Box{places_[child], places_[child]} : levels_[depth_ - 1].boxes[child];
      };
      Box box = boxOf(first);
      for (std::size_t child = first + 1; child < end; ++child) {
        const Box part = boxOf(child);
        box.low = {std::min(box.low.x, part.low.x), std::min(box.low.y, part.low.y)};
        box.high = {std::max(box.high.x, part.high.x), std::max(box.high.y, part.high.y)};
      }
      level.boxes.push_back(box);
      level.filled.push_back(static_cast<std::uint8_t>((1U << (end - first)) - 1));
    }
    below = level.boxes.size();
    ++depth_;
  } while (below > 1);
}

CornerTree::Place CornerTree::remove(std::uint32_t corner) {
  const Place place = std::exchange(placeOf_[corner], noPlace);
  if (place == noPlace || --cornersAt_[place] > 0) return noPlace;
  std::size_t child = place;
  for (std::size_t level = 0; level < depth_; ++level, child /= childCount) {
    std::uint8_t& filled = levels_[level].filled[child / childCount];
    filled = static_cast<std::uint8_t>(filled & ~(1U << (child % childCount)));
    if (filled != 0) break;
  }
  return place;
}

bool CornerTree::isWithin(Place place, const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) const {
  const PlanePoint& p = places_[place];
  return cornersAt_[place] > 0 && p != a && p != b && p != c && turn(a, b, p) >= 0 && turn(b, c, p) >= 0 &&
         turn(c, a, p) >= 0;
}

CornerTree::Place CornerTree::findWithin(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c,
                                         std::uint32_t start, std::size_t& testsLeft) const {
  if (places_.empty()) return noPlace;
  constexpr double infinity = std::numeric_limits<double>::infinity();
  Box reach{{-infinity, -infinity}, {infinity, infinity}};
  if (reach_ == Reach::box) {
    reach = {{std::min({a.x, b.x, c.x}), std::min({a.y, b.y, c.y})},
             {std::max({a.x, b.x, c.x}), std::max({a.y, b.y, c.y})}};
  }
  Search order{{a, b, c}, {Edge(a, b), Edge(b, c), Edge(c, a)}, reach, start * 0x9E3779B1U, testsLeft};
  search(order, depth_ - 1, 0);
  return order.found;
}

void CornerTree::search(Search& search, std::size_t level, std::size_t node) const {
  const std::size_t start = (search.start >> (3 * level)) % childCount;
  std::uint8_t rest = std::rotr(levels_[level].filled[node], static_cast<int>(start));
  for (; rest != 0 && !search.isOver(); rest = static_cast<std::uint8_t>(rest & (rest - 1U))) {
    const auto turned = static_cast<std::size_t>(std::countr_zero(rest)) + start;
    const std::size_t child = node * childCount + turned % childCount;
    --search.testsLeft;
    if (level > 0) {
      if (search.mayHit(levels_[level - 1].boxes[child])) this->search(search, level - 1, child);
    } else if (search.isHit(places_[child])) {
      search.found = static_cast<Place>(child);
    }
  }
}

}  // namespace ornolith
