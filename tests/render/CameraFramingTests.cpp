#include <gtest/gtest.h>

#include <cmath>

#include "foundation/Math.h"
#include "render/CameraFraming.h"

namespace ornolith {
namespace {

constexpr double fieldOfView = 45.0;
const double halfTangent = std::tan(fieldOfView * math::pi / 180.0 * 0.5);

ModelRenderBounds boxOf(simd_float3 size, simd_float3 center = {}) {
  return {.minimum = center - size * 0.5F, .maximum = center + size * 0.5F};
}

simd_double3 wide(const CodableVector3& v) {
  return {v.x, v.y, v.z};
}

void expectNear(simd_double3 actual, simd_double3 expected, double tolerance = 1e-5) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

/// A world point in the space of a camera that stands as `state` says: the inverse of Rz * Ry * Rx, step by step.
simd_double3 inCameraSpace(const CameraState& state, simd_double3 point) {
  const simd_double3 angles = wide(state.eulerAngles);
  simd_double3 p = point - wide(state.position);
  p = {p.x * std::cos(angles.z) + p.y * std::sin(angles.z), -p.x * std::sin(angles.z) + p.y * std::cos(angles.z), p.z};
  p = {p.x * std::cos(angles.y) - p.z * std::sin(angles.y), p.y, p.x * std::sin(angles.y) + p.z * std::cos(angles.y)};
  return {p.x, p.y * std::cos(angles.x) + p.z * std::sin(angles.x),
          -p.y * std::sin(angles.x) + p.z * std::cos(angles.x)};
}

struct ImagePoint {
  double x = 0;  ///< -1 to 1 from the left edge to the right.
  double y = 0;  ///< -1 to 1 from the bottom edge to the top.
};

ImagePoint projected(const CameraState& state, double aspectRatio, simd_double3 point) {
  const simd_double3 p = inCameraSpace(state, point);
  EXPECT_LT(p.z, 0) << "the point is in front of the camera";
  const double tangent = std::tan(state.fieldOfView * math::pi / 360.0);
  return {.x = p.x / (-p.z * tangent * aspectRatio), .y = p.y / (-p.z * tangent)};
}

/// The largest coordinate, in absolute value, of the eight corners of `box` in the image.
double reach(const CameraState& state, double aspectRatio, const ModelRenderBounds& box) {
  double result = 0;
  for (int corner = 0; corner < 8; ++corner) {
    const simd_double3 point{(corner & 1) != 0 ? box.maximum.x : box.minimum.x,
                             (corner & 2) != 0 ? box.maximum.y : box.minimum.y,
                             (corner & 4) != 0 ? box.maximum.z : box.minimum.z};
    const ImagePoint image = projected(state, aspectRatio, point);
    result = std::max({result, std::fabs(image.x), std::fabs(image.y)});
  }
  return result;
}

void expectLooksAtCenter(const CameraState& state, const ModelRenderBounds& box) {
  const simd_double3 center = inCameraSpace(state, vectorCast<double>(box.center()));
  EXPECT_LT(center.z, 0);
  EXPECT_NEAR(center.x / -center.z, 0, 1e-5);
  EXPECT_NEAR(center.y / -center.z, 0, 1e-5);
}

TEST(CameraFitDistance, FitsTheHeightOrTheWidthWhicheverNeedsMore) {
  EXPECT_DOUBLE_EQ(cameraFitDistance({.width = 1, .height = 4, .depth = 0}, 1.0, fieldOfView, 1.0),
                   4.0 / (2.0 * halfTangent));
  EXPECT_NEAR(cameraFitDistance({.width = 4, .height = 1, .depth = 0}, 2.0, fieldOfView, 1.0),
              4.0 / (2.0 * 2.0 * halfTangent), 1e-12);
}

TEST(CameraFitDistance, AddsAThirdOfTheDepthAndThePadding) {
  const double bare = cameraFitDistance({.width = 1, .height = 1, .depth = 0}, 1.0, fieldOfView, 1.0);
  EXPECT_NEAR(cameraFitDistance({.width = 1, .height = 1, .depth = 3}, 1.0, fieldOfView, 1.0), bare + 1.0, 1e-12);
  EXPECT_NEAR(cameraFitDistance({.width = 1, .height = 1, .depth = 3}, 1.0, fieldOfView, 1.22), (bare + 1.0) * 1.22,
              1e-12);
  EXPECT_EQ(cameraFitDistance({.width = 1, .height = 1, .depth = -3}, 1.0, fieldOfView, 1.0), bare);
}

TEST(CameraFitDistance, AFlatBoxCountsWithATenth) {
  EXPECT_EQ(cameraFitDistance({.width = 0, .height = 0, .depth = 0}, 1.0, 10.0, 1.22),
            cameraFitDistance({.width = 0.1, .height = 0.1, .depth = 0}, 1.0, 10.0, 1.22));
}

TEST(CameraFitDistance, IsNeverBelowAQuarter) {
  EXPECT_EQ(cameraFitDistance({.width = 0, .height = 0, .depth = 0}, 1.0, fieldOfView, 1.22), 0.25);
  EXPECT_GT(cameraFitDistance({.width = 0, .height = 0, .depth = 0}, 1.0, 10.0, 1.22), 0.25);
}

TEST(CameraFitDistance, ANarrowImageCountsAsATenth) {
  const CameraFitExtent extent{.width = 2, .height = 1, .depth = 1};
  EXPECT_EQ(cameraFitDistance(extent, 0.05, fieldOfView, 1.22), cameraFitDistance(extent, 0.1, fieldOfView, 1.22));
  EXPECT_LT(cameraFitDistance(extent, 0.11, fieldOfView, 1.22), cameraFitDistance(extent, 0.1, fieldOfView, 1.22));
}

TEST(CameraFitExtent, FollowsTheViewpoint) {
  const auto axes = [](CameraFitViewpoint viewpoint) {
    const CameraFitExtent extent = cameraFitExtent({1, 2, 3}, viewpoint);
    return simd_double3{extent.width, extent.height, extent.depth};
  };
  EXPECT_EQ(axes(CameraFitViewpoint::front), (simd_double3{1, 2, 3}));
  EXPECT_EQ(axes(CameraFitViewpoint::back), (simd_double3{1, 2, 3}));
  EXPECT_EQ(axes(CameraFitViewpoint::left), (simd_double3{3, 2, 1}));
  EXPECT_EQ(axes(CameraFitViewpoint::right), (simd_double3{3, 2, 1}));
  EXPECT_EQ(axes(CameraFitViewpoint::top), (simd_double3{1, 3, 2}));
  EXPECT_EQ(axes(CameraFitViewpoint::bottom), (simd_double3{1, 3, 2}));
}

TEST(FrontCameraState, StandsInFrontAndALittleAbove) {
  const ModelRenderBounds box = boxOf({2, 4, 1}, {10, 20, 30});
  const CameraState state = frontCameraState(box, 1.0, cameraFitPadding, fieldOfView);
  const double distance = (4.0 / (2.0 * halfTangent) + 1.0 / 3.0) * 1.22;
  expectNear(wide(state.position), {10, 20 + 0.35 * 4, 30 + distance});
  expectNear(wide(state.target), {10, 20, 30});
  EXPECT_EQ(state.fieldOfView, fieldOfView);
  expectLooksAtCenter(state, box);
  EXPECT_NEAR(state.eulerAngles.x, -std::atan2(0.35 * 4, distance), 1e-6);
  EXPECT_NEAR(state.eulerAngles.y, 0, 1e-6);
  EXPECT_NEAR(state.eulerAngles.z, 0, 1e-6);
}

TEST(FrontCameraState, AFlatModelIsSeenFromALiftByItsBreadth) {
  const CameraState state = frontCameraState(boxOf({2, 0, 5}), 1.0, cameraFitPadding, fieldOfView);
  EXPECT_FLOAT_EQ(state.position.y, static_cast<float>(0.35 * 0.08 * 5.0));
  const double distance = (2.0 / (2.0 * halfTangent) + 5.0 / 3.0) * 1.22;
  EXPECT_FLOAT_EQ(state.position.z, static_cast<float>(distance));
}

TEST(FrontCameraState, APointIsSeenFromAQuarter) {
  const CameraState state = frontCameraState(boxOf({0, 0, 0}, {1, 2, 3}), 1.0, cameraFitPadding, fieldOfView);
  EXPECT_EQ(state.position, (CodableVector3{1, 2, 3.25F}));
  EXPECT_EQ(state.eulerAngles, (CodableVector3{0, 0, 0}));
}

TEST(FrontCameraState, KeepsOrdinaryBoxesInsideTheImage) {
  for (const simd_float3 size : {simd_float3{1, 1, 1}, {2, 1, 1}, {1, 3, 1}, {5, 2, 2}, {0.01F, 0.02F, 0.01F}}) {
    for (const double aspectRatio : {0.5, 1.0, 16.0 / 9.0, 4.0}) {
      for (const double degrees : {20.0, 45.0, 60.0}) {
        const ModelRenderBounds box = boxOf(size, {0.5F, -3, 2});
        const CameraState state = frontCameraState(box, aspectRatio, cameraFitPadding, degrees);
        EXPECT_LT(reach(state, aspectRatio, box), 1.0)
            << size.x << " " << size.y << " " << size.z << " at " << aspectRatio << ", " << degrees;
        expectLooksAtCenter(state, box);
      }
    }
  }
}

TEST(ViewpointCameraState, StandsOnItsSideWithoutALift) {
  const ModelRenderBounds box = boxOf({1, 2, 3}, {10, 20, 30});
  for (const CameraFitViewpoint viewpoint : allCameraFitViewpoints) {
    const CameraState state = viewpointCameraState(box, viewpoint, 1.5, cameraFitPadding, 30.0);
    const double distance = cameraFitDistance(cameraFitExtent({1, 2, 3}, viewpoint), 1.5, 30.0, 1.22);
    expectNear(wide(state.position),
               simd_double3{10, 20, 30} + vectorCast<double>(worldDirection(viewpoint)) * distance);
    expectNear(wide(state.target), {10, 20, 30});
    EXPECT_EQ(state.fieldOfView, 30.0);
    expectLooksAtCenter(state, box);
  }
}

TEST(ViewpointCameraState, IsUprightByItsPreferredUp) {
  const ModelRenderBounds box = boxOf({1, 1, 1});
  for (const CameraFitViewpoint viewpoint : allCameraFitViewpoints) {
    const CameraState state = viewpointCameraState(box, viewpoint, 1.0, cameraFitPadding, fieldOfView);
    const ImagePoint up = projected(state, 1.0, vectorCast<double>(preferredUp(viewpoint)) * 0.1);
    EXPECT_NEAR(up.x, 0, 1e-6) << rawValue(viewpoint);
    EXPECT_GT(up.y, 0.01) << rawValue(viewpoint);
  }
}

TEST(ViewpointCameraState, KeepsOrdinaryBoxesInsideTheImage) {
  for (const simd_float3 size : {simd_float3{1, 1, 1}, {2, 1, 1}, {1, 2, 1}, {1, 1, 2}, {3, 4, 5}}) {
    for (const CameraFitViewpoint viewpoint : allCameraFitViewpoints) {
      for (const double aspectRatio : {0.75, 1.0, 16.0 / 9.0}) {
        const ModelRenderBounds box = boxOf(size, {0, 1, 0});
        const CameraState state = viewpointCameraState(box, viewpoint, aspectRatio, cameraFitPadding, fieldOfView);
        EXPECT_LT(reach(state, aspectRatio, box), 1.0) << rawValue(viewpoint);
      }
    }
  }
}

TEST(ViewpointCameraState, TheMarginOfAFlatBoxIsThePadding) {
  // Without depth the box spans 1 / 1.22 of the image in the direction that decides the distance.
  EXPECT_NEAR(reach(viewpointCameraState(boxOf({4, 1, 0}), CameraFitViewpoint::front, 2.0, cameraFitPadding, 40.0), 2.0,
                    boxOf({4, 1, 0})),
              1 / 1.22, 1e-5);
  EXPECT_NEAR(reach(viewpointCameraState(boxOf({0, 3, 1}), CameraFitViewpoint::left, 1.0, cameraFitPadding, 40.0), 1.0,
                    boxOf({0, 3, 1})),
              1 / 1.22, 1e-5);
}

TEST(ViewpointCameraState, SidesOfABoxThatIsNoCubeHaveTheirOwnDistance) {
  const ModelRenderBounds box = boxOf({1, 1, 4});
  const auto distance = [&](CameraFitViewpoint viewpoint) {
    return length(wide(viewpointCameraState(box, viewpoint, 1.0, cameraFitPadding, fieldOfView).position));
  };
  EXPECT_EQ(distance(CameraFitViewpoint::left), distance(CameraFitViewpoint::right));
  EXPECT_EQ(distance(CameraFitViewpoint::front), distance(CameraFitViewpoint::back));
  EXPECT_GT(std::fabs(distance(CameraFitViewpoint::left) - distance(CameraFitViewpoint::front)), 0.5);
}

TEST(FittedCameraState, AnEmptySceneFramesTheUnitBox) {
  const SceneController controller;
  EXPECT_EQ(controller.currentModelRenderBounds(), boxOf({1, 1, 1}));
  EXPECT_EQ(fittedCameraState(controller, CameraFitViewpoint::right, 1.0, cameraFitPadding, 30.0),
            viewpointCameraState(boxOf({1, 1, 1}), CameraFitViewpoint::right, 1.0, cameraFitPadding, 30.0));
}

TEST(FittedCameraState, WithoutAFieldOfViewThatOfTheCameraCounts) {
  const SceneController controller;
  controller.cameraNode()->camera->fieldOfView = 33.0;
  const ModelRenderBounds box = boxOf({1, 2, 3});
  EXPECT_EQ(fittedCameraState(controller, 1.0, cameraFitPadding, std::nullopt, box).fieldOfView, 33.0);
  EXPECT_EQ(fittedCameraState(controller, 1.0, cameraFitPadding, 50.0, box).fieldOfView, 50.0);
  controller.cameraNode()->camera = nullptr;
  EXPECT_EQ(fittedCameraState(controller, 1.0, cameraFitPadding, std::nullopt, box),
            frontCameraState(box, 1.0, cameraFitPadding, 45.0));
}

TEST(FittedPoseCameraState, ASingleLayoutIsThePlainFraming) {
  const SceneController controller;
  const ModelRenderBounds box = boxOf({1, 2, 3}, {4, 5, 6});
  const RenderPixelRect frame{.x = 7, .y = 8, .width = 300, .height = 200};
  EXPECT_EQ(fittedPoseCameraState(controller, box, frame, CameraFitViewpoint::top, ModelRenderLayout::single, 40.0),
            frontCameraState(box, 1.5, cameraFitPadding, 40.0));
  EXPECT_EQ(fittedPoseCameraState(controller, box, frame, CameraFitViewpoint::top, ModelRenderLayout::contact4, 40.0),
            viewpointCameraState(box, CameraFitViewpoint::top, 1.5, cameraFitPadding, 40.0));
}

TEST(FittedPoseCameraState, AFrameWithoutHeightCountsAsOnePixel) {
  const SceneController controller;
  const ModelRenderBounds box = boxOf({1, 2, 3});
  const RenderPixelRect frame{.x = 0, .y = 0, .width = 3, .height = 0};
  EXPECT_EQ(fittedPoseCameraState(controller, box, frame, CameraFitViewpoint::left, ModelRenderLayout::contact6, 40.0),
            viewpointCameraState(box, CameraFitViewpoint::left, 3.0, cameraFitPadding, 40.0));
}

constexpr CameraState loadedState{
    .position = {1, 2, 8}, .eulerAngles = {0.25F, 0.5F, 0.125F}, .target = {1, 2, 3}, .fieldOfView = 50.0};

TEST(ApplyCameraOverride, DoesNothingWithoutAnOverride) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  const std::int64_t revision = *controller.cameraRevision;
  applyCameraOverride(controller, {});
  EXPECT_EQ(*controller.cameraRevision, revision);
}

TEST(ApplyCameraOverride, AFieldOfViewAloneTurnsTheCameraToItsTarget) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  ModelRenderRequest request;
  request.fieldOfView = 30.0;
  applyCameraOverride(controller, request);
  const CameraState state = controller.currentCameraState();
  EXPECT_EQ(state.position, loadedState.position);
  EXPECT_EQ(state.target, loadedState.target);
  EXPECT_EQ(state.fieldOfView, 30.0);
  expectNear(wide(state.eulerAngles), {0, 0, 0});
}

