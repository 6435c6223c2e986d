#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "parts/ScenePartRuntime.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

SCNNode::Pointer plainNode(const SCNNode::Pointer& parent) {
  SCNNode::Pointer node = SCNNode::node();
  parent->addChildNode(node);
  return node;
}

SCNNode::Pointer partNode(const SCNNode::Pointer& parent, const std::string& id, const std::string& name) {
  SCNNode::Pointer node = plainNode(parent);
  node->ornolithMetadata =
      MetadataDictionary{{std::string(ornolithSourceNodeIDKey), id}, {std::string(ornolithSourceNodeNameKey), name}};
  return node;
}

std::shared_ptr<SCNGeometry> someGeometry() {
  return SCNGeometry::geometryWithSources({}, {});
}

ModelNodePath pathOf(std::initializer_list<ModelNodePath::Component> components) {
  return ModelNodePath{std::vector<ModelNodePath::Component>(components)};
}

ModelNodePath::Component component(const std::string& id, const std::string& name) {
  return {ModelNodeSourceID{id}, name};
}

class ScenePartRuntimeTest : public ::testing::Test {
 protected:
  ScenePartRuntime runtime() const { return makePartRuntime(*container, state); }

  SCNNode::Pointer container = SCNNode::node();
  PartPresentationState state;
};

TEST_F(ScenePartRuntimeTest, HasNoPartsForAModelWithoutIdentifiedNodes) {
  plainNode(plainNode(container));
  EXPECT_THAT(runtime().descriptors(), IsEmpty());
}

TEST_F(ScenePartRuntimeTest, MapsPathsToNodesAndNodesToPaths) {
  const SCNNode::Pointer base = partNode(container, "fbx:1", "Base");
  const SCNNode::Pointer arm = partNode(base, "fbx:2", "Arm");
  const ModelNodePath basePath = pathOf({component("fbx:1", "Base")});
  const ModelNodePath armPath = pathOf({component("fbx:1", "Base"), component("fbx:2", "Arm")});

  const ScenePartRuntime parts = runtime();

  EXPECT_EQ(parts.nodesByPath(basePath), base);
  EXPECT_EQ(parts.nodesByPath(armPath), arm);
  EXPECT_EQ(parts.pathsByNode(*arm), armPath);
  EXPECT_EQ(parts.nodesByPath(ModelNodePath::root), nullptr);
  EXPECT_EQ(parts.nodesByPath(pathOf({component("fbx:2", "Arm")})), nullptr);
  ASSERT_EQ(parts.descriptors().size(), 1U);
  const ModelPartDescriptor descriptor = parts.descriptors()[0];
  EXPECT_EQ(descriptor.path, basePath);
  EXPECT_EQ(descriptor.name, "Base");
  ASSERT_EQ(descriptor.children.size(), 1U);
  EXPECT_EQ(descriptor.children[0].path, armPath);
  EXPECT_EQ(descriptor.children[0].sourceID.rawValue, "fbx:2");
}

TEST_F(ScenePartRuntimeTest, KeepsSiblingsAndTheirSubtreesInOrder) {
  const SCNNode::Pointer a = partNode(container, "fbx:3", "A");
  partNode(a, "fbx:9", "A1");
  partNode(a, "fbx:4", "A2");
  partNode(container, "fbx:1", "B");
  const std::vector<ModelPartDescriptor> top = runtime().descriptors();
  std::vector<std::string> names;
  for (const ModelPartDescriptor& descriptor : top) {
    for (const ModelPartDescriptor* part : descriptor.flattened()) names.push_back(part->name);
  }
  EXPECT_THAT(names, ElementsAre("A", "A1", "A2", "B"));
}

TEST_F(ScenePartRuntimeTest, ANodeWithoutIdentityBelowAPartMeansThePartAndHandsItsChildrenUp) {
  const SCNNode::Pointer base = partNode(container, "fbx:1", "Base");
  const SCNNode::Pointer between = plainNode(base);
  partNode(between, "fbx:2", "Arm");
  const ScenePartRuntime parts = runtime();
  EXPECT_EQ(parts.pathsByNode(*between), pathOf({component("fbx:1", "Base")}));
  EXPECT_EQ(parts.descriptors()[0].children[0].name, "Arm");
}

TEST_F(ScenePartRuntimeTest, ANodeWithoutIdentityAtTheTopHasNoPathAndItsChildrenStandAtTheTop) {
  const SCNNode::Pointer wrapper = plainNode(container);
  partNode(wrapper, "fbx:2", "Arm");
  const ScenePartRuntime parts = runtime();
  EXPECT_EQ(parts.pathsByNode(*wrapper), std::nullopt);
  EXPECT_EQ(parts.pathsByNode(*container), std::nullopt);
  EXPECT_EQ(parts.descriptors()[0].path, pathOf({component("fbx:2", "Arm")}));
}

