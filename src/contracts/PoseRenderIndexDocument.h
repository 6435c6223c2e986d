#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/ModelPartSelector.h"
#include "contracts/NormalizedDegrees.h"
#include "contracts/RenderOutputOptions.h"

namespace ornolith {

/// One rotation of a pose: as the pose document asks for it, and as it was applied.
struct PoseRenderIndexRotation {
  ModelPartSelector selector;
  LocalRotationDegrees requestedLocalDegrees;
  LocalRotationDegrees normalizedLocalDegrees;

  static PoseRenderIndexRotation fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const PoseRenderIndexRotation&) const = default;
};

/// One pose of the series.
struct PoseRenderIndexPose {
  std::int64_t index = 0;  ///< Position in the pose document, from 0.
  std::string id;
  std::optional<std::string> label;
  std::vector<PoseRenderIndexRotation> rotations;

  static PoseRenderIndexPose fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const PoseRenderIndexPose&) const = default;
};

/// One tile of a page: a pose seen from one side.
struct PoseRenderIndexCell {
  std::int64_t poseIndex = 0;
  std::string poseID;
  std::int64_t viewIndex = 0;  ///< Position in the layout's list of views.
  std::string view;            ///< The viewpoint's text.
  RenderPixelRect frame;

  static PoseRenderIndexCell fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const PoseRenderIndexCell&) const = default;
};

/// One page image of the series.
struct PoseRenderIndexPage {
  std::int64_t number = 0;  ///< From 1.
  std::string file;
  std::int64_t width = 0;   ///< Pixels.
  std::int64_t height = 0;  ///< Pixels.
  std::vector<PoseRenderIndexCell> cells;

  static PoseRenderIndexPage fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const PoseRenderIndexPage&) const = default;
};

/// The index of a pose series, "contact-sheet.json": which pose stands in which rectangle of which page.
struct PoseRenderIndexDocument {
  static constexpr std::string_view schemaText = "ornolabs.ornolith-render.contact-sheet";
  static constexpr std::int64_t currentVersion = 1;

  std::string schema{schemaText};
  std::int64_t version = currentVersion;
  std::string modelFilename;  ///< The model path's last component, as UTF-8.
  std::string modelSHA256;    ///< 64 lower-case hexadecimal digits.
  ModelRenderLayout layout = ModelRenderLayout::single;
  ContactSheetArrangement arrangement = ContactSheetArrangement::grid;
  std::int64_t tileWidth = 0;   ///< Pixels.
  std::int64_t tileHeight = 0;  ///< Pixels.
  std::vector<PoseRenderIndexPose> poses;
  std::vector<PoseRenderIndexPage> pages;

  /// The bytes of the file. Throws `JSONError` for a text that is not UTF-8 and `ModelPoseContractError` for a rotation
  /// that breaks its rule.
  std::string canonicalJSONData() const;

  static PoseRenderIndexDocument fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const PoseRenderIndexDocument&) const = default;
};

/// "page-0001.png" for page 1.
std::string poseRenderPageFileName(std::int64_t number);

}  // namespace ornolith
