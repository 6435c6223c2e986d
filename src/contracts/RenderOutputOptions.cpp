#include "contracts/RenderOutputOptions.h"

#include <utility>

namespace ornolith {

RenderRGBAColor RenderRGBAColor::fromJSON(const JSONElement& element) {
  return {.red = decodeJSON<double>(element, "red"),
          .green = decodeJSON<double>(element, "green"),
          .blue = decodeJSON<double>(element, "blue"),
          .alpha = decodeJSON<double>(element, "alpha")};
}

JSONValue RenderRGBAColor::toJSON() const {
  JSONValue::Object object;
  addMember(object, "red", red);
  addMember(object, "green", green);
  addMember(object, "blue", blue);
  addMember(object, "alpha", alpha);
  return {std::move(object)};
}

RenderPixelRect RenderPixelRect::fromJSON(const JSONElement& element) {
  return {.x = decodeJSON<std::int64_t>(element, "x"),
          .y = decodeJSON<std::int64_t>(element, "y"),
          .width = decodeJSON<std::int64_t>(element, "width"),
          .height = decodeJSON<std::int64_t>(element, "height")};
}

JSONValue RenderPixelRect::toJSON() const {
  JSONValue::Object object;
  addMember(object, "x", x);
  addMember(object, "y", y);
  addMember(object, "width", width);
  addMember(object, "height", height);
  return {std::move(object)};
}

ViewerOptions ViewerOptions::fromJSON(const JSONElement& element) {
  ViewerOptions options;
  options.surfaceMode = decodeOptionalJSON<SurfaceMode>(element, "surfaceMode").value_or(options.surfaceMode);
  options.showsPivot = decodeOptionalJSON<bool>(element, "showsPivot").value_or(options.showsPivot);
  options.showsRigging = decodeOptionalJSON<bool>(element, "showsRigging").value_or(options.showsRigging);
  options.showsSelectionFrame =
      decodeOptionalJSON<bool>(element, "showsSelectionFrame").value_or(options.showsSelectionFrame);
  options.showsWorldAxes = decodeOptionalJSON<bool>(element, "showsWorldAxes").value_or(options.showsWorldAxes);
  return options;
}

JSONValue ViewerOptions::toJSON() const {
  JSONValue::Object object;
  addMember(object, "surfaceMode", surfaceMode);
  addMember(object, "showsPivot", showsPivot);
  addMember(object, "showsRigging", showsRigging);
  addMember(object, "showsSelectionFrame", showsSelectionFrame);
  addMember(object, "showsWorldAxes", showsWorldAxes);
  return {std::move(object)};
}

}  // namespace ornolith
