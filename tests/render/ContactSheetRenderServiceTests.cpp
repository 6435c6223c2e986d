#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "imaging/ImageDecoder.h"
#include "render/ContactSheetGeometry.h"
#include "render/ContactSheetRenderError.h"
#include "render/ContactSheetRenderService.h"
#include "scene/SceneController.h"
#include "scenegraph/SCNScene.h"
#include "support/FailureOf.h"

namespace ornolith {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Pixel = std::array<int, 4>;

constexpr Pixel clear{0, 0, 0, 0};
constexpr Pixel red{255, 0, 0, 255};
constexpr Pixel green{0, 255, 0, 255};
constexpr Pixel blue{0, 0, 255, 255};

constexpr NSColor redColor{1, 0, 0, 1};
constexpr NSColor greenColor{0, 1, 0, 1};
constexpr NSColor blueColor{0, 0, 1, 1};
constexpr NSColor whiteColor{1, 1, 1, 1};

constexpr const char* cameraName = "__OrnolithPoseRenderCamera";
constexpr const char* fillLightName = "__OrnolithPoseRenderFillLight";

std::shared_ptr<SCNMaterial> unlit(NSColor color) {
  auto material = SCNMaterial::material();
  material->lightingModelName = SCNLightingModelConstant;
  material->diffuse.contents = color;
  return material;
}

/// Two triangles in the plane of `across` and `up`, which face their cross product.
void appendSquare(std::vector<SCNVector3>& corners, SCNVector3 center, SCNVector3 across, SCNVector3 up) {
  const SCNVector3 a = center - across - up;
  const SCNVector3 b = center + across - up;
  const SCNVector3 c = center + across + up;
  const SCNVector3 d = center - across + up;
  corners.insert(corners.end(), {a, b, c, a, c, d});
}

SCNNode::Pointer nodeOf(const std::vector<SCNVector3>& corners, std::shared_ptr<SCNMaterial> material) {
  auto geometry =
      SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(corners)},
                                       {SCNGeometryElement::geometryElementWithData(
                                           nullptr, SCNGeometryPrimitiveType::triangles, corners.size() / 3, 4)});
  geometry->setMaterials({std::move(material)});
  return SCNNode::nodeWithGeometry(geometry);
}

/// A single-sided square of half size `half` in the plane z = 0 that faces +z.
SCNNode::Pointer squareNode(std::shared_ptr<SCNMaterial> material, double half = 1) {
  std::vector<SCNVector3> corners;
  appendSquare(corners, {}, {half, 0, 0}, {0, half, 0});
  return nodeOf(corners, std::move(material));
}

SCNNode::Pointer cubeNode(SCNVector3 center, NSColor color) {
  constexpr double half = 0.2;
  std::vector<SCNVector3> corners;
  const std::array<SCNVector3, 3> axes{{{half, 0, 0}, {0, half, 0}, {0, 0, half}}};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const SCNVector3 across = axes[(axis + 1) % 3];
    const SCNVector3 up = axes[(axis + 2) % 3];
    appendSquare(corners, center + axes[axis], across, up);
    appendSquare(corners, center - axes[axis], up, across);
  }
  return nodeOf(corners, unlit(color));
}

Image decoded(const std::vector<std::byte>& png) {
  return decodeImage(png).value_or(Image{});
}

Pixel pixelAt(const Image& image, std::int64_t x, std::int64_t y) {
  const std::uint8_t* const p = image.pixel(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y));
  return {p[0], p[1], p[2], p[3]};
}

RenderBackground filledWith(double r, double g, double b) {
  return {.color = RenderRGBAColor{.red = r, .green = g, .blue = b, .alpha = 1}};
}

class ContactSheet : public testing::Test {
 protected:
  SceneController controller;
  std::vector<std::size_t> progress;

