#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/JSON.h"
#include "loaders/gltf/GLTFBuffers.h"
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFImages.h"
#include "loaders/gltf/GLTFLimits.h"
#include "loaders/gltf/GLTFMaterials.h"

namespace ornolith {

/// A document's manifest and binary chunk with the readers of its images and materials.
class GLTFParsedDocument {
 public:
  explicit GLTFParsedDocument(std::string_view members, std::vector<std::byte> chunk = {},
                              const std::string& folder = "/nonexistent")
      : json_(JSONDocument::parse(
            std::as_bytes(std::span(text_ = R"({"asset": {"version": "2.0"}, )" + std::string(members) + "}")))),
        budget_(1 << 20),
        document_(readGLTFDocument(json_.root(), budget_)),
        chunk_(std::make_shared<const std::vector<std::byte>>(std::move(chunk))),
        buffers_(document_, GLTFBytes{*chunk_, chunk_}, FileURL(folder), budget_),
        images(json_.root(), buffers_),
        materials(json_.root(), images) {}

 private:
  std::string text_;
  JSONDocument json_;
  GLTFMemoryBudget budget_;
  GLTFDocument document_;
  std::shared_ptr<const std::vector<std::byte>> chunk_;
  GLTFBuffers buffers_;

 public:
  GLTFImages images;
  GLTFMaterials materials;
};

}  // namespace ornolith
