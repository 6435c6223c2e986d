#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ornolith {

/// A point of the plane of a polygon.
struct PlanePoint {
  double x;
  double y;

  friend bool operator==(const PlanePoint&, const PlanePoint&) = default;
};

/// Twice the signed area, positive for counter-clockwise corners.
inline double turn(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// Corners of a polygon that are still there, sorted for the question which of them lie in a triangle. Corners with
/// equal coordinates share a place. The places stand along a z-order curve (G. M. Morton, "A computer oriented geodetic
/// data base", 1966), in packed boxes of eight, these again in boxes of eight, and so on.
class CornerTree {
 public:
  using Place = std::uint32_t;
  static constexpr Place noPlace = ~Place{0};

  /// Beyond the sharp tip of a triangle a point can seem to lie within by a rounding error. A search with
  /// `Reach::unlimited` finds it all the same, one with `Reach::box` sees nothing outside the triangle's box, and so
  /// has far less to look at.
  enum class Reach { unlimited, box };

  /// Takes in those corners that `members` names; one with a NaN is left out, since it lies in no triangle. Fewer than
  /// 2^32 corners.
  void build(std::span<const PlanePoint> corners, std::span<const std::uint32_t> members, Reach reach);

  std::size_t placeCount() const { return places_.size(); }

  /// Takes a corner out, if it is there. The place that became empty by this, or `noPlace`.
  Place remove(std::uint32_t corner);

  /// Whether the place still has a corner, lies within a, b, c or on its rim, and is none of the three: that is,
  /// whether `turn` of each edge with it is not negative, as computed.
  bool isWithin(Place place, const PlanePoint& a, const PlanePoint& b, const PlanePoint& c) const;

  /// Some place for which `isWithin` holds, or `noPlace` if there is none. Takes the boxes and places looked at off
  /// `testsLeft`, and gives up with `noPlace` when that reaches 0. Each `start` goes through the boxes in an order of
  /// its own, so that different searches find different places.
  Place findWithin(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c, std::uint32_t start,
                   std::size_t& testsLeft) const;

 private:
  struct Box {
    PlanePoint low;
    PlanePoint high;
  };
  // The children that are not empty have their bits in `filled`.
  struct Level {
    std::vector<Box> boxes;
    std::vector<std::uint8_t> filled;
  };
  struct SortKey {
    std::uint64_t curve;
    std::uint32_t corner;
  };
  struct Search;

  void sortAlongCurve(std::span<const PlanePoint> corners);
  void gatherPlaces(std::span<const PlanePoint> corners);
  void buildLevels();
  void search(Search& search, std::size_t level, std::size_t node) const;

  Reach reach_ = Reach::unlimited;
  std::vector<SortKey> order_;
  std::vector<Place> placeOf_;
  std::vector<PlanePoint> places_;
  std::vector<std::uint32_t> cornersAt_;
  std::vector<Level> levels_;
  std::size_t depth_ = 0;
};

}  // namespace ornolith