  void load(const std::vector<SCNNode::Pointer>& nodes) {
    FbxFallbackLoadResult result;
    result.scene = SCNScene::scene();
    for (const SCNNode::Pointer& node : nodes) result.scene->rootNode()->addChildNode(node);
    controller.loadFbxFallback(result, FileURL("/tmp/model.fbx"), {});
  }
  std::vector<std::byte> png(const ContactSheetConfiguration& configuration, bool suppresses = false) {
    return ContactSheetRenderService().renderPNG(controller, configuration, suppresses,
                                                 [&](ContactSheetRenderProgress state) {
                                                   progress.push_back(state.completedViewCount);
                                                   progress.push_back(state.totalViewCount);
                                                 });
  }
  std::string failure(const ContactSheetConfiguration& configuration) {
    return failureOf([&] { png(configuration); });
  }
};

TEST_F(ContactSheet, ChecksLayoutThenSizeThenColorThenFieldOfView) {
  constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
  ContactSheetConfiguration configuration{.layout = ModelRenderLayout::single,
                                          .width = 0,
                                          .height = 10,
                                          .background = filledWith(notANumber, 0, 0),
                                          .fieldOfView = 180};
  EXPECT_EQ(failure(configuration), "Contact-sheet rendering requires contact-4 or contact-6.");
  configuration.layout = ModelRenderLayout::contact6;
  EXPECT_EQ(failure(configuration), "Contact-sheet width and height must be positive and representable.");
  configuration.width = 10;
  EXPECT_EQ(failure(configuration), "Contact-sheet color components must be finite values between 0 and 1.");
  configuration.background = RenderBackground::transparent();
  EXPECT_EQ(failure(configuration), "Contact-sheet field of view must be greater than 0 and less than 180 degrees.");
  EXPECT_THAT(progress, IsEmpty());
}

TEST_F(ContactSheet, RefusesSizesOverTheBudget) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  for (const auto& [width, height] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {8193, 1}, {1, 8193}, {8192, 2049}, {most, most}, {-1, -1}, {1, 0}}) {
    EXPECT_EQ(failure({.width = width, .height = height}),
              "Contact-sheet width and height must be positive and representable.")
        << width << " by " << height;
  }
}

TEST_F(ContactSheet, RefusesColorsAndFieldsOfViewOutOfRange) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const double bad : {-0.001, 1.001, infinity, std::numeric_limits<double>::quiet_NaN()}) {
    for (std::size_t component = 0; component < 4; ++component) {
      RenderRGBAColor color{.red = 0.5, .green = 0.5, .blue = 0.5, .alpha = 0.5};
      (component == 0 ? color.red : component == 1 ? color.green : component == 2 ? color.blue : color.alpha) = bad;
      EXPECT_EQ(failure({.width = 16, .height = 16, .background = {.color = color}}),
                "Contact-sheet color components must be finite values between 0 and 1.")
          << bad << " in component " << component;
    }
  }
  for (const double bad : {0.0, -1.0, 180.0, infinity, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(failure({.width = 16, .height = 16, .background = {}, .fieldOfView = bad}),
              "Contact-sheet field of view must be greater than 0 and less than 180 degrees.")
        << bad;
  }
}

TEST_F(ContactSheet, TellsProgressBeforeTheFirstViewAndAfterEach) {
  load({squareNode(unlit(redColor))});
  png({.layout = ModelRenderLayout::contact4, .width = 32, .height = 32, .background = {}});
  EXPECT_THAT(progress, ElementsAre(0, 4, 1, 4, 2, 4, 3, 4, 4, 4));
}

