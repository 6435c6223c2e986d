#pragma once

#include <cstdint>
#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace model_render_error {
struct MetalDeviceUnavailable {
  bool operator==(const MetalDeviceUnavailable&) const = default;
};
struct InvalidOutputDestination {
  bool operator==(const InvalidOutputDestination&) const = default;
};
struct ExplicitPoseOutputRequiresOnePage {
  bool operator==(const ExplicitPoseOutputRequiresOnePage&) const = default;
};
struct ExplicitPoseTilesTooSmall {
  bool operator==(const ExplicitPoseTilesTooSmall&) const = default;
};
struct ExplicitPoseResultMissing {
  bool operator==(const ExplicitPoseResultMissing&) const = default;
};
}  // namespace model_render_error

/// A render job that cannot be carried out as it was asked for.
class ModelRenderError final
    : public TypedError<ModelRenderError, model_render_error::MetalDeviceUnavailable,
                        model_render_error::InvalidOutputDestination,
                        model_render_error::ExplicitPoseOutputRequiresOnePage,
                        model_render_error::ExplicitPoseTilesTooSmall, model_render_error::ExplicitPoseResultMissing> {
 public:
  using TypedError::TypedError;
  static std::string describe(const model_render_error::MetalDeviceUnavailable& error);
  static std::string describe(const model_render_error::InvalidOutputDestination& error);
  static std::string describe(const model_render_error::ExplicitPoseOutputRequiresOnePage& error);
  static std::string describe(const model_render_error::ExplicitPoseTilesTooSmall& error);
  static std::string describe(const model_render_error::ExplicitPoseResultMissing& error);
};

namespace image_size_error {
struct OverPixelBudget {
  std::int64_t width = 0;   ///< Pixels.
  std::int64_t height = 0;  ///< Pixels.
  bool operator==(const OverPixelBudget&) const = default;
};
}  // namespace image_size_error

/// An image was asked for that is empty or over the limits of `maximumImageSide` and `maximumImagePixels`.
class ImageSizeError final : public TypedError<ImageSizeError, image_size_error::OverPixelBudget> {
 public:
  using TypedError::TypedError;
  static std::string describe(const image_size_error::OverPixelBudget& error);
};

namespace render_road_error {
struct PartsInventory {
  bool operator==(const PartsInventory&) const = default;
};
struct PivotOverlay {
  bool operator==(const PivotOverlay&) const = default;
};
struct RiggingOverlay {
  bool operator==(const RiggingOverlay&) const = default;
};
struct ExplicitPoses {
  bool operator==(const ExplicitPoses&) const = default;
};
struct ContactSheet {
  bool operator==(const ContactSheet&) const = default;
};
}  // namespace render_road_error

/// The request is in order but asks for a kind of output that this version of the program does not make.
class RenderRoadError final : public TypedError<RenderRoadError, render_road_error::PartsInventory,
                                                render_road_error::PivotOverlay, render_road_error::RiggingOverlay,
                                                render_road_error::ExplicitPoses, render_road_error::ContactSheet> {
 public:
  using TypedError::TypedError;
  static std::string describe(const render_road_error::PartsInventory& error);
  static std::string describe(const render_road_error::PivotOverlay& error);
  static std::string describe(const render_road_error::RiggingOverlay& error);
  static std::string describe(const render_road_error::ExplicitPoses& error);
  static std::string describe(const render_road_error::ContactSheet& error);
};

}  // namespace ornolith
