#include "contracts/LocalRotationDegrees.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/NumberText.h"
#include "foundation/Text.h"

namespace ornolith {
namespace {

using namespace model_pose_contract_error;

/// The field of one axis.
std::optional<double>& component(LocalRotationDegrees& degrees, ViewportAxis axis) {
  switch (axis) {
    case ViewportAxis::x:
      return degrees.x;
    case ViewportAxis::y:
      return degrees.y;
    case ViewportAxis::z:
      break;
  }
  return degrees.z;
}

/// Reads one "<axis>=<degrees>" of `spec` into `degrees`.
void readAxis(LocalRotationDegrees& degrees, std::string_view piece, std::string_view spec) {
  const std::vector<std::string_view> sides = splitting(piece, '=');
  if (sides.size() != 2) throw ModelPoseContractError(InvalidAxisSpec{std::string(spec)});
  const std::string_view axisText = trimmingWhitespace(sides[0]);
  const std::string_view valueText = trimmingWhitespace(sides[1]);
  const std::optional<ViewportAxis> axis = fromRawValue<ViewportAxis>(axisText);
  if (!axis || valueText.empty()) throw ModelPoseContractError(InvalidAxisSpec{std::string(spec)});

  std::optional<double>& angle = component(degrees, *axis);
  if (angle) throw ModelPoseContractError(DuplicateAxis{std::string(axisText)});
  angle = parseDouble(valueText);
  if (!angle || !std::isfinite(*angle)) {
    throw ModelPoseContractError(InvalidAngle{.axis = std::string(axisText), .value = std::string(valueText)});
  }
}

}  // namespace

LocalRotationDegrees LocalRotationDegrees::fromAxisSpec(std::string_view text) {
  const std::vector<std::string_view> pieces = splitting(text, ',');
  if (std::any_of(pieces.begin(), pieces.end(), isBlank)) {
    throw ModelPoseContractError(InvalidAxisSpec{std::string(text)});
  }
  LocalRotationDegrees degrees;
  for (const std::string_view piece : pieces) readAxis(degrees, piece, text);
  degrees.validate();
  return degrees;
}

void LocalRotationDegrees::validate() const {
  if (!x && !y && !z) throw ModelPoseContractError(NoRotationAxes{});
  for (const auto& [axis, angle] : resolvedInXYZOrder()) {
    if (!std::isfinite(angle)) throw ModelPoseContractError(NonFiniteAngle{std::string(rawValue(axis))});
  }
}

std::array<std::pair<ViewportAxis, double>, 3> LocalRotationDegrees::resolvedInXYZOrder() const noexcept {
  return {{{ViewportAxis::x, x.value_or(0.0)}, {ViewportAxis::y, y.value_or(0.0)}, {ViewportAxis::z, z.value_or(0.0)}}};
}

LocalRotationDegrees LocalRotationDegrees::fromJSON(const JSONElement& element) {
  LocalRotationDegrees degrees;
  degrees.x = decodeOptionalJSON<double>(element, "x");
  degrees.y = decodeOptionalJSON<double>(element, "y");
  degrees.z = decodeOptionalJSON<double>(element, "z");
  try {
    degrees.validate();
  } catch (const ModelPoseContractError& error) {
    throw element.fault(error.errorDescription());
  }
  return degrees;
}

JSONValue LocalRotationDegrees::toJSON() const {
  validate();
  JSONValue::Object object;
  addOptionalMember(object, "x", x);
  addOptionalMember(object, "y", y);
  addOptionalMember(object, "z", z);
  return {std::move(object)};
}

}  // namespace ornolith