TEST_F(ContactSheet, ShowsTheSixSidesInOrderAndTheRightWayUp) {
  load({cubeNode({1, 0, 0}, redColor), cubeNode({0, 1, 0}, greenColor), cubeNode({0, 0, 1}, blueColor),
        cubeNode({-1, 0, 0}, whiteColor), cubeNode({0, -1, 0}, whiteColor), cubeNode({0, 0, -1}, whiteColor)});
  constexpr std::int64_t height = 160;
  const Image sheet = decoded(png({.layout = ModelRenderLayout::contact6, .width = 240, .height = height}));
  const std::vector<CGRect> frames =
      ContactSheetGeometry::frames(ModelRenderLayout::contact6, ContactSheetArrangement::grid, {240, height});
  ASSERT_EQ(frames.size(), 6U);

  // What each view shows in its middle, to the right and at the top.
  constexpr Pixel white{255, 255, 255, 255};
  constexpr Pixel expected[6][3] = {{blue, red, green},  {white, white, green}, {white, blue, green},
                                    {red, white, green}, {green, red, white},   {white, red, blue}};
  for (std::size_t view = 0; view < 6; ++view) {
    const auto half = static_cast<std::int64_t>(frames[view].size.width / 2);
    const auto x = static_cast<std::int64_t>(frames[view].origin.x) + half;
    const auto y = height - static_cast<std::int64_t>(frames[view].origin.y + frames[view].size.height) +
                   static_cast<std::int64_t>(frames[view].size.height / 2);
    const std::int64_t offset = half * 53 / 100;
    EXPECT_EQ(pixelAt(sheet, x, y), expected[view][0]) << "the middle of view " << view;
    EXPECT_EQ(pixelAt(sheet, x + offset, y), expected[view][1]) << "the right of view " << view;
    EXPECT_EQ(pixelAt(sheet, x, y - offset), expected[view][2]) << "the top of view " << view;
  }
}

TEST_F(ContactSheet, ShowsTheBackOfASingleSidedSurface) {
  const auto material = unlit(redColor);
  load({squareNode(material)});
  const Image sheet = decoded(png({.layout = ModelRenderLayout::contact4,
                                   .arrangement = ContactSheetArrangement::strip,
                                   .width = 160,
                                   .height = 40,
                                   .background = {}}));
  const auto middleOf = [&](std::size_t view) {
    const CGRect frame =
        ContactSheetGeometry::frames(ModelRenderLayout::contact4, ContactSheetArrangement::strip, {160, 40})[view];
    return pixelAt(sheet, static_cast<std::int64_t>(frame.origin.x + frame.size.width / 2), 20);
  };
  EXPECT_EQ(middleOf(0), red);
  EXPECT_EQ(middleOf(1), red);
  EXPECT_FALSE(material->isDoubleSided);
}

TEST_F(ContactSheet, LightsEachViewAlongTheLineOfSight) {
  auto material = SCNMaterial::material();
  material->lightingModelName = SCNLightingModelLambert;
  material->diffuse.contents = whiteColor;
  load({squareNode(material)});
  controller.ambientLightNode()->removeFromParentNode();
  controller.keyLightNode()->removeFromParentNode();
  const Image sheet = decoded(
      png({.layout = ModelRenderLayout::contact4, .width = 80, .height = 80, .background = filledWith(0, 0, 0)}));
  // 0.65 in linear light is 211 in sRGB.
  const Pixel front = pixelAt(sheet, 20, 20);
  EXPECT_NEAR(front[0], 211, 1);
  EXPECT_EQ(front, pixelAt(sheet, 60, 20)) << "the back is lit like the front";
}

TEST_F(ContactSheet, FillsTheGuttersWithTheBackground) {
  load({squareNode(unlit(blueColor))});
  constexpr std::int64_t side = 100;
  for (const bool isTransparent : {false, true}) {
    const RenderBackground background = isTransparent ? RenderBackground::transparent() : filledWith(1, 0, 0);
    const Image sheet =
        decoded(png({.layout = ModelRenderLayout::contact4, .width = side, .height = side, .background = background}));
    const Pixel expected = isTransparent ? clear : red;
    for (std::int64_t i = 0; i < side; ++i) {
      for (const std::int64_t line : {INT64_C(0), INT64_C(7), side / 2, side - 1}) {
        ASSERT_EQ(pixelAt(sheet, i, line), expected) << i << ", " << line;
        ASSERT_EQ(pixelAt(sheet, line, i), expected) << line << ", " << i;
      }
    }
    EXPECT_EQ(pixelAt(sheet, 9, 9), expected) << "a view has the background behind the model";
    EXPECT_EQ(pixelAt(sheet, 28, 28), blue);
  }
}

TEST_F(ContactSheet, DrawsACanvasTooSmallForItsCells) {
  load({squareNode(unlit(blueColor))});
  for (const ContactSheetArrangement arrangement : {ContactSheetArrangement::grid, ContactSheetArrangement::strip}) {
    const Image sheet = decoded(png({.layout = ModelRenderLayout::contact6,
                                     .arrangement = arrangement,
                                     .width = 1,
                                     .height = 1,
                                     .background = filledWith(1, 0, 0)}));
    EXPECT_EQ(sheet.pixels.size(), 4U);
  }
}

