#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace model_pose_contract_error {
struct InvalidSelector {
  std::string text;  ///< The whole selector.
  bool operator==(const InvalidSelector&) const = default;
};
struct InvalidSourceID {
  std::string text;  ///< The identity, without the selector's prefix.
  bool operator==(const InvalidSourceID&) const = default;
};
struct InvalidAxisSpec {
  std::string text;  ///< The whole specification.
  bool operator==(const InvalidAxisSpec&) const = default;
};
struct DuplicateAxis {
  std::string axis;
  bool operator==(const DuplicateAxis&) const = default;
};
struct InvalidAngle {
  std::string axis;
  std::string value;  ///< The text of the angle, trimmed.
  bool operator==(const InvalidAngle&) const = default;
};
struct NonFiniteAngle {
  std::string axis;
  bool operator==(const NonFiniteAngle&) const = default;
};
struct NoRotationAxes {
  bool operator==(const NoRotationAxes&) const = default;
};
}  // namespace model_pose_contract_error

/// A part selector or a rotation that breaks the rules of its form.
class ModelPoseContractError final
    : public TypedError<ModelPoseContractError, model_pose_contract_error::InvalidSelector,
                        model_pose_contract_error::InvalidSourceID, model_pose_contract_error::InvalidAxisSpec,
                        model_pose_contract_error::DuplicateAxis, model_pose_contract_error::InvalidAngle,
                        model_pose_contract_error::NonFiniteAngle, model_pose_contract_error::NoRotationAxes> {
 public:
  using TypedError::TypedError;
  static std::string describe(const model_pose_contract_error::InvalidSelector& error);
  static std::string describe(const model_pose_contract_error::InvalidSourceID& error);
  static std::string describe(const model_pose_contract_error::InvalidAxisSpec& error);
  static std::string describe(const model_pose_contract_error::DuplicateAxis& error);
  static std::string describe(const model_pose_contract_error::InvalidAngle& error);
  static std::string describe(const model_pose_contract_error::NonFiniteAngle& error);
  static std::string describe(const model_pose_contract_error::NoRotationAxes& error);
};

}  // namespace ornolith
