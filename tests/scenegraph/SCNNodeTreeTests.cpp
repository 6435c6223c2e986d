#include <gtest/gtest.h>

#include <stdexcept>

#include "SceneFixtures.h"
#include "scenegraph/SCNNode.h"
#include "scenegraph/SCNSubtreeWalk.h"

namespace ornolith {
namespace {

using testing::addChain;

SCNNode::Pointer named(const char* name) {
  SCNNode::Pointer node = SCNNode::node();
  node->setName(name);
  return node;
}

std::string childNames(const SCNNode& node) {
  std::string names;
  for (const SCNNode::Pointer& child : node.childNodes()) names += child->name().value_or("?");
  return names;
}

std::string descendantNames(const SCNNode& node) {
  std::string names;
  node.enumerateChildNodes([&](SCNNode& visited) { names += visited.name().value_or("?"); });
  return names;
}

// r( a( b c( d ) ) e )
struct SmallTree {
  SCNNode::Pointer r = named("r"), a = named("a"), b = named("b"), c = named("c"), d = named("d"), e = named("e");
  SmallTree() {
    r->addChildNode(a);
    a->addChildNode(b);
    a->addChildNode(c);
    c->addChildNode(d);
    r->addChildNode(e);
  }
};

TEST(SCNNodeTree, ANewNodeHasNothing) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_FALSE(node->name());
  EXPECT_FALSE(node->hasParent());
  EXPECT_EQ(node->parentNode(), nullptr);
  EXPECT_EQ(node->childCount(), 0U);
  EXPECT_EQ(node->geometry, nullptr);
  EXPECT_FALSE(node->isHidden);
  EXPECT_TRUE(node->castsShadow);
  EXPECT_EQ(node->categoryBitMask, 1);
  EXPECT_EQ(node->renderingOrder, 0);
}

TEST(SCNNodeTree, ChildrenStandInTheOrderInWhichTheyWereAdded) {
  SmallTree tree;
  EXPECT_EQ(childNames(*tree.r), "ae");
  EXPECT_EQ(childNames(*tree.a), "bc");
  EXPECT_EQ(tree.c->parentNode(), tree.a);
  EXPECT_EQ(tree.a->childCount(), 2U);
}

TEST(SCNNodeTree, AddingMovesANodeFromItsPreviousParent) {
  SmallTree tree;
  tree.e->addChildNode(tree.b);
  EXPECT_EQ(childNames(*tree.a), "c");
  EXPECT_EQ(childNames(*tree.e), "b");
  EXPECT_EQ(tree.b->parentNode(), tree.e);
}

TEST(SCNNodeTree, AddingAgainMovesANodeToTheEnd) {
  SmallTree tree;
  tree.r->addChildNode(tree.a);
  EXPECT_EQ(childNames(*tree.r), "ea");
  EXPECT_EQ(tree.r->childCount(), 2U);
}

TEST(SCNNodeTree, RemovingFirstMiddleAndLastKeepsTheOthers) {
  const SCNNode::Pointer root = named("r");
  std::vector<SCNNode::Pointer> nodes;
  for (const char* name : {"1", "2", "3", "4", "5"}) {
    nodes.push_back(named(name));
    root->addChildNode(nodes.back());
  }
  nodes[2]->removeFromParentNode();
  EXPECT_EQ(childNames(*root), "1245");
  nodes[0]->removeFromParentNode();
  EXPECT_EQ(childNames(*root), "245");
  nodes[4]->removeFromParentNode();
  EXPECT_EQ(childNames(*root), "24");
  EXPECT_FALSE(nodes[0]->hasParent());
  nodes[0]->removeFromParentNode();
  root->addChildNode(nodes[0]);
  EXPECT_EQ(childNames(*root), "241");
}

TEST(SCNNodeTree, ANodeCannotGoBelowItself) {
  SmallTree tree;
  EXPECT_THROW(tree.a->addChildNode(tree.a), std::logic_error);
  EXPECT_THROW(tree.d->addChildNode(tree.a), std::logic_error);
  EXPECT_THROW(tree.d->addChildNode(tree.r), std::logic_error);
  EXPECT_THROW(tree.d->addChildNode(nullptr), std::logic_error);
  EXPECT_EQ(descendantNames(*tree.r), "abcde");
  EXPECT_EQ(tree.a->parentNode(), tree.r);
}

TEST(SCNNodeTree, ASnapshotOfTheChildrenOutlivesChanges) {
  SmallTree tree;
  for (const SCNNode::Pointer& child : tree.r->childNodes())
    tree.d->parentNode()->addChildNode(child == tree.a ? named("x") : child);
  EXPECT_EQ(childNames(*tree.r), "a");
  EXPECT_EQ(childNames(*tree.c), "dxe");
}

TEST(SCNNodeTree, EnumerationVisitsParentsBeforeChildrenWithoutTheReceiver) {
  SmallTree tree;
  EXPECT_EQ(descendantNames(*tree.r), "abcde");
  EXPECT_EQ(descendantNames(*tree.a), "bcd");
  EXPECT_EQ(descendantNames(*tree.e), "");
}

TEST(SCNNodeTree, EnumerationUntilStopsWhereTheAnswerIsFalse) {
  SmallTree tree;
  std::string names;
  tree.r->enumerateChildNodesUntil([&](SCNNode& node) {
    names += *node.name();
    return !node.hasName("c");
  });
  EXPECT_EQ(names, "abc");
}

TEST(SCNNodeTree, ChildNodesPassingATestComeFromTheWholeSubtree) {
  SmallTree tree;
  const auto found =
      tree.r->childNodesPassingTest([](const SCNNode& node) { return node.hasName("d") || node.hasName("e"); });
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0], tree.d);
  EXPECT_EQ(found[1], tree.e);
}