TEST_F(ContactSheet, IsNotReachedByChangesOfTheSceneWhileItIsDrawn) {
  const auto material = unlit(redColor);
  const auto node = squareNode(material);
  load({node});
  const ContactSheetConfiguration configuration{
      .layout = ModelRenderLayout::contact4, .width = 64, .height = 64, .background = {}};
  const std::vector<std::byte> undisturbed = png(configuration);
  const std::vector<std::byte> disturbed =
      ContactSheetRenderService().renderPNG(controller, configuration, false, [&](ContactSheetRenderProgress state) {
        if (state.completedViewCount != 1) return;
        material->diffuse.contents = greenColor;
        node->setPosition({5, 5, 5});
        node->isHidden = true;
      });
  EXPECT_EQ(disturbed, undisturbed);
}

TEST_F(ContactSheet, LeavesTheSceneAsItWas) {
  load({squareNode(unlit(redColor))});
  const std::vector<SCNNode::Pointer> children = controller.scene()->rootNode()->childNodes();
  const SCNMaterialContents background = controller.scene()->background.contents;
  png({.width = 32, .height = 32, .background = filledWith(0, 1, 0)});
  EXPECT_EQ(controller.scene()->rootNode()->childNodes(), children);
  EXPECT_EQ(controller.scene()->background.contents, background);
}

TEST_F(ContactSheet, BringsOverlaysBackThatItSuppressed) {
  load({squareNode(unlit(redColor))});
  const ContactSheetConfiguration configuration{.width = 32, .height = 32, .background = {}};
  EXPECT_EQ(png(configuration, true), png(configuration, false));
  EXPECT_FALSE(controller.isSelectionOverlaySuppressedForCapture);
  EXPECT_FALSE(controller.isInteractionOverlaySuppressedForCapture);
}

TEST_F(ContactSheet, StopsBetweenTwoViewsWhenItIsCancelled) {
  load({squareNode(unlit(redColor))});
  CancellationSource source;
  std::vector<std::size_t> completed;
  EXPECT_THROW(ContactSheetRenderService(source.token())
                   .renderPNG(controller, {.width = 32, .height = 32, .background = {}}, false,
                              [&](ContactSheetRenderProgress state) {
                                completed.push_back(state.completedViewCount);
                                if (state.completedViewCount == 2) source.cancel();
                              }),
               CancellationError);
  EXPECT_THAT(completed, ElementsAre(0, 1, 2));
}

TEST_F(ContactSheet, ChecksItsConfigurationBeforeItsCancellation) {
  CancellationSource source;
  source.cancel();
  const ContactSheetRenderService service(source.token());
  EXPECT_THROW(service.renderPNG(controller, {.layout = ModelRenderLayout::single}, false, {}),
               ContactSheetRenderError);
  EXPECT_THROW(service.renderPNG(controller, {}, false, {}), CancellationError);
}

/// A live scene of one square, single-sided, and one triangle of a material that is double-sided already.
class PosePages : public testing::Test {
 protected:
  PosePages() {
    square = squareNode(singleSided);
    second = squareNode(singleSided, 0.5);
    third = squareNode(alreadyDoubleSided, 0.1);
    alreadyDoubleSided->isDoubleSided = true;
    for (const auto& node : {square, second, third}) scene->rootNode()->addChildNode(node);
  }

  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  std::shared_ptr<SCNMaterial> singleSided = unlit(redColor);
  std::shared_ptr<SCNMaterial> alreadyDoubleSided = unlit(redColor);
  SCNNode::Pointer square, second, third;
  std::vector<std::int64_t> applied;
  std::vector<std::int64_t> written;
  ContactSheetRenderService::PNGData lastPNG;

