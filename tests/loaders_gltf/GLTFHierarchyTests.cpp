#include <gmock/gmock.h>

#include <cmath>
#include <string>

#include "GLTFFile.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::Pointwise;

/// The scene's root for a triangle as mesh 0 and these nodes; `further` is JSON for the top object.
SCNNode::Pointer rootWith(const std::string& nodes, const std::string& further = "") {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
  file.add("nodes", nodes + further);
  return rootOf(file);
}
std::string refusalWith(const std::string& nodes, const std::string& further = "") {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
  file.add("nodes", nodes + further);
  return refusalOf(file);
}

std::vector<std::string> identitiesBelow(const SCNNode& node) {
  std::vector<std::string> identities;
  node.enumerateChildNodes(
      [&](SCNNode& child) { identities.push_back(metadataString(ornolithSourceNodeIDKey, child).value_or("none")); });
  return identities;
}

TEST(GLTFHierarchy, StampsAuthoredNodesWithIdentityNameAndHierarchy) {
  const SCNNode::Pointer root = rootWith(R"([{"name":"Top","children":[1]},{"mesh":0}])");
  const SCNNode::Pointer top = root->childNodes().at(0);
  const SCNNode::Pointer child = top->childNodes().at(0);
  EXPECT_EQ(metadataString(ornolithSourceNodeIDKey, *top), "gltf:0");
  EXPECT_EQ(metadataString(ornolithSourceNodeNameKey, *top), "Top");
  EXPECT_EQ(top->name(), "Top");
  EXPECT_EQ(metadataString(ornolithSourceNodeIDKey, *child), "gltf:1");
  EXPECT_EQ(metadataString(ornolithSourceNodeNameKey, *child), "") << "authored without a name";
  EXPECT_EQ(child->name(), std::nullopt);
  for (const SCNNode::Pointer& node : {top, child}) {
    EXPECT_TRUE(metadataBool(ornolithUsesAuthoredHierarchyKey, *node));
    EXPECT_FALSE(metadataBool(ornolithIsSyntheticPrimitiveKey, *node));
    EXPECT_FALSE(metadataBool(ornolithIsNonAddressableNodeKey, *node));
  }
  EXPECT_NE(child->geometry, nullptr) << "one geometry stands on its node";
  EXPECT_EQ(child->childCount(), 0U);
}

TEST(GLTFHierarchy, GivesAddedNodesNoIdentity) {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.positions({0, 0, 1, 2, 0, 1, 0, 3, 1});
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}},{"attributes":{"POSITION":1}}]}])");
  file.add("nodes", R"([{"mesh":0,"children":[1]},{}])");
  const SCNNode::Pointer node = rootOf(file)->childNodes().at(0);
  EXPECT_EQ(node->geometry, nullptr);
  EXPECT_THAT(identitiesBelow(*node), ElementsAre("gltf:1", "none", "none"));
  EXPECT_FALSE(node->childNodes().at(1)->ornolithMetadata.has_value());
}

TEST(GLTFHierarchy, KeepsMatricesExactly) {
  const SCNNode::Pointer root =
      rootWith(R"([{"mesh":0,"matrix":[1,0.1,0,0, 0.5,2,0,0, 0,0,-3,0, 7,8,9.25,1],"translation":[5,5,5]}])");
  const SCNMatrix4& matrix = root->childNodes().at(0)->transform();
  EXPECT_EQ(matrix.columns[0], (simd_double4{1, 0.1, 0, 0}));
  EXPECT_EQ(matrix.columns[1], (simd_double4{0.5, 2, 0, 0}));
  EXPECT_EQ(matrix.columns[2], (simd_double4{0, 0, -3, 0}));
  EXPECT_EQ(matrix.columns[3], (simd_double4{7, 8, 9.25, 1}));
}

