#include "viewport/PhotoCapture.h"

#include <utility>

namespace ornolith {

PhotoCropRect PhotoCropRect::fromJSON(const JSONElement& element) {
  PhotoCropRect rectangle;
  rectangle.x = decodeJSON<double>(element, "x");
  rectangle.y = decodeJSON<double>(element, "y");
  rectangle.width = decodeJSON<double>(element, "width");
  rectangle.height = decodeJSON<double>(element, "height");
  return rectangle;
}

JSONValue PhotoCropRect::toJSON() const {
  JSONValue::Object object;
  addMember(object, "x", x);
  addMember(object, "y", y);
  addMember(object, "width", width);
  addMember(object, "height", height);
  return {std::move(object)};
}

PhotoModeOptions PhotoModeOptions::fromJSON(const JSONElement& element) {
  PhotoModeOptions options;
  options.captureMode = decodeJSON<PhotoCaptureMode>(element, "captureMode");
  options.lightIntensity = decodeJSON<double>(element, "lightIntensity");
  if (const auto path = decodeOptionalJSON<std::string>(element, "backgroundImageURL")) {
    options.backgroundImageURL = FileURL(*path);
  }
  options.backgroundFilter = decodeJSON<PhotoFilter>(element, "backgroundFilter");
  options.modelFilter = decodeJSON<PhotoFilter>(element, "modelFilter");
  options.liveFiltersEnabled = decodeJSON<bool>(element, "liveFiltersEnabled");
  options.cropRect = decodeJSON<PhotoCropRect>(element, "cropRect");
  options.isCropEnabled = decodeJSON<bool>(element, "isCropEnabled");
  return options;
}

JSONValue PhotoModeOptions::toJSON() const {
  JSONValue::Object object;
  addMember(object, "captureMode", captureMode);
  addMember(object, "lightIntensity", lightIntensity);
  if (backgroundImageURL) addMember(object, "backgroundImageURL", backgroundImageURL->path());
  addMember(object, "backgroundFilter", backgroundFilter);
  addMember(object, "modelFilter", modelFilter);
  addMember(object, "liveFiltersEnabled", liveFiltersEnabled);
  addMember(object, "cropRect", cropRect);
  addMember(object, "isCropEnabled", isCropEnabled);
  return {std::move(object)};
}

}  // namespace ornolith
