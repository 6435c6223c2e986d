#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "scenegraph/device/CheckFrame.h"

namespace ornolith::device {
namespace {

using ::testing::HasSubstr;
using ::testing::Optional;

const float positions[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
const std::uint32_t indices[6] = {0, 1, 2, 2, 1, 0};

FrameDescription soundFrame() {
  FrameDescription frame;
  frame.width = 4;
  frame.height = 4;
  frame.textures.push_back({std::make_shared<const Image>(Image{1, 1, {1, 2, 3, 4}}), true, true});
  frame.materials.emplace_back();
  frame.materials[0].diffuse.texture = 0;
  Mesh mesh;
  mesh.position = {positions, 3, 3, 3};
  mesh.texcoords.push_back({positions, 3, 2, 3});
  frame.meshes.push_back(mesh);
  DrawItem item;
  item.indices = indices;
  item.indexCount = 6;
  frame.opaqueItems.push_back(item);
  frame.blendedItems.push_back(item);
  frame.directionalLights.push_back({{0, -1, 0}, {1, 1, 1}});
  return frame;
}

void expectFault(const std::function<void(FrameDescription&)>& damage, const std::string& text) {
  FrameDescription frame = soundFrame();
  damage(frame);
  EXPECT_THAT(checkFrame(frame), Optional(HasSubstr(text)));
}

TEST(CheckFrame, ASoundFrameKeepsAllPromises) {
  EXPECT_EQ(checkFrame(soundFrame()), std::nullopt);
  FrameDescription empty;
  empty.width = 1;
  empty.height = 1;
  EXPECT_EQ(checkFrame(empty), std::nullopt);
}

TEST(CheckFrame, NumbersMayBeAnything) {
  FrameDescription frame = soundFrame();
  frame.opaqueItems[0].worldMatrix.columns[0].x = std::nan("");
  frame.materials[0].transparency = INFINITY;
  frame.camera.verticalFieldOfView = -1;
  EXPECT_EQ(checkFrame(frame), std::nullopt);
}

TEST(CheckFrame, NamesTheFirstBrokenPromise) {
  expectFault([](auto& f) { f.height = 0; }, "4 by 0");
  expectFault([](auto& f) { f.textures[0].image = nullptr; }, "Texture 0 has no image");
  expectFault([](auto& f) { f.textures[0].image = std::make_shared<const Image>(); }, "Texture 0 is empty");
  expectFault(
      [](auto& f) {
        f.textures[0].image = std::make_shared<const Image>(Image{2, 1, {1}});
      },
      "holds 1 bytes in place of 8");
  expectFault([](auto& f) { f.materials[0].roughness.texture = 1; }, "slot roughness, names texture 1 of 1");
  expectFault([](auto& f) { f.materials[0].normal.texture = -2; }, "slot normal, names texture -2");
  expectFault([](auto& f) { f.meshes[0].position.data = nullptr; }, "Mesh 0, position, has elements but no memory");
  expectFault([](auto& f) { f.meshes[0].position.components = 2; }, "position, has 2 components");
  expectFault([](auto& f) { f.meshes[0].texcoords[0].stride = 1; }, "texcoord 0, has a stride of 1");
  expectFault([](auto& f) { f.opaqueItems[0].mesh = 1; }, "Opaque item 0 names mesh 1 of 1");
  expectFault([](auto& f) { f.blendedItems[0].material = 5; }, "Blended item 0 names material 5 of 1");
  expectFault([](auto& f) { f.opaqueItems[0].indexCount = 4; }, "no whole number of primitives");
  expectFault([](auto& f) { f.opaqueItems[0].indices = nullptr; }, "no indices");
  expectFault([](auto& f) { f.opaqueItems[0].worldMatrix.columns[3].w = 2; }, "not affine");
  expectFault([](auto& f) { f.meshes[0].position.count = 2; }, "has index 2 where its mesh has 2 elements");
  expectFault([](auto& f) { f.meshes[0].texcoords[0].count = 1; }, "has index 1 where its mesh has 1 elements");
  expectFault([](auto& f) { f.directionalLights[0].direction = {2, 0, 0}; }, "length 2");
  expectFault([](auto& f) { f.directionalLights[0].direction.x = NAN; }, "Directional light 0");
}

TEST(CheckFrame, WholePrimitivesDependOnTheTopology) {
  FrameDescription frame = soundFrame();
  frame.opaqueItems[0].indexCount = 4;
  frame.opaqueItems[0].topology = Topology::lines;
  EXPECT_EQ(checkFrame(frame), std::nullopt);
  frame.opaqueItems[0].indexCount = 5;
  EXPECT_NE(checkFrame(frame), std::nullopt);
  frame.opaqueItems[0].topology = Topology::points;
  EXPECT_EQ(checkFrame(frame), std::nullopt);
}

TEST(CheckFrame, AbsentStreamsAreFine) {
  FrameDescription frame = soundFrame();
  frame.meshes[0].texcoords[0] = {};
  EXPECT_EQ(checkFrame(frame), std::nullopt);
}

}  // namespace
}  // namespace ornolith::device