TEST_F(ScenePartRuntimeTest, ASyntheticNodeIsTransparent) {
  const SCNNode::Pointer base = partNode(container, "fbx:1", "Base");
  const SCNNode::Pointer primitive = partNode(base, "fbx:2", "Primitive");
  primitive->ornolithMetadata->insert_or_assign(std::string(ornolithIsSyntheticPrimitiveKey), true);
  primitive->geometry = someGeometry();
  const ScenePartRuntime parts = runtime();
  EXPECT_THAT(parts.descriptors()[0].children, IsEmpty());
  EXPECT_TRUE(parts.descriptors()[0].hasGeometry);
  EXPECT_EQ(parts.pathsByNode(*primitive), pathOf({component("fbx:1", "Base")}));
}

TEST_F(ScenePartRuntimeTest, TakesTheNameFromTheMetadataThenTheNodeThenTheIdentity) {
  partNode(container, "fbx:1", "")->setName("scene name");
  const SCNNode::Pointer named = partNode(container, "fbx:2", "x");
  named->ornolithMetadata->erase(std::string(ornolithSourceNodeNameKey));
  named->setName("scene name");
  const SCNNode::Pointer nameless = partNode(container, "fbx:3", "x");
  nameless->ornolithMetadata->erase(std::string(ornolithSourceNodeNameKey));
  std::vector<std::string> names;
  for (const ModelPartDescriptor& descriptor : runtime().descriptors()) names.push_back(descriptor.name);
  EXPECT_THAT(names, ElementsAre("", "scene name", "fbx:3"));
}

TEST_F(ScenePartRuntimeTest, OwnsTheGeometryOfUnidentifiedNodesButNotOfParts) {
  const SCNNode::Pointer withPlainChild = partNode(container, "fbx:1", "A");
  plainNode(plainNode(withPlainChild))->geometry = someGeometry();
  const SCNNode::Pointer withPartChild = partNode(container, "fbx:2", "B");
  partNode(plainNode(withPartChild), "fbx:3", "C")->geometry = someGeometry();
  const std::vector<ModelPartDescriptor> parts = runtime().descriptors();
  EXPECT_TRUE(parts[0].hasGeometry);
  EXPECT_FALSE(parts[1].hasGeometry);
  EXPECT_TRUE(parts[1].containsGeometry());
  EXPECT_TRUE(parts[1].children[0].hasGeometry);
}

TEST_F(ScenePartRuntimeTest, AnEmptyIdentityIsAPartWhoseGeometryCountsForThePartAboveToo) {
  const SCNNode::Pointer base = partNode(container, "fbx:1", "Base");
  const SCNNode::Pointer unnamed = partNode(base, "", "Odd");
  plainNode(unnamed)->geometry = someGeometry();
  const std::vector<ModelPartDescriptor> parts = runtime().descriptors();
  EXPECT_TRUE(parts[0].hasGeometry);
  ASSERT_EQ(parts[0].children.size(), 1U);
  EXPECT_TRUE(parts[0].children[0].hasGeometry);
}

TEST_F(ScenePartRuntimeTest, OfTwoNodesWithOnePathTheLaterIsFoundAndBothStayInTheTree) {
  const SCNNode::Pointer first = partNode(container, "fbx:1", "Twin");
  const SCNNode::Pointer second = partNode(container, "fbx:1", "Twin");
  first->isHidden = true;
  const ModelNodePath path = pathOf({component("fbx:1", "Twin")});
  const ScenePartRuntime parts = runtime();
  EXPECT_EQ(parts.nodesByPath(path), second);
  EXPECT_EQ(parts.pathsByNode(*first), path);
  EXPECT_EQ(parts.descriptors().size(), 2U);
  EXPECT_TRUE(parts.descriptors()[0].isAuthoredHidden);
  EXPECT_FALSE(parts.descriptors()[1].isAuthoredHidden);
  EXPECT_TRUE(parts.authoredHiddenPaths(path));
}

