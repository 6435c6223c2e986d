#include "raster/PrimitiveChunk.h"

#include <algorithm>

#include "raster/Clipping.h"
#include "raster/PixelBox.h"
#include "raster/TriangleSetup.h"

namespace ornolith::raster {
namespace {

/// Turns the primitives of one segment into records.
class SegmentSetup {
 public:
  SegmentSetup(const PreparedFrame& frame, const Projection& projection, const TileGrid& grid,
               const PrimitiveSegment& segment, RecordList& records)
      : frame_(frame),
        projection_(projection),
        grid_(grid),
        segment_(segment),
        item_(frame.items[segment.item]),
        ahead_(frame.verticesOf(item_)),
        records_(records) {}

  void run() {
    switch (item_.item->topology) {
      case device::Topology::triangles:
        addTriangles();
        break;
      case device::Topology::lines:
        for (std::uint32_t p = segment_.first; p < segment_.end; ++p) addLinePrimitive(p);
        break;
      case device::Topology::points:
        for (std::uint32_t p = segment_.first; p < segment_.end; ++p) addPoint(p);
        break;
    }
  }

 private:
  ClipPoint clipPoint(std::uint32_t index) const { return item_.transform.apply(item_.mesh->position[index]); }

  ScreenVertex project(const ClipPoint& point) const {
    return screenVertex(point, projection_, frame_.description->width, frame_.description->height);
  }

  ScreenVertex vertex(std::uint32_t index) const {
    return ahead_.empty() ? project(clipPoint(index)) : ahead_[index - item_.firstVertex];
  }

  /// Whether a face with this orientation on the screen (positive: clockwise to the eye) is to be drawn.
  bool draws(bool isPositive) const {
    const bool isBack = isPositive != item_.item->isMirrored;
    if (isBack && !item_.material->isDoubleSided) return false;
    return segment_.faces == FaceFilter::all || isBack == (segment_.faces == FaceFilter::backOnly);
  }

  PrimitiveRecord blank(std::uint32_t primitive, PrimitiveKind kind) const {
    PrimitiveRecord record{};
    record.primitive = primitive;
    record.item = segment_.item;
    record.kind = kind;
    return record;
  }

  void keep(const PrimitiveRecord& record) {
    const Box pixels = pixelBox(record, grid_);
    if (pixels.isEmpty()) return;
    const Box tiles = tileBox(pixels);
    const bool isInOne = tiles.left == tiles.right && tiles.top == tiles.bottom;
    records_.reserveMore(1);
    records_.append(record,
                    isInOne ? static_cast<std::uint32_t>(grid_.tileIndex(tiles.left, tiles.top)) : severalTiles);
  }

  void addTriangles() {
    if (!ahead_.empty() && !item_.material->fillsLines) {
      const TriangleRun run{
          item_.item->indices, ahead_.data(), item_.firstVertex, segment_.first,          segment_.end,
          segment_.item,       draws(true),   draws(false),      !item_.item->isMirrored, grid_};
      if (setUpTriangles(
              run, [this](std::uint32_t primitive) { addTriangle(primitive); }, records_))
        return;
    }
    for (std::uint32_t p = segment_.first; p < segment_.end; ++p) addTriangle(p);
  }

  void addTriangle(std::uint32_t primitive) {
    const std::uint32_t* corner = item_.item->indices + std::size_t{primitive} * 3;
    const ScreenVertex a = vertex(corner[0]), b = vertex(corner[1]), c = vertex(corner[2]);
    const bool isRegular = (a.isRegular & b.isRegular & c.isRegular) != 0;
    if (item_.material->fillsLines) return addTriangleEdges(primitive, {a, b, c}, isRegular);
    if (isRegular) return addPiece(primitive, a, b, c);

    const ClipPolygon polygon =
        clipTriangle({clipPoint(corner[0]), clipPoint(corner[1]), clipPoint(corner[2])}, projection_.zNear());
    for (std::size_t i = 2; i < polygon.count; ++i) {
      addPiece(primitive, projectClipped(polygon.points[0]), projectClipped(polygon.points[i - 1]),
               projectClipped(polygon.points[i]));
    }
  }

  /// A point that clipping made may lie outside of its plane by a rounding error: it is moved onto the guard band.
  ScreenVertex projectClipped(ClipPoint point) const {
    point.distance = std::max(point.distance, projection_.zNear());
    if (!projection_.isOrthographic()) point.w = point.distance;
    const double limit = guardBand * point.w;
    point.x = std::clamp(point.x, -limit, limit);
    point.y = std::clamp(point.y, -limit, limit);
    return project(point);
  }

