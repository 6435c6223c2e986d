#include <charconv>
#include <map>
#include <unordered_map>
#include <utility>

#include "loaders/mesh/VertexNormals.h"
#include "loaders/obj/OBJGeometry.h"

namespace ornolith {

namespace {

/// Walks the runs of a stretch's primitives by their corners.
class RunCursor {
 public:
  explicit RunCursor(const std::vector<OBJRun>& runs) : runs_(runs) {}

  std::size_t run() const noexcept { return run_; }
  std::size_t primitivesBefore() const noexcept { return primitives_; }

  void advance(std::size_t corners) {
    while (corners > 0) {
      const OBJRun& run = runs_[run_];
      const std::size_t left = (run.primitiveCount - primitives_) * run.cornersPerPrimitive;
      if (corners < left) {
        primitives_ += corners / run.cornersPerPrimitive;
        return;
      }
      corners -= left;
      ++run_;
      primitives_ = 0;
    }
  }

 private:
  const std::vector<OBJRun>& runs_;
  std::size_t run_ = 0;
  std::size_t primitives_ = 0;
};

class Sorting {
 public:
  explicit Sorting(const OBJStatements& statements) : statements_(statements) {}

  OBJParts run() {
    for (std::size_t i = 0; i < statements_.stretches.size(); ++i) sortStretch(i);
    return std::move(result_);
  }

 private:
  void sortStretch(std::size_t index) {
    const OBJStretch& stretch = statements_.stretches[index];
    RunCursor faces(stretch.faceRuns);
    RunCursor lines(stretch.lineRuns);
    const std::vector<OBJRun> singlePoints{{1, stretch.points.size()}};
    RunCursor points(singlePoints);
    std::size_t faceCorners = 0;
    std::size_t lineCorners = 0;
    std::size_t pointCorners = 0;
    const auto takeUpTo = [&](std::size_t faceEnd, std::size_t lineEnd, std::size_t pointEnd) {
      take(index, &OBJPart::faces, faces, faceCorners, faceEnd);
      take(index, &OBJPart::lines, lines, lineCorners, lineEnd);
      take(index, &OBJPart::points, points, pointCorners, pointEnd);
    };
    for (const OBJStateChange& change : stretch.changes) {
      takeUpTo(change.faceCorners, change.lineCorners, change.pointCorners);
      apply(change);
    }
    takeUpTo(stretch.faces.size(), stretch.lines.size(), stretch.points.size());
  }

  void take(std::size_t stretch, std::vector<OBJPiece> OBJPart::*list, RunCursor& cursor, std::size_t& begin,
            std::size_t end) {
    if (begin == end) return;
    std::vector<OBJPiece>& pieces = currentPart().*list;
    const std::uint32_t material = currentMaterial();
    const bool goesOn = !pieces.empty() && pieces.back().stretch == stretch && pieces.back().material == material &&
                        pieces.back().smoothingGroup == smoothing_ &&
                        pieces.back().firstCorner + pieces.back().cornerCount == begin;
    if (goesOn) {
      pieces.back().cornerCount += end - begin;
    } else {
      pieces.push_back({.stretch = stretch,
                        .firstCorner = begin,
                        .cornerCount = end - begin,
                        .firstRun = cursor.run(),
                        .primitivesOfRunBefore = cursor.primitivesBefore(),
                        .material = material,
                        .smoothingGroup = smoothing_});
    }
    cursor.advance(end - begin);
    begin = end;
  }

  OBJPart& currentPart() {
    if (!part_) {
      const auto [position, isNew] = partNumbers_.try_emplace({object_, group_}, result_.parts.size());
      if (isNew) result_.parts.push_back({.object = object_, .group = group_, .faces = {}, .lines = {}, .points = {}});
      part_ = position->second;
    }
    return result_.parts[*part_];
  }

  std::uint32_t currentMaterial() {
    if (!material_) {
      const auto number = static_cast<std::uint32_t>(result_.materialNames.size());
      const auto [position, isNew] = materialNumbers_.try_emplace(materialName_, number);
      if (isNew) result_.materialNames.push_back(materialName_);
      material_ = position->second;
    }
    return *material_;
  }

  void apply(const OBJStateChange& change) {
    switch (change.kind) {
      case OBJStateKind::object:
        object_ = change.value;
        group_ = {};
        part_.reset();
        break;
      case OBJStateKind::group:
        group_ = change.value;
        part_.reset();
        break;
      case OBJStateKind::material:
        materialName_ = change.value;
        material_.reset();
        break;
      case OBJStateKind::smoothing:
        smoothing_ = smoothingGroup(change.value);
        break;
    }
  }

  static std::uint32_t smoothingGroup(std::string_view value) {
    if (value == "on") return 1;
    std::uint32_t number = 0;
    const auto [stop, fault] = std::from_chars(value.data(), value.data() + value.size(), number);
    return fault == std::errc() && number != creasedByAngle ? number : flatFacet;
  }

  const OBJStatements& statements_;
  OBJParts result_;
  std::map<std::pair<std::string_view, std::string_view>, std::size_t> partNumbers_;
  std::unordered_map<std::string_view, std::uint32_t> materialNumbers_;
  std::string_view object_;
  std::string_view group_;
  std::string_view materialName_;
  std::optional<std::size_t> part_;
  std::optional<std::uint32_t> material_;
  std::uint32_t smoothing_ = creasedByAngle;
};

}  // namespace

OBJParts sortIntoParts(const OBJStatements& statements) {
  return Sorting(statements).run();
}

}  // namespace ornolith
