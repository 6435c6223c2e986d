#include "parts/PartPresentationState.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ornolith {

PartPresentationState PartPresentationState::fromJSON(const JSONElement& element) {
  PartPresentationState state;
  state.selectedPartPath = decodeOptionalJSON<ModelNodePath>(element, "selectedPartPath");
  state.hiddenPartPaths =
      decodeOptionalJSON<std::vector<ModelNodePath>>(element, "hiddenPartPaths").value_or(std::vector<ModelNodePath>());
  std::sort(state.hiddenPartPaths.begin(), state.hiddenPartPaths.end());
  state.hiddenPartPaths.erase(std::unique(state.hiddenPartPaths.begin(), state.hiddenPartPaths.end()),
                              state.hiddenPartPaths.end());
  state.isolatedPartPath = decodeOptionalJSON<ModelNodePath>(element, "isolatedPartPath");
  state.showsDiagnosticColors = decodeOptionalJSON<bool>(element, "showsDiagnosticColors").value_or(false);
  state.articulationFingerprint = decodeOptionalJSON<std::string>(element, "articulationFingerprint");
  // Read wider than the field is, so that a number beyond 32 bits counts as not finite instead of failing.
  const double angle = decodeOptionalJSON<double>(element, "articulationAngleDegrees").value_or(0);
  const bool fits = std::abs(angle) <= static_cast<double>(std::numeric_limits<float>::max());
  state.articulationAngleDegrees = fits ? normalizedArticulationAngleDegrees(static_cast<float>(angle)) : 0;
  return state;
}

JSONValue PartPresentationState::toJSON() const {
  JSONValue::Object object;
  addOptionalMember(object, "selectedPartPath", selectedPartPath);
  addMember(object, "hiddenPartPaths", hiddenPartPaths);
  addOptionalMember(object, "isolatedPartPath", isolatedPartPath);
  addMember(object, "showsDiagnosticColors", showsDiagnosticColors);
  addOptionalMember(object, "articulationFingerprint", articulationFingerprint);
  addMember(object, "articulationAngleDegrees", articulationAngleDegrees);
  return {std::move(object)};
}

float normalizedArticulationAngleDegrees(float degrees) noexcept {
  if (!std::isfinite(degrees)) return 0;
  float angle = std::fmod(degrees, 360.0F);
  if (angle > 180.0F) {
    angle -= 360.0F;
  } else if (angle < -180.0F) {
    angle += 360.0F;
  }
  return angle == 0 ? 0 : angle;
}

}  // namespace ornolith