  static PoseRenderPagePlan plan(std::size_t poseCount, ModelRenderLayout layout = ModelRenderLayout::single,
                                 std::int64_t tileSide = 8) {
    std::vector<ExplicitModelPose> poses;
    for (std::size_t i = 0; i < poseCount; ++i) {
      poses.push_back({.id = std::to_string(i), .label = std::nullopt, .rotations = {}});
    }
    return PoseRenderPagePlanner::makePlan(poses, layout, ContactSheetArrangement::grid, tileSide, tileSide);
  }
  static CameraState fromTheFront(const PoseRenderCell&) {
    return {.position = {0, 0, 5}, .eulerAngles = {}, .target = {}, .fieldOfView = 45};
  }
  ContactSheetRenderService::PosePageCallbacks callbacks() {
    return {.apply = [this](std::int64_t pose) { applied.push_back(pose); },
            .cameraState = fromTheFront,
            .writePage =
                [this](const PoseRenderPage& page, const ContactSheetRenderService::PNGData& png) {
                  written.push_back(page.number);
                  lastPNG = png;
                }};
  }
  void render(const PoseRenderPagePlan& pagePlan, const ContactSheetRenderService::PosePageCallbacks& pageCallbacks,
              const RenderBackground& background = {}) const {
    ContactSheetRenderService().renderExplicitPosePages(scene, pagePlan, background, pageCallbacks);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& child : scene->rootNode()->childNodes()) result.push_back(child->name().value_or(""));
    return result;
  }
  void expectSceneAsItWas() const {
    EXPECT_THAT(scene->rootNode()->childNodes(), ElementsAre(square, second, third));
    EXPECT_FALSE(singleSided->isDoubleSided);
    EXPECT_TRUE(alreadyDoubleSided->isDoubleSided);
  }
};

TEST_F(PosePages, AppliesAPoseOncePerRunOfCells) {
  render(plan(3, ModelRenderLayout::contact6), callbacks());
  EXPECT_THAT(applied, ElementsAre(0, 1, 2));
  EXPECT_THAT(written, ElementsAre(1));
  expectSceneAsItWas();
}

TEST_F(PosePages, DoesNotApplyAPoseAgainOnANewPage) {
  PoseRenderPagePlan pagePlan = plan(1);
  const PoseRenderPage first = pagePlan.pages[0];
  for (const std::int64_t pose : {0, 1, 0}) {
    PoseRenderPage& page = pagePlan.pages.emplace_back(first);
    page.number = static_cast<std::int64_t>(pagePlan.pages.size());
    page.cells[0].poseIndex = pose;
  }
  render(pagePlan, callbacks());
  EXPECT_THAT(applied, ElementsAre(0, 1, 0));
  EXPECT_THAT(written, ElementsAre(1, 2, 3, 4));
}

TEST_F(PosePages, PutsEachCellIntoItsFrame) {
  PoseRenderPagePlan pagePlan = plan(3);
  ASSERT_EQ(pagePlan.pages[0].width, 24);
  pagePlan.pages[0].height = 24;
  pagePlan.pages[0].cells[1].frame.y = 8;
  auto pageCallbacks = callbacks();
  pageCallbacks.apply = [this](std::int64_t pose) {
    singleSided->diffuse.contents = pose == 0 ? redColor : pose == 1 ? greenColor : blueColor;
    alreadyDoubleSided->diffuse.contents = singleSided->diffuse.contents;
  };
  render(pagePlan, pageCallbacks, filledWith(1, 1, 1));
  const Image page = decoded(lastPNG);
  ASSERT_EQ(page.width, 24U);
  ASSERT_EQ(page.height, 24U);
  constexpr Pixel white{255, 255, 255, 255};
  EXPECT_EQ(pixelAt(page, 4, 4), red);
  EXPECT_EQ(pixelAt(page, 12, 4), white);
  EXPECT_EQ(pixelAt(page, 12, 12), green);
  EXPECT_EQ(pixelAt(page, 20, 4), blue);
  EXPECT_EQ(pixelAt(page, 0, 0), white) << "a tile has the background behind the model";
  EXPECT_EQ(pixelAt(page, 4, 20), white);
}

