#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>

#include "loaders/mesh/MeshReadError.h"
#include "scenegraph/SCNScene.h"
#include "scenegraph/SceneCheck.h"
#include "support/Damage.h"
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
  const auto readOrRefuse = [&](const std::string& damaged) { refusalOf(read, damaged); };
  testsupport::cutEverywhere(file, readOrRefuse);
  testsupport::patchAtRandom(file, 3000, 7, readOrRefuse);
}

/// How many bytes the reader says it has read.
template <typename Read>
std::size_t bytesNotedBy(const Read& read, const std::string& file) {
  std::atomic<std::size_t> count = 0;
  read(bytesOf(file), [&](std::span<const std::byte> part) { count += part.size(); });
  return count;
}

using testsupport::sharedModels;

inline const SCNGeometry& geometryAt(const SCNScene& scene, std::size_t child) {
  return *scene.rootNode()->childNodes().at(child)->geometry;
}

}  // namespace ornolith::mesh_files