TEST(GLTFHierarchy, PlacesNodesByTheirProperties) {
  const SCNNode::Pointer root = rootWith(R"([{"mesh":0,"translation":[1,2,3],"rotation":[0,0,2,2],"scale":[4,5,-6]}])");
  const SCNNode::Pointer node = root->childNodes().at(0);
  EXPECT_EQ(node->position(), (SCNVector3{1, 2, 3}));
  EXPECT_EQ(node->scale(), (SCNVector3{4, 5, -6}));
  EXPECT_THAT(node->orientation().z, DoubleNear(std::sqrt(0.5), 1e-15)) << "of unit length";
  EXPECT_THAT(node->orientation().w, DoubleNear(std::sqrt(0.5), 1e-15));
}

TEST(GLTFHierarchy, ShowsTheDefaultSceneOrAllRoots) {
  const std::string nodes = R"([{"mesh":0},{"mesh":0,"children":[2]},{},{"mesh":0}])";
  EXPECT_THAT(identitiesBelow(*rootWith(nodes, R"(,"scene":1,"scenes":[{"nodes":[0]},{"nodes":[3,1]}])")),
              ElementsAre("gltf:3", "gltf:1", "gltf:2"));
  EXPECT_THAT(identitiesBelow(*rootWith(nodes, R"(,"scenes":[{"nodes":[0]}])")),
              ElementsAre("gltf:0", "gltf:1", "gltf:2", "gltf:3"));
}

TEST(GLTFHierarchy, ShowsNoNodeTwice) {
  const std::string nodes = R"([{"mesh":0,"children":[1]},{"children":[2]},{},{"mesh":0}])";
  EXPECT_THAT(identitiesBelow(*rootWith(nodes, R"(,"scene":0,"scenes":[{"nodes":[2,0,3,3,1]}])")),
              ElementsAre("gltf:0", "gltf:1", "gltf:2", "gltf:3"));
}

TEST(GLTFHierarchy, RefusesWhatIsNoSetOfTrees) {
  EXPECT_EQ(refusalWith(R"([{"mesh":0,"children":[2]},{"children":[2]},{}])"), "The node 2 has more than one parent.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0,"children":[1,1]},{}])"), "The node 1 has more than one parent.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0},{"children":[2]},{"children":[1]}])"), "The nodes of the file form a cycle.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0,"children":[0]}])"), "The nodes of the file form a cycle.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0,"children":[1]}])"), "nodes[0].children[0]: The index 1 is out of range.");
  EXPECT_EQ(refusalWith(R"([{"mesh":1}])"), "nodes[0].mesh: The index 1 is out of range.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0}])", R"(,"scene":0)"), "scene: The index 0 is out of range.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0}])", R"(,"scene":0,"scenes":[{"nodes":[-1]}])"),
            "scenes[0].nodes[0]: Expected a number that is not negative.");
  EXPECT_EQ(refusalWith(R"([{"mesh":0,"matrix":[1,2,3]}])"), "nodes[0].matrix: Expected 16 numbers.");
}

TEST(GLTFHierarchy, MayBeThousandsOfLevelsDeep) {
  constexpr int depth = 20000;
  std::string nodes = "[{\"mesh\":0}";
  for (int i = 1; i < depth; ++i) nodes += ",{\"children\":[" + std::to_string(i - 1) + "],\"translation\":[0,0,1]}";
  const SCNNode::Pointer root = rootWith(nodes + "]");
  std::size_t levels = 0;
  for (SCNNode::Pointer node = root; node->childCount() > 0; node = node->childNodes().at(0)) ++levels;
  EXPECT_EQ(levels, static_cast<std::size_t>(depth));
}

TEST(GLTFHierarchy, HidesNodesThatTheFileHides) {
  const SCNNode::Pointer root = rootWith(R"([{"mesh":0,"extensions":{"KHR_node_visibility":{"visible":false}}},
                   {"extensions":{"KHR_node_visibility":{}}}])");
  EXPECT_TRUE(root->childNodes().at(0)->isHidden);
  EXPECT_FALSE(root->childNodes().at(1)->isHidden);
}

