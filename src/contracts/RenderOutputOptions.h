#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "foundation/JSONCoding.h"

namespace ornolith {

/// How many views one output shows.
enum class ModelRenderLayout { single, contact4, contact6 };

template <>
inline constexpr auto rawValueTable<ModelRenderLayout> =
    std::to_array<RawValueEntry<ModelRenderLayout>>({{ModelRenderLayout::single, "single"},
                                                     {ModelRenderLayout::contact4, "contact-4"},
                                                     {ModelRenderLayout::contact6, "contact-6"}});

/// How the views of a contact sheet are placed.
enum class ContactSheetArrangement { grid, strip };

template <>
inline constexpr auto rawValueTable<ContactSheetArrangement> = std::to_array<RawValueEntry<ContactSheetArrangement>>(
    {{ContactSheetArrangement::grid, "grid"}, {ContactSheetArrangement::strip, "strip"}});

/// An sRGB colour with straight alpha, components 0 to 1 by convention. The JSON keys are the field names, all
/// required.
struct RenderRGBAColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 0;

  static RenderRGBAColor fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RenderRGBAColor&) const = default;
};

/// What stands behind the model: a colour, or nothing.
struct RenderBackground {
  std::optional<RenderRGBAColor> color;  ///< Absent for a transparent background.

  static constexpr RenderBackground transparent() noexcept { return {}; }
  constexpr bool isTransparent() const noexcept { return !color.has_value(); }

  bool operator==(const RenderBackground&) const = default;
};

/// A rectangle of a page, in pixels from its top left. The JSON keys are the field names, all required.
struct RenderPixelRect {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;

  static RenderPixelRect fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RenderPixelRect&) const = default;
};

/// How surfaces are drawn.
enum class SurfaceMode { textured, untextured, transparent, mesh };

template <>
inline constexpr auto rawValueTable<SurfaceMode> =
    std::to_array<RawValueEntry<SurfaceMode>>({{SurfaceMode::textured, "textured"},
                                               {SurfaceMode::untextured, "untextured"},
                                               {SurfaceMode::transparent, "transparent"},
                                               {SurfaceMode::mesh, "mesh"}});

/// What a view shows besides the model. In JSON an absent key takes its default; an unknown surface mode fails.
struct ViewerOptions {
  SurfaceMode surfaceMode = SurfaceMode::textured;
  bool showsPivot = false;
  bool showsRigging = false;
  bool showsSelectionFrame = true;
  bool showsWorldAxes = false;

  static ViewerOptions fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ViewerOptions&) const = default;
};

}  // namespace ornolith
