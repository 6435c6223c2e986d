// ornolith_render ornolith_scene ornolith_scenegraph ornolith_foundation
//
// Series of posed views as the render service makes them, PNG encoding included: 64 cells of 512x512 of a model of
// 100,000 triangles, and 4096 cells of 64x64 of one of 5,000. Rates are cells a second.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "render/CameraFraming.h"
#include "render/ContactSheetRenderService.h"
#include "scene/SceneController.h"
#include "scenegraph/NodeMetadata.h"
#include "scenegraph/SCNSphere.h"

namespace ornolith {
namespace {

/// A sphere with about `triangleCount` triangles and a smaller one that its parent's turn carries around it.
FbxFallbackLoadResult planetAndMoon(std::size_t triangleCount) {
  FbxFallbackLoadResult result;
  result.scene = SCNScene::scene();
  auto parent = result.scene->rootNode();
  for (int k = 0; k < 2; ++k) {
    auto sphere = SCNSphere::sphereWithRadius(k == 0 ? 10.0 : 3.0);
    // A sphere of n segments has about n * n triangles.
    std::size_t segments = 8;
    while (segments * segments < triangleCount / 2) ++segments;
    sphere->setSegmentCount(segments);
    auto node = SCNNode::nodeWithGeometry(sphere);
    node->setPosition({k == 0 ? 0.0 : 15.0, 0, 0});
    parent->addChildNode(node);
    parent = node;
  }
  return result;
}

void renderSeries(benchmark::State& state) {
  const auto cells = static_cast<std::size_t>(state.range(0));
  const std::int64_t side = state.range(1);
  SceneController controller;
  controller.loadFbxFallback(planetAndMoon(static_cast<std::size_t>(state.range(2))), FileURL("/planet.fbx"), {});
  const SCNNode::Pointer planet = controller.modelRootNodes().front()->childNodes().front();

  std::vector<ExplicitModelPose> poses(cells);
  for (std::size_t i = 0; i < cells; ++i) poses[i].id = std::to_string(i);
  const PoseRenderPagePlan plan =
      PoseRenderPagePlanner::makePlan(poses, ModelRenderLayout::single, ContactSheetArrangement::grid, side, side);
  const ModelRenderBounds bounds = controller.currentModelRenderBounds();
  std::size_t bytes = 0;
  for (auto _ : state) {
    ContactSheetRenderService().renderExplicitPosePages(
        controller.scene(), plan, RenderBackground::transparent(),
        {.apply =
             [&](std::int64_t pose) {
               planet->setEulerAngles({0, 0.01 * static_cast<double>(pose), 0});
             },
         .cameraState =
             [&](const PoseRenderCell& cell) {
               return fittedPoseCameraState(controller, bounds, cell.frame, cell.viewpoint, plan.layout, std::nullopt);
             },
         .writePage = [&](const PoseRenderPage&, const auto& png) { bytes += png.size(); }});
  }
  benchmark::DoNotOptimize(bytes);
  state.SetItemsProcessed(static_cast<std::int64_t>(cells) * static_cast<std::int64_t>(state.iterations()));
}

BENCHMARK(renderSeries)
    ->ArgNames({"cells", "side", "triangles"})
    ->Args({64, 512, 100'000})
    ->Args({4096, 64, 5'000})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace ornolith

BENCHMARK_MAIN();
