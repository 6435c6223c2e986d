#pragma once

#include "foundation/Error.h"

namespace ornolith {

namespace contact_sheet_render_error {
struct InvalidLayout {
  bool operator==(const InvalidLayout&) const = default;
};
struct InvalidOutputSize {
  bool operator==(const InvalidOutputSize&) const = default;
};
struct InvalidBackground {
  bool operator==(const InvalidBackground&) const = default;
};
struct InvalidFieldOfView {
  bool operator==(const InvalidFieldOfView&) const = default;
};
struct MetalDeviceUnavailable {
  bool operator==(const MetalDeviceUnavailable&) const = default;
};
struct BitmapCreationFailed {
  bool operator==(const BitmapCreationFailed&) const = default;
};
struct ImageConversionFailed {
  bool operator==(const ImageConversionFailed&) const = default;
};
struct PngEncodingFailed {
  bool operator==(const PngEncodingFailed&) const = default;
};
}  // namespace contact_sheet_render_error

/// A contact sheet or a pose page that cannot be made.
class ContactSheetRenderError final
    : public TypedError<
          ContactSheetRenderError, contact_sheet_render_error::InvalidLayout,
          contact_sheet_render_error::InvalidOutputSize, contact_sheet_render_error::InvalidBackground,
          contact_sheet_render_error::InvalidFieldOfView, contact_sheet_render_error::MetalDeviceUnavailable,
          contact_sheet_render_error::BitmapCreationFailed, contact_sheet_render_error::ImageConversionFailed,
          contact_sheet_render_error::PngEncodingFailed> {
 public:
  using TypedError::TypedError;
  static std::string describe(const contact_sheet_render_error::InvalidLayout& error);
  static std::string describe(const contact_sheet_render_error::InvalidOutputSize& error);
  static std::string describe(const contact_sheet_render_error::InvalidBackground& error);
  static std::string describe(const contact_sheet_render_error::InvalidFieldOfView& error);
  static std::string describe(const contact_sheet_render_error::MetalDeviceUnavailable& error);
  static std::string describe(const contact_sheet_render_error::BitmapCreationFailed& error);
  static std::string describe(const contact_sheet_render_error::ImageConversionFailed& error);
  static std::string describe(const contact_sheet_render_error::PngEncodingFailed& error);
};

}  // namespace ornolith
