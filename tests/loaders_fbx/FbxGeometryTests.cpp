#include <gmock/gmock.h>
#include <ufbx.h>

#include <bit>
#include <string>

#include "loaders/fbx/FbxGeometry.h"
#include "loaders/fbx/FbxLimits.h"
#include "loaders_fbx/FbxTestSupport.h"

namespace ornolith::test {
namespace {

using ::testing::DoubleEq;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Semantic = SCNGeometrySourceSemantic;

FbxScript oneMesh(const FbxMesh& mesh, std::string_view properties = "") {
  FbxScript script;
  const auto node = script.model("Part", "Mesh", properties);
  script.connect(node, FbxScript::root);
  script.connect(script.geometry(mesh), node);
  return script;
}

const SCNGeometry& onlyGeometry(const FbxFallbackLoadResult& result) {
  return *meshNodes(result).at(0)->geometry;
}

NSColor diffuseColor(const SCNMaterial& material) {
  return std::get<NSColor>(material.diffuse.contents);
}

TEST(FbxGeometry, EveryTriangleCornerIsAVertex) {
  const auto result = load(oneMesh(FbxMesh::quadAndTriangle()));
  const SCNGeometry& geometry = onlyGeometry(result);
  ASSERT_THAT(geometry.geometryElements(), SizeIs(1));
  const SCNGeometryElement& element = *geometry.geometryElements()[0];
  EXPECT_EQ(element.primitiveType(), SCNGeometryPrimitiveType::triangles);
  EXPECT_EQ(element.primitiveCount(), 3u);
  EXPECT_EQ(element.bytesPerIndex(), 4u);
  EXPECT_THAT(indicesOf(element), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
  for (const auto& source : geometry.geometrySources()) {
    EXPECT_EQ(source->vectorCount(), 9u);
    EXPECT_TRUE(source->floatComponents());
    EXPECT_EQ(source->bytesPerComponent(), 4u);
    EXPECT_EQ(source->dataOffset(), 0u);
    EXPECT_EQ(source->dataStride(), source->componentsPerVector() * 4);
    EXPECT_EQ(source->data()->size(), 9 * source->dataStride());
  }
}

TEST(FbxGeometry, StreamsStandInTheirOrder) {
  FbxMesh mesh = FbxMesh::triangle();
  mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  mesh.tangents = {1, 0, 0, 1, 0, 0, 1, 0, 0};
  mesh.colors = {1, 0, 0, 1, 0, 1, 0, 0.5, 0, 0, 1, 0.25};
  mesh.uvSets = {{0, 0, 1, 0, 0, 1}, {0.5, 0.25, 0.5, 0.25, 0.5, 0.25}};
  const auto result = load(oneMesh(mesh));
  const auto& sources = onlyGeometry(result).geometrySources();
  ASSERT_THAT(sources, SizeIs(6));
  EXPECT_EQ(sources[0]->semantic(), Semantic::vertex);
  EXPECT_EQ(sources[1]->semantic(), Semantic::normal);
  EXPECT_EQ(sources[2]->semantic(), Semantic::tangent);
  EXPECT_EQ(sources[3]->semantic(), Semantic::color);
  EXPECT_EQ(sources[4]->semantic(), Semantic::texcoord);
  EXPECT_EQ(sources[5]->semantic(), Semantic::texcoord);
  EXPECT_THAT(componentsOf(*sources[0]), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0));
  EXPECT_THAT(componentsOf(*sources[1]), ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
  EXPECT_THAT(componentsOf(*sources[2]), ElementsAre(1, 0, 0, 1, 0, 0, 1, 0, 0));
  EXPECT_THAT(componentsOf(*sources[3]), ElementsAre(1, 0, 0, 1, 0, 1, 0, 0.5, 0, 0, 1, 0.25));
  // v counts from the top in the scene.
  EXPECT_THAT(componentsOf(*sources[4]), ElementsAre(0, 1, 1, 1, 0, 0));
  EXPECT_THAT(componentsOf(*sources[5]), ElementsAre(0.5, 0.75, 0.5, 0.75, 0.5, 0.75));
}

TEST(FbxGeometry, WithoutTextureCoordinatesEveryCornerIsAtTheBottomLeft) {
  const auto result = load(oneMesh(FbxMesh::triangle()));
  const auto sources = onlyGeometry(result).geometrySourcesForSemantic(Semantic::texcoord);
  ASSERT_THAT(sources, SizeIs(1));
  EXPECT_THAT(componentsOf(*sources[0]), ElementsAre(0, 1, 0, 1, 0, 1));
}

TEST(FbxGeometry, MissingNormalsAreMade) {
  const auto result = load(oneMesh(FbxMesh::triangle()));
  EXPECT_THAT(componentsOf(*onlyGeometry(result).firstSourceForSemantic(Semantic::normal)),
              ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
}

TEST(FbxGeometry, GeometricTransformsMoveVerticesAndNotTheNode) {
  FbxMesh mesh = FbxMesh::triangle();
  mesh.normals = {0.6, 0.8, 0, 0.6, 0.8, 0, 0.6, 0.8, 0};
  const auto result = load(oneMesh(mesh,
                                   "P: \"GeometricTranslation\", \"Vector3D\", \"Vector\", \"\",10,0,0\n"
                                   "P: \"GeometricScaling\", \"Vector3D\", \"Vector\", \"\",2,1,1\n"));
  const SCNNode::Pointer node = meshNodes(result).at(0);
  EXPECT_EQ(node->position(), SCNVector3Zero);
  EXPECT_EQ(node->geometry->boundingBox().minimum, (SCNVector3{10, 0, 0}));
  EXPECT_EQ(node->geometry->boundingBox().maximum, (SCNVector3{12, 1, 0}));
  // Normals go by the inverse transpose: (0.3, 0.8) at length one.
  const SCNGeometrySource& normals = *node->geometry->firstSourceForSemantic(Semantic::normal);
  EXPECT_NEAR(normals.component(0, 0), 0.3 / std::sqrt(0.73), 1e-6);
  EXPECT_NEAR(normals.component(0, 1), 0.8 / std::sqrt(0.73), 1e-6);
}

TEST(FbxGeometry, FlatNormalsFollowTheWorldTransformUnnormalised) {
  FbxMesh mesh = FbxMesh::triangle();
  mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  FbxScript script;
  const auto node = script.model("Part", "Mesh", "P: \"Lcl Scaling\", \"Lcl Scaling\", \"\", \"A\",3,3,3\n");
  const auto other = script.model("Other", "Null");
  script.connect(node, FbxScript::root);
  script.connect(other, FbxScript::root);
  script.connect(script.geometry(mesh), node);
  script.animate(other);
  const auto result = load(script);
  EXPECT_THAT(componentsOf(*onlyGeometry(result).firstSourceForSemantic(Semantic::normal)),
              ElementsAre(0, 0, 3, 0, 0, 3, 0, 0, 3));
}

TEST(FbxGeometry, FlatAndAuthoredShapesShowTheSamePlaces) {
  const auto build = [](bool animated) {
    FbxScript script;
    const auto parent = script.model("Parent", "Mesh",
                                     "P: \"Lcl Rotation\", \"Lcl Rotation\", \"\", \"A\",30,40,50\n"
                                     "P: \"Lcl Scaling\", \"Lcl Scaling\", \"\", \"A\",-1,2,3\n");
    const auto child = script.model("Child", "Mesh",
                                    "P: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",1,2,3\n"
                                    "P: \"Lcl Rotation\", \"Lcl Rotation\", \"\", \"A\",5,6,7\n");
    script.connect(parent, FbxScript::root);
    script.connect(child, parent);
    for (const auto node : {parent, child}) script.connect(script.geometry(FbxMesh::quadAndTriangle()), node);
    if (animated) script.animationStack("Take");
    if (animated) script.animate(script.model("Other", "Null"));
    script.upAxis = 2;
    return load(script);
  };
  const auto authored = meshNodes(build(false));
  const auto flat = meshNodes(build(true));
  ASSERT_EQ(authored.size(), 2u);
  ASSERT_EQ(flat.size(), 2u);
  for (std::size_t mesh = 0; mesh < 2; ++mesh) {
    const SCNGeometrySource& local = *authored[mesh]->geometry->firstSourceForSemantic(Semantic::vertex);
    const SCNGeometrySource& world = *flat[mesh]->geometry->firstSourceForSemantic(Semantic::vertex);
    ASSERT_EQ(local.vectorCount(), world.vectorCount());
    for (std::size_t vertex = 0; vertex < local.vectorCount(); ++vertex) {
      const SCNVector3 place = authored[mesh]->convertPositionToNode(
          {local.component(vertex, 0), local.component(vertex, 1), local.component(vertex, 2)}, nullptr);
      EXPECT_NEAR(place.x, world.component(vertex, 0), 1e-5);
      EXPECT_NEAR(place.y, world.component(vertex, 1), 1e-5);
      EXPECT_NEAR(place.z, world.component(vertex, 2), 1e-5);
    }
  }
}

TEST(FbxGeometry, NoMaterialShowsNeutralGrey) {
  const auto result = load(oneMesh(FbxMesh::triangle()));
  const SCNMaterial& material = firstMaterialOf(result);
  EXPECT_EQ(diffuseColor(material), (NSColor{.red = 0.65, .green = 0.65, .blue = 0.65, .alpha = 1}));
  EXPECT_EQ(material.transparency, 1);
  EXPECT_EQ(material.blendMode, SCNBlendMode::replace);
  EXPECT_EQ(material.lightingModelName, SCNLightingModelPhysicallyBased);
  EXPECT_EQ(std::get<double>(material.roughness.contents), 0.85);
  EXPECT_EQ(std::get<double>(material.metalness.contents), 0.0);
  EXPECT_TRUE(material.isDoubleSided);
  EXPECT_TRUE(result.usedMaterialFallback);
}

TEST(FbxGeometry, NoMaterialButVertexColorsShowsWhite) {
  FbxMesh mesh = FbxMesh::triangle();
  mesh.colors = {1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1};
  const auto result = load(oneMesh(mesh));
  EXPECT_EQ(diffuseColor(firstMaterialOf(result)), (NSColor{.red = 1, .green = 1, .blue = 1, .alpha = 1}));
  EXPECT_TRUE(result.usedMaterialFallback);
}

/// Two triangles of materials `first` and `second` of three.
FbxScript threeMaterials(int first, int second) {
  FbxScript script;
  const auto node = script.model("Part", "Mesh");
  script.connect(node, FbxScript::root);
  FbxMesh mesh{.vertices = {0, 0, 0, 1, 0, 0, 0, 1, 0}, .polygons = {0, 1, -3, 0, 1, -3}};
  mesh.materials = {first, second};
  script.connect(script.geometry(mesh), node);
  script.connect(script.material("Red", colorProperty("DiffuseColor", 1, 0, 0)), node);
  script.connect(script.material("Green", colorProperty("DiffuseColor", 0, 1, 0)), node);
  script.connect(script.material("Blue", colorProperty("DiffuseColor", 0, 0, 1)), node);
  return script;
}

TEST(FbxGeometry, MaterialsThatNoFaceUsesLeaveNoElement) {
  const auto result = load(threeMaterials(2, 0));
  const SCNGeometry& geometry = onlyGeometry(result);
  ASSERT_THAT(geometry.geometryElements(), SizeIs(2));
  ASSERT_THAT(geometry.materials(), SizeIs(2));
  EXPECT_EQ(diffuseColor(*geometry.materials()[0]), (NSColor{.red = 1, .green = 0, .blue = 0, .alpha = 1}));
  EXPECT_EQ(diffuseColor(*geometry.materials()[1]), (NSColor{.red = 0, .green = 0, .blue = 1, .alpha = 1}));
  EXPECT_THAT(indicesOf(*geometry.geometryElements()[0]), ElementsAre(3, 4, 5));
  EXPECT_THAT(indicesOf(*geometry.geometryElements()[1]), ElementsAre(0, 1, 2));
  EXPECT_FALSE(result.usedMaterialFallback);
}

TEST(FbxGeometry, AFaceWithAnImpossibleMaterialGoesToTheFirst) {
  const auto result = load(threeMaterials(1, 1));
  // The library mends such entries while it reads; here they are put back.
  const ufbx_node& node = *result.animationPlayer->scene().root_node->children[0];
  node.mesh->face_material.data[1] = 7;
  FbxConversion conversion(FileURL("/nowhere/model.fbx"), {}, 0);
  SCNGeometry::Materials materials;
  bool usedFallback = false;
  const auto geometry = GeometryForMeshNode(node, conversion, nullptr, true, &usedFallback, &materials);
  ASSERT_THAT(geometry->geometryElements(), SizeIs(2));
  EXPECT_THAT(indicesOf(*geometry->geometryElements()[0]), ElementsAre(3, 4, 5));
  EXPECT_THAT(indicesOf(*geometry->geometryElements()[1]), ElementsAre(0, 1, 2));
  EXPECT_EQ(materials, geometry->materials());
  EXPECT_FALSE(usedFallback);
  // Without a list of face materials everything goes to the first.
  node.mesh->face_material.count = 0;
  FbxConversion again(FileURL("/nowhere/model.fbx"), {}, 0);
  EXPECT_THAT(GeometryForMeshNode(node, again, nullptr, true)->geometryElements(), SizeIs(1));
}

TEST(FbxGeometry, NodesWithoutTrianglesStayWithoutGeometry) {
  FbxScript script = oneMesh(FbxMesh::triangle());
  const auto line = script.model("Line", "Mesh");
  script.connect(line, FbxScript::root);
  script.connect(script.geometry({.vertices = {0, 0, 0, 1, 0, 0}, .polygons = {0, -2}}), line);
  const auto result = load(script);
  const SCNNode::Pointer node = childNamed(result.scene->rootNode(), "Line");
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->geometry, nullptr);
}

TEST(FbxGeometry, AFileOfLinesAloneIsAnError) {
  EXPECT_THROW(load(oneMesh({.vertices = {0, 0, 0, 1, 0, 0}, .polygons = {0, -2}})), FbxLoadError);
}

TEST(FbxGeometry, InstancesShareStreamsButNoGeometry) {
  FbxScript script;
  const auto mesh = script.geometry(FbxMesh::quadAndTriangle());
  for (int instance = 0; instance < 3; ++instance) {
    const auto node = script.model(
        "Copy", "Mesh", instance < 2 ? "" : "P: \"GeometricTranslation\", \"Vector3D\", \"Vector\", \"\",1,0,0\n");
    script.connect(node, FbxScript::root);
    script.connect(mesh, node);
  }
  const auto result = load(script);
  const auto nodes = meshNodes(result);
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_NE(nodes[0]->geometry, nodes[1]->geometry);
  EXPECT_NE(nodes[0]->geometry->materials()[0], nodes[1]->geometry->materials()[0]);
  EXPECT_EQ(nodes[0]->geometry->geometrySources(), nodes[1]->geometry->geometrySources());
  EXPECT_NE(nodes[0]->geometry->geometrySources()[0], nodes[2]->geometry->geometrySources()[0])
      << "instances with their own geometric transform have their own vertices";
}

TEST(FbxGeometry, BlendShapesAreDrawnAtRestWithAMessage) {
  FbxScript script;
  const auto node = script.model("Face", "Mesh");
  script.connect(node, FbxScript::root);
  const auto geometry = script.geometry(FbxMesh::triangle());
  script.connect(geometry, node);
  const auto blend = script.object("Deformer", "Smiles", "BlendShape", "Version: 100\n");
  const auto channel = script.object("Deformer", "Smile", "BlendShapeChannel",
                                     "Version: 100\nDeformPercent: 100\nFullWeights: *1 {\na: 100\n}\n");
  const auto shape = script.object("Geometry", "SmileShape", "Shape",
                                   "Version: 100\nIndexes: *1 {\na: 0\n}\nVertices: *3 {\na: 0,0,5\n}\n");
  script.connect(blend, geometry);
  script.connect(channel, blend);
  script.connect(shape, channel);
  const auto result = load(script);
  ASSERT_THAT(result.diagnostics, SizeIs(2));
  const std::string name = *meshNodes(result).at(0)->name();
  EXPECT_EQ(
      result.diagnostics[1],
      "FBX mesh '" + name + "' contains 1 blend shape deformer(s); morph targets are rendered in their base state.");
  EXPECT_THAT(name, HasSubstr("__Face"));
}

/// FNV-1a over the bytes of the first position and normal streams of all meshes.
std::uint64_t hashOfVertices(const FbxFallbackLoadResult& result) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (const SCNNode::Pointer& node : meshNodes(result)) {
    for (const Semantic semantic : {Semantic::vertex, Semantic::normal}) {
      for (const std::byte byte : *node->geometry->firstSourceForSemantic(semantic)->data()) {
        hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3u;
      }
    }
  }
  return hash;
}

TEST(FbxGeometry, VerticesAreTheSameBitsOnEveryMachine) {
  const auto build = [](bool animated) {
    FbxScript script;
    script.upAxis = 2;
    FbxMesh bowl;
    constexpr int segments = 16;
    for (int index = 0; index < segments; ++index) {
      const double angle = 0.39 * index;
      bowl.vertices.insert(bowl.vertices.end(), {angle / 3, angle * angle / 7, 1 / (1 + angle)});
    }
    for (int index = 0; index + 3 < segments; index += 2) {
      bowl.polygons.insert(bowl.polygons.end(), {index, index + 1, index + 3, -1 - (index + 2)});
    }
    bowl.polygons.insert(bowl.polygons.end(), {0, 3, 5, 8, 11, -1 - 14});
    const auto outer = script.model("Outer", "Mesh",
                                    "P: \"Lcl Rotation\", \"Lcl Rotation\", \"\", \"A\",12.5,33.3,71.1\n"
                                    "P: \"Lcl Scaling\", \"Lcl Scaling\", \"\", \"A\",1.7,0.3,2.1\n"
                                    "P: \"GeometricRotation\", \"Vector3D\", \"Vector\", \"\",11,22,33\n");
    const auto inner =
        script.model("Inner", "Mesh", "P: \"Lcl Rotation\", \"Lcl Rotation\", \"\", \"A\",-77.7,0.1,123.4\n");
    script.connect(outer, FbxScript::root);
    script.connect(inner, outer);
    for (const auto node : {outer, inner}) script.connect(script.geometry(bowl), node);
    if (animated) script.animate(outer);
    return load(script);
  };
  EXPECT_EQ(hashOfVertices(build(false)), 8733355925364139939u);
  EXPECT_EQ(hashOfVertices(build(true)), 11382630942502729252u);
}

TEST(FbxLimits, GrowWithTheFileFromAFloor) {
  EXPECT_EQ(fbxMemoryLimit(1000, 0), 1000u);
  EXPECT_EQ(fbxMemoryLimit(1000, 100), 100 * fbxMemoryPerFileByte);
  EXPECT_EQ(fbxMemoryLimit(1000, std::numeric_limits<std::uint64_t>::max()),
            std::numeric_limits<std::size_t>::max() / 2);
  EXPECT_EQ(fbxDrawingLimit(100), drawingFloor + 100 * drawingPerFileByte);
  EXPECT_GT(fbxDrawingLimit(std::numeric_limits<std::uint64_t>::max()), fbxDrawingLimit(std::uint64_t{1} << 40));
  FbxMemoryBudget budget(10);
  EXPECT_TRUE(budget.take(6));
  EXPECT_FALSE(budget.take(5));
  EXPECT_TRUE(budget.take(4));
}

}  // namespace
}  // namespace ornolith::test
