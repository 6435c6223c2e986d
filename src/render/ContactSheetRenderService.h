#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "contracts/CameraState.h"
#include "contracts/RenderOutputOptions.h"
#include "foundation/Cancellation.h"
#include "render/PoseRenderPagePlanner.h"
#include "scene/SceneController.h"

namespace ornolith {

/// What a fixed contact sheet shows.
struct ContactSheetConfiguration {
  ModelRenderLayout layout = ModelRenderLayout::contact4;
  ContactSheetArrangement arrangement = ContactSheetArrangement::grid;
  std::int64_t width = 1024;   ///< Pixels.
  std::int64_t height = 1024;  ///< Pixels.
  RenderBackground background = RenderBackground::transparent();
  std::optional<double> fieldOfView = std::nullopt;  ///< Degrees, vertical.
};

struct ContactSheetRenderProgress {
  std::size_t completedViewCount = 0;
  std::size_t totalViewCount = 0;
  bool operator==(const ContactSheetRenderProgress&) const = default;
};

/// Draws a model from several sides into one image. Views other than a single one are lit along the line of sight too,
/// and show both faces of every surface.
class ContactSheetRenderService {
 public:
  using Progress = std::function<void(ContactSheetRenderProgress)>;
  using PNGData = std::vector<std::byte>;

  explicit ContactSheetRenderService(CancellationToken cancellation = {}) : cancellation_(std::move(cancellation)) {}

  /// The PNG of a sheet of four or six views with gutters, drawn from a frozen copy of the controller's scene. With
  /// `suppressInteractiveAnalysisOverlays` the copy is made while overlays and diagnostic colours are off. `progress`
  /// is told before the first view and after each. Throws `ContactSheetRenderError` and `CancellationError`.
  PNGData renderPNG(SceneController& controller, const ContactSheetConfiguration& configuration,
                    bool suppressInteractiveAnalysisOverlays, const Progress& progress) const;

  /// What the pages of a pose series ask of their maker.
  struct PosePageCallbacks {
    /// Puts the model into a pose. Called only when a cell shows another pose than the cell before it, across pages
    /// too.
    std::function<void(std::int64_t poseIndex)> apply;
    std::function<CameraState(const PoseRenderCell&)> cameraState;
    /// Takes a finished page; the next one begins when it returns.
    std::function<void(const PoseRenderPage&, const PNGData&)> writePage;
  };

  /// Draws the pages of `plan` on the live `scene`, which holds a camera and a light more meanwhile and is put back on
  /// every way out; the last pose stays applied. Throws `ContactSheetRenderError`, `CancellationError` and whatever the
  /// callbacks throw.
  void renderExplicitPosePages(const std::shared_ptr<SCNScene>& scene, const PoseRenderPagePlan& plan,
                               const RenderBackground& background, const PosePageCallbacks& callbacks) const;

 private:
  PNGData encode(const Image& image) const;

  CancellationToken cancellation_;
};

}  // namespace ornolith