TEST(ApplyCameraOverride, ATargetAloneTurnsTheCameraWhereItStands) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  ModelRenderRequest request;
  request.cameraTarget = simd_double3{6, 2, 8};
  applyCameraOverride(controller, request);
  const CameraState state = controller.currentCameraState();
  EXPECT_EQ(state.position, loadedState.position);
  EXPECT_EQ(state.target, (CodableVector3{6, 2, 8}));
  EXPECT_EQ(state.fieldOfView, 50.0);
  expectNear(wide(state.eulerAngles), {0, -math::pi / 2, 0});
}

TEST(ApplyCameraOverride, APositionAloneLooksAtTheLoadedTarget) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  ModelRenderRequest request;
  request.cameraPosition = simd_double3{-4, 2, 3};
  applyCameraOverride(controller, request);
  const CameraState state = controller.currentCameraState();
  EXPECT_EQ(state.position, (CodableVector3{-4, 2, 3}));
  expectNear(inCameraSpace(state, {1, 2, 3}), {0, 0, -5});
}

TEST(ApplyCameraOverride, APositionAtTheTargetKeepsTheOldAngles) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  ModelRenderRequest request;
  request.cameraPosition = simd_double3{1, 2, 3};
  request.fieldOfView = 20.0;
  applyCameraOverride(controller, request);
  const CameraState state = controller.currentCameraState();
  EXPECT_EQ(state.position, (CodableVector3{1, 2, 3}));
  expectNear(wide(state.eulerAngles), wide(loadedState.eulerAngles), 1e-6);
  EXPECT_EQ(state.fieldOfView, 20.0);
}

TEST(ApplyCameraOverride, StraightDownStillGivesAFrame) {
  SceneController controller;
  controller.applyCameraState(loadedState);
  ModelRenderRequest request;
  request.cameraPosition = simd_double3{1, 12, 3};
  applyCameraOverride(controller, request);
  expectNear(inCameraSpace(controller.currentCameraState(), {1, 2, 3}), {0, 0, -10}, 1e-4);
}

}  // namespace
}  // namespace ornolith
