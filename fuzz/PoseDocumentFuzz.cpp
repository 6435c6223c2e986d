// links: ornolith_contracts
//
// Any bytes as a pose document: they are refused with the document's own error, or they give a document that passes its
// own checks and survives being written.

#include "DocumentProperties.h"
#include "contracts/ExplicitPoseDocument.h"

using namespace ornolith;

namespace {

void checkValidation(const ExplicitPoseDocument& document) {
  document.validate();
  document.validate(document.modelSHA256);
  const bool isRefused = fuzz::throws<ExplicitPoseDocumentError>([&] { document.validate(std::string("another")); });
  fuzz::check(isRefused == document.modelSHA256.has_value(), "a document fits another model only where it names none");
}

void checkSelectors(const ExplicitPoseDocument& document) {
  for (const ExplicitModelPose& pose : document.poses) {
    for (const ModelPartRotation& rotation : pose.rotations) {
      const ModelPartSelector again = ModelPartSelector::parsing(rotation.selector.canonicalString());
      fuzz::check(again == rotation.selector, "a canonical selector reads back equal");
      fuzz::check(std::hash<ModelPartSelector>{}(again) == std::hash<ModelPartSelector>{}(rotation.selector),
                  "equal selectors hash alike");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::checkFaults(fuzz::bytes(data, size));
  try {
    const auto document = ExplicitPoseDocument::decode(fuzz::bytes(data, size));
    checkValidation(document);
    checkSelectors(document);
    fuzz::checkRoundTrip(document);
  } catch (const ExplicitPoseDocumentError&) {
    // Refused.
  }
  return 0;
}