  void addPiece(std::uint32_t primitive, const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c) {
    const std::int64_t area = std::int64_t{b.x - a.x} * (c.y - a.y) - std::int64_t{b.y - a.y} * (c.x - a.x);
    if (area == 0 || !draws(area > 0)) return;
    const ScreenVertex& second = area > 0 ? b : c;
    const ScreenVertex& third = area > 0 ? c : b;
    PrimitiveRecord record = blank(primitive, PrimitiveKind::triangle);
    record.outline = {{a.x, second.x, third.x}, {a.y, second.y, third.y}};
    record.depth[0] = a.depth;
    record.depth[1] = second.depth;
    record.depth[2] = third.depth;
    record.isBackFacing = (area > 0) != item_.item->isMirrored;
    record.form = TriangleForm::corners;
    keep(record);
  }

  void addTriangleEdges(std::uint32_t primitive, const std::array<ScreenVertex, 3>& vertices, bool isRegular) {
    const std::uint32_t* corner = item_.item->indices + std::size_t{primitive} * 3;
    const std::array<ClipPoint, 3> points{clipPoint(corner[0]), clipPoint(corner[1]), clipPoint(corner[2])};
    if (!points[0].isFinite() || !points[1].isFinite() || !points[2].isFinite()) return;
    // The determinant of the homogeneous corners tells the facing even where some are behind the camera.
    const double volume = points[0].x * (points[1].y * points[2].w - points[2].y * points[1].w) -
                          points[0].y * (points[1].x * points[2].w - points[2].x * points[1].w) +
                          points[0].w * (points[1].x * points[2].y - points[2].x * points[1].y);
    if (!draws(volume > 0)) return;
    for (std::uint8_t edge = 0; edge < 3; ++edge) {
      const std::size_t next = edge == 2 ? 0 : edge + std::size_t{1};
      PrimitiveRecord record = blank(primitive, PrimitiveKind::line);
      record.edge = edge;
      record.isTriangleEdge = true;
      record.isBackFacing = (volume > 0) != item_.item->isMirrored;
      if (isRegular) {
        addLine(record, vertices[edge], vertices[next]);
      } else {
        addClippedLine(record, points[edge], points[next]);
      }
    }
  }

  void addLinePrimitive(std::uint32_t primitive) {
    if (segment_.faces == FaceFilter::backOnly) return;
    const std::uint32_t* end = item_.item->indices + std::size_t{primitive} * 2;
    const ScreenVertex a = vertex(end[0]), b = vertex(end[1]);
    const PrimitiveRecord record = blank(primitive, PrimitiveKind::line);
    if ((a.isRegular & b.isRegular) != 0) return addLine(record, a, b);
    addClippedLine(record, clipPoint(end[0]), clipPoint(end[1]));
  }

  void addClippedLine(const PrimitiveRecord& record, ClipPoint a, ClipPoint b) {
    if (clipLine(a, b, projection_.zNear())) addLine(record, projectClipped(a), projectClipped(b));
  }

  void addLine(PrimitiveRecord record, const ScreenVertex& a, const ScreenVertex& b) {
    record.outline.x[0] = a.x;
    record.outline.y[0] = a.y;
    record.depth[0] = a.depth;
    record.outline.x[1] = b.x;
    record.outline.y[1] = b.y;
    record.depth[1] = b.depth;
    keep(record);
  }

  void addPoint(std::uint32_t primitive) {
    if (segment_.faces == FaceFilter::backOnly) return;
    const std::uint32_t index = item_.item->indices[primitive];
    const ScreenVertex center = vertex(index);
    if (center.isRegular == 0) return;
    constexpr double largestRadius = 4096;
    const double distance = projection_.isOrthographic() ? 1.0 : clipPoint(index).distance;
    double radius = 0.5 * static_cast<double>(item_.item->pointSize) * projection_.pixelsPerUnit() / distance;
    // Comparisons in this order turn NaN into the smallest radius.
    const auto least = static_cast<double>(item_.item->minimumPointRadius);
    const auto most = static_cast<double>(item_.item->maximumPointRadius);
    radius = radius > least ? radius : least;
    radius = radius > most ? most : radius;
    radius = radius > 0 ? std::min(radius, largestRadius) : 0;
    PrimitiveRecord record = blank(primitive, PrimitiveKind::point);
    record.outline.x[0] = center.x;
    record.outline.y[0] = center.y;
    const double onGrid = radius * subpixelOne + 0.5;
    record.outline.x[1] = static_cast<std::int32_t>(onGrid);
    record.depth[0] = center.depth;
    keep(record);
  }

  const PreparedFrame& frame_;
  const Projection& projection_;
  const TileGrid& grid_;
  const PrimitiveSegment& segment_;
  const PreparedItem& item_;
  std::span<const ScreenVertex> ahead_;
  RecordList& records_;
};

}  // namespace

void PrimitiveChunk::build(const PreparedFrame& frame, const Projection& projection, const TileGrid& grid) {
  records_.clear();
  for (const PrimitiveSegment& segment : segments_) SegmentSetup(frame, projection, grid, segment, records_).run();
  bins_.build(records_, grid);
}

}  // namespace ornolith::raster