TEST(SCNNodeTree, AParentOwnsItsChildren) {
  SCNNode::Pointer root = SCNNode::node();
  std::weak_ptr<SCNNode> child;
  {
    const SCNNode::Pointer node = SCNNode::node();
    child = node;
    root->addChildNode(node);
  }
  EXPECT_FALSE(child.expired());
  root.reset();
  EXPECT_TRUE(child.expired());
}

TEST(SCNNodeTree, ANodeHeldElsewhereOutlivesItsParentWithItsSubtree) {
  SmallTree tree;
  tree.r->setPosition({5, 0, 0});
  tree.d->setPosition({0, 1, 0});
  EXPECT_EQ(tree.d->worldPosition(), (SCNVector3{5, 1, 0}));
  tree.b.reset();
  tree.d.reset();
  tree.a.reset();
  tree.r.reset();
  EXPECT_FALSE(tree.c->hasParent());
  EXPECT_EQ(childNames(*tree.c), "d");
  EXPECT_EQ(tree.c->childNodes()[0]->worldPosition(), (SCNVector3{0, 1, 0}));
}

TEST(SCNNodeTree, RemovingTheLastReferenceThroughTheParentIsSafe) {
  const SCNNode::Pointer root = SCNNode::node();
  addChain(root, 3);
  SCNNode* child = root->childNodes()[0].get();
  child->removeFromParentNode();
  EXPECT_EQ(root->childCount(), 0U);
}

TEST(SCNNodeTree, HidingReachesTheSubtree) {
  SmallTree tree;
  tree.a->isHidden = true;
  EXPECT_FALSE(tree.r->isHiddenInTree());
  EXPECT_TRUE(tree.a->isHiddenInTree());
  EXPECT_TRUE(tree.d->isHiddenInTree());
  EXPECT_FALSE(tree.e->isHiddenInTree());
}