TEST_F(ScenePartRuntimeTest, DropsWhatTheRestoredStateNamesInVain) {
  partNode(container, "fbx:1", "A");
  partNode(container, "fbx:2", "B");
  const ModelNodePath a = pathOf({component("fbx:1", "A")});
  const ModelNodePath b = pathOf({component("fbx:2", "B")});
  const ModelNodePath gone = pathOf({component("fbx:1", "renamed")});
  state.selectedPartPath = gone;
  state.isolatedPartPath = ModelNodePath::root;
  state.hiddenPartPaths = {b, gone, a};
  state.showsDiagnosticColors = true;
  state.articulationFingerprint = "f";
  state.articulationAngleDegrees = 12;

  const PartPresentationState kept = runtime().presentation;

  EXPECT_EQ(kept.selectedPartPath, std::nullopt);
  EXPECT_EQ(kept.isolatedPartPath, std::nullopt);
  EXPECT_THAT(kept.hiddenPartPaths, ElementsAre(b, a));
  EXPECT_TRUE(kept.showsDiagnosticColors);
  EXPECT_EQ(kept.articulationFingerprint, "f");
  EXPECT_EQ(kept.articulationAngleDegrees, 12.0F);
  EXPECT_EQ(discardedPartStateCount(state, kept), 3U);
  EXPECT_EQ(discardedPartStateCount(kept, kept), 0U);
}

TEST_F(ScenePartRuntimeTest, KeepsARestoredStateThatStillFits) {
  partNode(container, "fbx:1", "A");
  state.selectedPartPath = state.isolatedPartPath = pathOf({component("fbx:1", "A")});
  EXPECT_EQ(runtime().presentation, state);
  EXPECT_FALSE(runtime().blocksRigidArticulationInference);
  EXPECT_EQ(runtime().articulationDescriptor, std::nullopt);
}

TEST_F(ScenePartRuntimeTest, HidesWhatWasHiddenWhenLoadedAndWhatThePersonHides) {
  const SCNNode::Pointer a = partNode(container, "fbx:1", "A");
  const SCNNode::Pointer b = partNode(container, "fbx:2", "B");
  const SCNNode::Pointer c = partNode(container, "fbx:3", "C");
  a->isHidden = true;
  ScenePartRuntime parts = runtime();
  applyPartVisibility(parts);
  EXPECT_TRUE(a->isHidden);
  EXPECT_FALSE(b->isHidden);

  parts.presentation.hiddenPartPaths = {pathOf({component("fbx:2", "B")})};
  applyPartVisibility(parts);
  EXPECT_TRUE(b->isHidden);
  EXPECT_FALSE(c->isHidden);

  parts.presentation.hiddenPartPaths.clear();
  applyPartVisibility(parts);
  EXPECT_FALSE(b->isHidden);
  EXPECT_TRUE(a->isHidden);
}

TEST_F(ScenePartRuntimeTest, AnIsolatedPartStaysInViewWithWhatIsBelowItAndItsAncestors) {
  const SCNNode::Pointer base = partNode(container, "fbx:1", "Base");
  const SCNNode::Pointer arm = partNode(base, "fbx:2", "Arm");
  const SCNNode::Pointer head = partNode(arm, "fbx:3", "Head");
  const SCNNode::Pointer cable = partNode(base, "fbx:4", "Cable");
  const SCNNode::Pointer table = partNode(container, "fbx:5", "Table");
  const SCNNode::Pointer between = plainNode(container);
  ScenePartRuntime parts = runtime();
  parts.presentation.isolatedPartPath = pathOf({component("fbx:1", "Base"), component("fbx:2", "Arm")});
  applyPartVisibility(parts);
  EXPECT_FALSE(base->isHidden);
  EXPECT_FALSE(arm->isHidden);
  EXPECT_FALSE(head->isHidden);
  EXPECT_TRUE(cable->isHidden);
  EXPECT_TRUE(table->isHidden);
  EXPECT_FALSE(between->isHidden);
}

TEST_F(ScenePartRuntimeTest, AVeryDeepTreeOfPartsTakesMemoryInProportionToItsNodes) {
  SCNNode::Pointer node = container;
  constexpr int depth = 100'000;
  for (int level = 0; level < depth; ++level) node = partNode(node, "fbx:" + std::to_string(level), "Level");
  node->geometry = someGeometry();
  const ScenePartRuntime parts = runtime();
  ASSERT_EQ(parts.tree->parts().size(), static_cast<std::size_t>(depth));
  const ModelNodePath deepest = *parts.pathsByNode(*node);
  EXPECT_EQ(deepest.components.size(), static_cast<std::size_t>(depth));
  EXPECT_EQ(parts.nodesByPath(deepest), node);
  applyPartVisibility(parts);
  EXPECT_FALSE(node->isHidden);
}

TEST_F(ScenePartRuntimeTest, AVeryWideTreeOfPartsIsReadInOrder) {
  constexpr std::size_t width = 100'000;
  for (std::size_t index = 0; index < width; ++index) partNode(container, "fbx:" + std::to_string(index), "Same");
  const ScenePartRuntime parts = runtime();
  const std::vector<ModelPartDescriptor> descriptors = parts.descriptors();
  ASSERT_EQ(descriptors.size(), width);
  EXPECT_EQ(descriptors.back().sourceID.rawValue, "fbx:99999");
}

}  // namespace
}  // namespace ornolith