TEST(GLTFHierarchy, SetsCamerasAndLights) {
  const SCNNode::Pointer root =
      rootWith(R"([{"mesh":0},{"camera":0},{"camera":1},{"extensions":{"KHR_lights_punctual":{"light":0}}}])",
               R"(,"cameras":[{"type":"perspective","perspective":{"yfov":0.5,"znear":0.25,"zfar":9}},
                     {"type":"orthographic","orthographic":{"xmag":2,"ymag":3,"znear":0,"zfar":1}}],
          "extensions":{"KHR_lights_punctual":{"lights":[{"type":"directional","color":[1,0.5,0],"intensity":7}]}})");
  const auto nodes = root->childNodes();
  ASSERT_NE(nodes[1]->camera, nullptr);
  EXPECT_THAT(nodes[1]->camera->fieldOfView, DoubleNear(28.64788975654116, 1e-12));
  EXPECT_EQ(nodes[1]->camera->zNear, 0.25);
  EXPECT_TRUE(nodes[2]->camera->usesOrthographicProjection);
  EXPECT_EQ(nodes[2]->camera->orthographicScale, 3);
  ASSERT_NE(nodes[3]->light, nullptr);
  EXPECT_EQ(nodes[3]->light->type, SCNLightTypeDirectional);
  EXPECT_EQ(nodes[3]->light->intensity, 7);
  EXPECT_EQ(nodes[3]->light->color.green, 0.5);
  EXPECT_FALSE(metadataBool(ornolithIsNonAddressableNodeKey, *nodes[0]));
  for (std::size_t i = 1; i < 4; ++i) EXPECT_TRUE(metadataBool(ornolithIsNonAddressableNodeKey, *nodes[i])) << i;
}

// Instances.

TEST(GLTFInstances, BecomeChildrenWithoutIdentityThatShareTheGeometry) {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.floats({1, 2, 3, 4, 5, 6}, "VEC3", 3);
  file.accessor(file.view(packed<std::int8_t>({0, 0, 0, 127, 0, 0, 127, 0})), signedByte, 2, "VEC4",
                ",\"normalized\":true");
  file.floats({1, 1, 1, 2, 2, 2}, "VEC3", 3);
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
  file.add("nodes", R"([{"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":
      {"attributes":{"TRANSLATION":1,"ROTATION":2,"SCALE":3}}}}])");
  const SCNNode::Pointer node = rootOf(file)->childNodes().at(0);
  EXPECT_EQ(node->geometry, nullptr);
  EXPECT_THAT(identitiesBelow(*node), ElementsAre("none", "none"));
  const auto instances = node->childNodes();
  EXPECT_EQ(instances[0]->geometry, instances[1]->geometry);
  EXPECT_EQ(instances[1]->position(), (SCNVector3{4, 5, 6}));
  EXPECT_EQ(instances[1]->orientation().z, 1);
  EXPECT_EQ(instances[1]->scale(), (SCNVector3{2, 2, 2}));
}

TEST(GLTFInstances, AreRefusedWhereTheirValuesDoNotFit) {
  const auto refusal = [](const std::string& count, const std::string& type) {
    File file;
    file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
    file.accessor(-1, floatingPoint, 2, "VEC3");
    file.accessor(-1, floatingPoint, 77, type);
    file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
    file.add("nodes",
             R"([{"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":1,"SCALE":2}}}}])");
    std::string text = file.gltf();
    text.replace(text.find("\"count\":77"), 10, "\"count\":" + count);
    return refusalOf(text, ModelFormat::gltf);
  };
  EXPECT_EQ(refusal("2", "VEC3"), "");
  EXPECT_EQ(refusal("3", "VEC3"), "The accessor 2 does not fit the instances of a node.");
  EXPECT_EQ(refusal("2", "VEC4"), "The accessor 2 does not fit the instances of a node.");
}

TEST(GLTFInstances, BeyondTheBudgetAreRefused) {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.accessor(-1, floatingPoint, 5000000, "VEC3");
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
  file.add("nodes", R"([{"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":1}}}}])");
  EXPECT_EQ(refusalOf(file), "The glTF file asks for more memory than its size warrants.");
}