TEST(SCNNodeTree, ACloneHasTheSameShapeAndSharesObjects) {
  SmallTree tree;
  tree.c->geometry = testing::triangleGeometry();
  tree.c->camera = SCNCamera::camera();
  tree.c->light = SCNLight::light();
  tree.c->isHidden = true;
  tree.c->renderingOrder = 7;
  tree.c->castsShadow = false;
  tree.c->categoryBitMask = 12;
  tree.c->skinner = std::make_shared<SCNSkinner>(SCNSkinner{tree.d});
  tree.c->morpher = std::make_shared<SCNMorpher>();
  tree.c->constraints = {std::make_shared<SCNBillboardConstraint>()};
  tree.c->ornolithMetadata = MetadataDictionary{{"key", true}};
  tree.c->setEulerAngles({0.1, 0.2, 0.3});
  tree.c->addAnimationPlayer(std::make_shared<SCNAnimationPlayer>(SCNAnimation{2}), "spin");
  SCNMatrix4 sheared;
  sheared.columns[1].x = 0.5;
  tree.d->setTransform(sheared);

  const SCNNode::Pointer copy = tree.a->clone();
  EXPECT_FALSE(copy->hasParent());
  EXPECT_EQ(*copy->name(), "a");
  EXPECT_EQ(descendantNames(*copy), "bcd");
  const SCNNode::Pointer c = copy->childNodes()[1];
  EXPECT_NE(c, tree.c);
  EXPECT_EQ(c->geometry, tree.c->geometry);
  EXPECT_EQ(c->camera, tree.c->camera);
  EXPECT_EQ(c->light, tree.c->light);
  EXPECT_TRUE(c->isHidden);
  EXPECT_EQ(c->renderingOrder, 7);
  EXPECT_FALSE(c->castsShadow);
  EXPECT_EQ(c->categoryBitMask, 12);
  EXPECT_EQ(c->skinner, tree.c->skinner);
  EXPECT_EQ(c->morpher, tree.c->morpher);
  EXPECT_EQ(c->constraints, tree.c->constraints);
  EXPECT_EQ(c->ornolithMetadata, tree.c->ornolithMetadata);
  EXPECT_EQ(c->transform(), tree.c->transform());
  EXPECT_EQ(c->eulerAngles(), (SCNVector3{0.1, 0.2, 0.3}));
  EXPECT_EQ(c->animationPlayerForKey("spin"), tree.c->animationPlayerForKey("spin"));
  EXPECT_EQ(c->childNodes()[0]->transform(), sheared);

  c->setName("changed");
  c->ornolithMetadata->clear();
  EXPECT_EQ(*tree.c->name(), "c");
  EXPECT_EQ(tree.c->ornolithMetadata->size(), 1U);
}

TEST(SCNNodeTree, ACloneOfANodeInATreeStandsAtItsLocalTransform) {
  SmallTree tree;
  tree.r->setPosition({10, 0, 0});
  tree.a->setPosition({1, 0, 0});
  EXPECT_EQ(tree.a->worldPosition(), (SCNVector3{11, 0, 0}));
  EXPECT_EQ(tree.a->clone()->worldPosition(), (SCNVector3{1, 0, 0}));
}

TEST(SCNNodeTree, AnimationsAreFoundUnderTheirKeysInOrder) {
  const SCNNode::Pointer node = SCNNode::node();
  const auto walk = std::make_shared<SCNAnimationPlayer>(SCNAnimation{1.5});
  const auto turn = std::make_shared<SCNAnimationPlayer>(SCNAnimation{2});
  node->addAnimationPlayer(walk, "walk");
  node->addAnimationPlayer(turn, "turn");
  EXPECT_EQ(node->animationKeys(), (std::vector<std::string>{"walk", "turn"}));
  EXPECT_EQ(node->animationPlayerForKey("walk"), walk);
  EXPECT_EQ(node->animationPlayerForKey("walk")->animation().duration, 1.5);
  EXPECT_EQ(node->animationPlayerForKey("run"), nullptr);
  node->addAnimationPlayer(turn, "walk");
  EXPECT_EQ(node->animationPlayerForKey("walk"), turn);
  EXPECT_EQ(node->animationKeys().size(), 2U);
  walk->setPaused(false);
  EXPECT_FALSE(walk->isPaused());
  walk->stop();
  EXPECT_TRUE(walk->isPaused());
  node->removeAllAnimations();
  EXPECT_TRUE(node->animationKeys().empty());
  EXPECT_EQ(node->presentationNode(), node);
}