TEST_F(PosePages, LooksThroughTheCameraOfTheCell) {
  auto pageCallbacks = callbacks();
  pageCallbacks.cameraState = [](const PoseRenderCell& cell) {
    CameraState state = fromTheFront(cell);
    if (cell.poseIndex == 1) state.eulerAngles.y = 3.14159274F;
    return state;
  };
  render(plan(2), pageCallbacks);
  const Image page = decoded(lastPNG);
  ASSERT_EQ(page.width, 16U);
  EXPECT_EQ(pixelAt(page, 4, 4), red);
  EXPECT_EQ(pixelAt(page, 12, 4), clear) << "the second camera looks away";
}

TEST_F(PosePages, AddsALightAndDoubleSidesForSeveralViewsOnly) {
  auto pageCallbacks = callbacks();
  std::vector<std::string> namesMeanwhile;
  bool isDoubleSided = false;
  pageCallbacks.cameraState = [&](const PoseRenderCell& cell) {
    namesMeanwhile = names();
    isDoubleSided = singleSided->isDoubleSided;
    return fromTheFront(cell);
  };
  render(plan(1, ModelRenderLayout::single), pageCallbacks);
  EXPECT_THAT(namesMeanwhile, Contains(cameraName));
  EXPECT_THAT(namesMeanwhile, Not(Contains(fillLightName)));
  EXPECT_FALSE(isDoubleSided);
  expectSceneAsItWas();

  render(plan(1, ModelRenderLayout::contact4), pageCallbacks);
  EXPECT_THAT(namesMeanwhile, Contains(cameraName));
  EXPECT_THAT(namesMeanwhile, Contains(fillLightName));
  EXPECT_TRUE(isDoubleSided);
  expectSceneAsItWas();
}

TEST_F(PosePages, LeaveNothingInTheSceneAfterAFailure) {
  const auto fail = [](const auto&...) -> void { throw std::runtime_error("full"); };
  for (const ModelRenderLayout layout : {ModelRenderLayout::single, ModelRenderLayout::contact4}) {
    auto failingWrite = callbacks();
    failingWrite.writePage = fail;
    EXPECT_THROW(render(plan(2, layout), failingWrite), std::runtime_error);
    expectSceneAsItWas();
    auto failingApply = callbacks();
    failingApply.apply = fail;
    EXPECT_THROW(render(plan(2, layout), failingApply), std::runtime_error);
    expectSceneAsItWas();
    auto failingCamera = callbacks();
    failingCamera.cameraState = [](const PoseRenderCell&) -> CameraState { throw std::runtime_error("no camera"); };
    EXPECT_THROW(render(plan(2, layout), failingCamera), std::runtime_error);
    expectSceneAsItWas();
  }
  EXPECT_THAT(written, IsEmpty());
}

TEST_F(PosePages, StopBetweenTwoCellsWhenTheyAreCancelled) {
  CancellationSource source;
  auto pageCallbacks = callbacks();
  std::size_t cells = 0;
  pageCallbacks.cameraState = [&](const PoseRenderCell& cell) {
    if (++cells == 3) source.cancel();
    return fromTheFront(cell);
  };
  const ContactSheetRenderService service(source.token());
  EXPECT_THROW(service.renderExplicitPosePages(scene, plan(2, ModelRenderLayout::contact4), {}, pageCallbacks),
               CancellationError);
  EXPECT_EQ(cells, 3U);
  EXPECT_THAT(applied, ElementsAre(0));
  EXPECT_THAT(written, IsEmpty());
  expectSceneAsItWas();
  EXPECT_THROW(service.renderExplicitPosePages(scene, plan(1), {}, pageCallbacks), CancellationError);
  EXPECT_EQ(cells, 3U) << "work that is cancelled does not begin";
}

TEST_F(PosePages, StopBeforeAPageIsWrittenWhenTheyAreCancelledInItsLastCell) {
  CancellationSource source;
  auto pageCallbacks = callbacks();
  pageCallbacks.cameraState = [&](const PoseRenderCell& cell) {
    source.cancel();
    return fromTheFront(cell);
  };
  EXPECT_THROW(ContactSheetRenderService(source.token()).renderExplicitPosePages(scene, plan(1), {}, pageCallbacks),
               CancellationError);
  EXPECT_THAT(written, IsEmpty());
}

}  // namespace
}  // namespace ornolith