TEST(GLTFInstances, OfLargeMeshesAreRefusedWhereDrawingThemGoesBeyondTheBudget) {
  const auto refusal = [](int mode, const std::string& instanceCount) {
    File file;
    file.accessor(-1, floatingPoint, 90000, "VEC3");
    file.accessor(-1, floatingPoint, 77, "VEC3");
    file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0},"mode":)" + std::to_string(mode) + "}]}]");
    file.add("nodes", R"([{"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":1}}}}])");
    std::string text = file.gltf();
    text.replace(text.find("\"count\":77"), 10, "\"count\":" + instanceCount);
    return refusalOf(text, ModelFormat::gltf);
  };
  for (const int triangles : {4, 5, 6}) {
    EXPECT_EQ(refusal(triangles, "20"), "");
    EXPECT_EQ(refusal(triangles, "2000"), "The glTF file asks for more memory than its size warrants.");
  }
  for (const int pointsOrLines : {0, 1, 2, 3}) {
    EXPECT_EQ(refusal(pointsOrLines, "20"), "");
    EXPECT_EQ(refusal(pointsOrLines, "100"), "The glTF file asks for more memory than its size warrants.");
  }
}

TEST(GLTFHierarchy, WhoseNodesShareALargeMeshIsRefusedWhereDrawingThemGoesBeyondTheBudget) {
  const auto refusal = [](std::size_t nodeCount) {
    File file;
    file.accessor(-1, floatingPoint, 90000, "VEC3");
    file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}}]}])");
    std::string nodes = "{\"mesh\":0}";
    for (std::size_t i = 1; i < nodeCount; ++i) nodes += ",{\"mesh\":0}";
    file.add("nodes", "[" + nodes + "]");
    return refusalOf(file.gltf(), ModelFormat::gltf);
  };
  EXPECT_EQ(refusal(20), "");
  EXPECT_EQ(refusal(2000), "The glTF file asks for more memory than its size warrants.");
}

// Deformation.

/// Three vertices on the x axis that hang on the joints 1 and 2, at the scene's places of these nodes.
File skinnedFile(const std::string& weights, const std::string& skinFurther = "", const std::string& meshNode = "") {
  File file;
  file.positions({1, 0, 0, 2, 0, 0, 4, 0, 0});
  file.accessor(file.view(packed<std::uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0})), unsignedByte, 3, "VEC4");
  file.accessor(file.view(weights), floatingPoint, 3, "VEC4");
  file.floats({0, 0, 1, 0, 0, 1, 1, 0, 0}, "VEC3", 3);
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0,"JOINTS_0":1,"WEIGHTS_0":2,"NORMAL":3}}]}])");
  file.add("skins", "[{\"joints\":[1,2]" + skinFurther + "}]");
  file.add("nodes", "[{\"mesh\":0,\"skin\":0" + meshNode + R"(},{"translation":[10,0,0],"children":[2]},
      {"translation":[0,5,0],"rotation":[0,0,0.7071067811865476,0.7071067811865476]}])");
  return file;
}
const std::string plainWeights = packed({1.F, 0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 0.5F, 0.5F, 0.F, 0.F});

TEST(GLTFSkins, ShowVerticesWhereTheirJointsPutThem) {
  const SCNNode::Pointer root = rootOf(skinnedFile(plainWeights));
  const SCNNode::Pointer node = drawnNode(root);
  // The second joint turns a quarter about z and stands at (10, 5, 0).
  EXPECT_THAT(positionsOf(*node->geometry), Pointwise(DoubleNear(1e-6), {11., 0., 0., 10., 7., 0., 12., 4.5, 0.}));
  EXPECT_THAT(valuesOf(*node->geometry, SCNGeometrySourceSemantic::normal),
              Pointwise(DoubleNear(1e-6), {0., 0., 1., 0., 0., 1., std::sqrt(0.5), std::sqrt(0.5), 0.}));
  ASSERT_NE(node->skinner, nullptr);
  EXPECT_EQ(metadataString(ornolithSourceNodeIDKey, *node->skinner->skeleton.lock()), "gltf:1");
}