TEST(SCNSubtreeWalk, CarriesDepthAndVisibility) {
  SmallTree tree;
  tree.a->isHidden = true;
  tree.c->isHidden = true;
  std::string seen;
  for (SCNSubtreeWalk walk(*tree.r); !walk.isAtEnd(); walk.next()) {
    seen += *walk.node().name() + std::to_string(walk.depth()) + (walk.isHidden() ? "h " : "v ");
    EXPECT_EQ(walk.isHidden(), walk.node().isHiddenInTree());
  }
  EXPECT_EQ(seen, "r0v a1h b2h c2h d3h e1v ");
}

TEST(SCNSubtreeWalk, BeginsHiddenBelowAHiddenAncestorAndStaysInItsSubtree) {
  SmallTree tree;
  tree.r->isHidden = true;
  std::string seen;
  for (SCNSubtreeWalk walk(*tree.a); !walk.isAtEnd(); walk.next()) {
    EXPECT_TRUE(walk.isHidden());
    seen += *walk.node().name();
  }
  EXPECT_EQ(seen, "abcd");
}

TEST(SCNSubtreeWalk, CanSkipASubtree) {
  SmallTree tree;
  std::string seen;
  SCNSubtreeWalk walk(*tree.r);
  while (!walk.isAtEnd()) {
    seen += *walk.node().name();
    if (walk.node().hasName("a")) {
      walk.nextBesideSubtree();
    } else {
      walk.next();
    }
  }
  EXPECT_EQ(seen, "rae");
}

// Sizes at which a step per node that depends on width or depth would take minutes.
constexpr std::size_t many = 100'000;

TEST(SCNNodeTree, MovingManyChildrenFromTheFrontIsLinear) {
  const SCNNode::Pointer from = SCNNode::node();
  const SCNNode::Pointer to = SCNNode::node();
  for (std::size_t i = 0; i < many; ++i) from->addChildNode(SCNNode::node());
  const auto children = from->childNodes();
  for (const SCNNode::Pointer& child : children) to->addChildNode(child);
  EXPECT_EQ(from->childCount(), 0U);
  EXPECT_EQ(to->childNodes(), children);
}

TEST(SCNNodeTree, DeepTreesNeedNoStackAndLinearTime) {
  SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer lowest = addChain(root, many);
  root->setPosition({1, 2, 3});
  lowest->geometry = testing::triangleGeometry();

  std::size_t count = 0;
  double sum = 0;
  root->enumerateChildNodes([&](SCNNode& node) {
    ++count;
    sum += node.worldPosition().x;
  });
  EXPECT_EQ(count, many);
  EXPECT_EQ(sum, static_cast<double>(many));

  root->setPosition({7, 0, 0});
  EXPECT_EQ(lowest->worldPosition(), (SCNVector3{7, 0, 0}));
  EXPECT_FALSE(lowest->isHiddenInTree());
  EXPECT_EQ(root->boundingBox()->maximum, (SCNVector3{1, 1, 0}));

  std::size_t depths = 0;
  for (SCNSubtreeWalk walk(*root); !walk.isAtEnd(); walk.next()) depths = walk.depth();
  EXPECT_EQ(depths, many);

  const SCNNode::Pointer copy = root->clone();
  count = 0;
  copy->enumerateChildNodes([&](SCNNode&) { ++count; });
  EXPECT_EQ(count, many);
  root.reset();
  EXPECT_FALSE(lowest->hasParent());
}

TEST(SCNNodeTree, SubtreesHungFarDownAreCheckedForCyclesFromTheSmallerSide) {
  const SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer lowest = addChain(root, many);
  for (std::size_t i = 0; i < many; ++i) {
    const SCNNode::Pointer pair = SCNNode::node();
    pair->addChildNode(SCNNode::node());
    lowest->addChildNode(pair);
  }
  EXPECT_EQ(lowest->childCount(), many);
}

TEST(SCNNodeTree, ADeepTreeCanBeBuiltFromBelow) {
  SCNNode::Pointer top = SCNNode::node();
  for (std::size_t i = 0; i < many; ++i) {
    const SCNNode::Pointer parent = SCNNode::node();
    parent->addChildNode(top);
    top = parent;
  }
  std::size_t count = 0;
  top->enumerateChildNodes([&](SCNNode&) { ++count; });
  EXPECT_EQ(count, many);
}

}  // namespace
}  // namespace ornolith
