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
struct PivotOverlay {
  bool operator==(const PivotOverlay&) const = default;
};
struct RiggingOverlay {
  bool operator==(const RiggingOverlay&) const = default;
};
}  // namespace render_road_error

/// The request is in order but asks for a kind of output that this version of the program does not make.
class RenderRoadError final
    : public TypedError<RenderRoadError, render_road_error::PivotOverlay, render_road_error::RiggingOverlay> {
 public:
  using TypedError::TypedError;
  static std::string describe(const render_road_error::PivotOverlay& error);
  static std::string describe(const render_road_error::RiggingOverlay& error);
};

}  // namespace ornolith