TEST(GLTFSkins, DoNotHeedTheNodesOwnPlace) {
  const SCNNode::Pointer root = rootOf(skinnedFile(plainWeights, "", R"(,"translation":[3,0,0],"scale":[2,2,2])"));
  const SCNNode::Pointer node = drawnNode(root);
  EXPECT_THAT(positionsOf(*node->geometry), Pointwise(DoubleNear(1e-6), {4., 0., 0., 3.5, 3.5, 0., 4.5, 2.25, 0.}));
}

TEST(GLTFSkins, TakeWeightsByTheirShareAndTheFirstJointWithoutAny) {
  const SCNNode::Pointer root =
      rootOf(skinnedFile(packed({7.F, 0.F, 0.F, 0.F, 0.F, 0.F, 0.F, 0.F, 1.F, 1.F, 0.F, 0.F})));
  EXPECT_THAT(positionsOf(drawnGeometry(root)), Pointwise(DoubleNear(1e-6), {11., 0., 0., 10., 7., 0., 12., 4.5, 0.}));
}

TEST(GLTFSkins, AreRefusedWithJointsOrMatricesThatAreNotThere) {
  EXPECT_EQ(refusalOf(skinnedFile(plainWeights, R"(,"inverseBindMatrices":0)")),
            "The accessor 0 does not hold a matrix for each joint of a skin.");
  File file = skinnedFile(plainWeights);
  std::string text = file.gltf();
  text.replace(text.find("\"joints\":[1,2]"), 14, "\"joints\":[1]");
  EXPECT_EQ(refusalOf(text, ModelFormat::gltf), "The accessor 1 names a joint that the skin has not got.");
  text.replace(text.find("\"joints\":[1]"), 12, "\"joints\":[]");
  EXPECT_EQ(refusalOf(text, ModelFormat::gltf), "skins[0]: A skin needs at least one joint.");
}

TEST(GLTFSkins, ApplyInverseBindMatrices) {
  File file = skinnedFile(plainWeights, R"(,"inverseBindMatrices":4)");
  file.accessor(file.view(packed({1.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, -10.F, 0.F,  0.F, 1.F,  //
                                  1.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, -10.F, -5.F, 0.F, 1.F})),
                floatingPoint, 2, "MAT4");
  const SCNNode::Pointer root = rootOf(file);
  const std::vector<double> positions = positionsOf(drawnGeometry(root));
  EXPECT_THAT(positions, Pointwise(DoubleNear(1e-5), {1., 0., 0., 15., -3., 0., 9.5, -0.5, 0.}));
}

TEST(GLTFMorphs, ShowTheirDefaultWeights) {
  const auto positions = [](const std::string& meshFurther, const std::string& nodeFurther) {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    file.positions({0, 0, 2, 0, 0, 2, 0, 0, 2});
    file.positions({4, 0, 0, 0, 0, 0, 0, 0, 0});
    file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0},"targets":[{"POSITION":1},{"POSITION":2}]}])" +
                           meshFurther + "}]");
    file.add("nodes", "[{\"mesh\":0" + nodeFurther + "}]");
    const SCNNode::Pointer root = rootOf(file);
    EXPECT_EQ(drawnNode(root)->morpher->targetCount, 2U);
    return positionsOf(drawnGeometry(root));
  };
  EXPECT_THAT(positions("", ""), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0));
  EXPECT_THAT(positions(R"(,"weights":[0.5,0.25])", ""), ElementsAre(1, 0, 1, 1, 0, 1, 0, 1, 1));
  EXPECT_THAT(positions(R"(,"weights":[0.5,0.25])", R"(,"weights":[1])"), ElementsAre(0, 0, 2, 1, 0, 2, 0, 1, 2));
}

TEST(GLTFMorphs, AreRefusedWhereTheyDoNotMatch) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  file.positions({0, 0, 2, 0, 0, 2});
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0},"targets":[{"POSITION":1}]}],"weights":[1]}])");
  file.add("nodes", R"([{"mesh":0}])");
  EXPECT_EQ(refusalOf(file), "The accessor 1 does not match the attribute that it morphs.");
}

}  // namespace
}  // namespace ornolith
