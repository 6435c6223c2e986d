// links: ornolith_contracts
//
// Any bytes as a camera preset: they are refused with the document's own error or as no JSON, or they give a preset
// that passes its own checks and survives being written.

#include "DocumentProperties.h"
#include "contracts/CameraPresetDocument.h"

using namespace ornolith;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::checkFaults(fuzz::bytes(data, size));
  std::optional<CameraPresetDocument> document;
  try {
    document = CameraPresetDocument::decode(fuzz::bytes(data, size));
  } catch (const CameraPresetDocumentError&) {
    return 0;
  } catch (const JSONError&) {
    return 0;
  }
  document->validate();
  fuzz::checkRoundTrip(*document);
  return 0;
}
