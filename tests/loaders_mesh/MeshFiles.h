#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <random>
#include <span>
#include <string>

#include "loaders/mesh/MeshReadError.h"
#include "scenegraph/SCNScene.h"
#include "scenegraph/SceneCheck.h"
#include "support/TestModels.h"

namespace ornolith::mesh_files {

inline std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

/// The value's bytes, lowest first or highest first.
template <typename Value>
std::string packed(Value value, bool isBig = false) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return isBig ? std::string(bytes.rbegin(), bytes.rend()) : bytes;
}

/// The message with which `read` refuses the file; empty where it reads a sound scene.
template <typename Read>
std::string refusalOf(const Read& read, const std::string& file) {
  try {
    const auto scene = read(bytesOf(file));
    EXPECT_EQ(checkScene(*scene).brokenPromise, std::nullopt);
    return {};
  } catch (const MeshReadError& error) {
    EXPECT_FALSE(error.errorDescription().empty());
    return error.errorDescription();
  }
}

/// Cuts the file at every byte and overwrites bytes at random: each must read soundly or be refused.
template <typename Read>
void expectSurvivesDamage(const Read& read, const std::string& file) {
  for (std::size_t size = 0; size < file.size(); ++size) refusalOf(read, file.substr(0, size));
  std::mt19937 random(7);
  for (int round = 0; round < 3000; ++round) {
    std::string patched = file;
    for (int patch = 0; patch < 4; ++patch) patched[random() % patched.size()] = static_cast<char>(random());
    refusalOf(read, patched);
  }
}

using testsupport::sharedModels;

inline const SCNGeometry& geometryAt(const SCNScene& scene, std::size_t child) {
  return *scene.rootNode()->childNodes().at(child)->geometry;
}

}  // namespace ornolith::mesh_files
