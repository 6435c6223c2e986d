#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <unordered_set>

#include "parts/ModelNodePath.h"
#include "parts/ModelPartDescriptor.h"
#include "parts/PartPresentationState.h"

namespace ornolith {
namespace {

using Component = ModelNodePath::Component;

Component component(std::string id, std::string name) {
  return {{std::move(id)}, std::move(name)};
}

ModelNodePath path(std::vector<Component> components) {
  return {std::move(components)};
}

template <typename T>
T decode(std::string_view text) {
  const JSONDocument document = JSONDocument::parse(std::as_bytes(std::span(text)));
  return decodeJSON<T>(document.root());
}

template <typename T>
T roundTrip(const T& value) {
  return decode<T>(compactJSON(encodeJSON(value)));
}

TEST(ModelNodePath, TellsSiblingsAndParentsApart) {
  const ModelNodePath parent = path({component("fbx:1", "A")});
  EXPECT_NE(parent.appending(component("fbx:2", "arm")), parent.appending(component("fbx:3", "arm")));
  EXPECT_NE(parent.appending(component("fbx:2", "arm")), path({component("fbx:9", "B"), component("fbx:2", "arm")}));
  EXPECT_NE(path({component("fbx:1", "A")}), path({component("fbx:1", "B")}));
  EXPECT_EQ(parent.appending(component("fbx:2", "arm")).components.back().sourceID, ModelNodeSourceID{"fbx:2"});
  EXPECT_TRUE(ModelNodePath::root.components.empty());
}

TEST(ModelNodePath, SortsByTextAndParentsFirst) {
  std::vector<ModelNodePath> paths{path({component("fbx:2", "a")}), path({component("fbx:10", "b")}),
                                   path({component("fbx:2", "a"), component("fbx:1", "x")}), ModelNodePath::root,
                                   path({component("fbx:2", "b")})};
  std::sort(paths.begin(), paths.end());
  EXPECT_THAT(paths, testing::ElementsAre(
                         ModelNodePath::root, path({component("fbx:10", "b")}), path({component("fbx:2", "a")}),
                         path({component("fbx:2", "a"), component("fbx:1", "x")}), path({component("fbx:2", "b")})));
}

TEST(ModelNodePath, HashesByValue) {
  const std::unordered_set<ModelNodePath> set{path({component("fbx:1", "a")}), path({component("fbx:1", "a")}),
                                              path({component("fbx:1", "b")}), ModelNodePath::root};
  EXPECT_EQ(set.size(), 3U);
}

TEST(ModelNodePath, IsOfTheSameIdentityUnderTwoParentsTwoPaths) {
  const ModelNodePath left = path({component("fbx:1", "A"), component("fbx:7", "shared")});
  const ModelNodePath right = path({component("fbx:2", "B"), component("fbx:7", "shared")});
  EXPECT_NE(left, right);
  EXPECT_EQ(left.components.back().sourceID, right.components.back().sourceID);
}

TEST(ModelNodePath, RequiresEveryKeyOfItsJSON) {
  const ModelNodePath value = path({component("fbx:1", "a"), component("gltf:2", "")});
  EXPECT_EQ(roundTrip(value), value);
  EXPECT_EQ(compactJSON(encodeJSON(path({component("fbx:1", "a")}))),
            R"({"components":[{"sourceID":"fbx:1","originalName":"a"}]})");
  EXPECT_THROW(decode<ModelNodePath>(R"({"components":[{"sourceID":"fbx:1"}]})"), JSONError);
  EXPECT_THROW(decode<ModelNodePath>(R"({"components":[{"originalName":"a"}]})"), JSONError);
  EXPECT_THROW(decode<ModelNodePath>(R"({})"), JSONError);
  EXPECT_EQ(decode<ModelNodePath>(R"({"components":[{"sourceID":"of any form","originalName":"a"}]})"),
            path({component("of any form", "a")}));
}

ModelPartDescriptor descriptor(std::string id, bool hasGeometry, std::vector<ModelPartDescriptor> children = {}) {
  return ModelPartDescriptor({id}, path({component(id, "name " + id)}), "name " + id, hasGeometry, false,
                             std::move(children));
}

ModelPartDescriptor smallTree() {
  return descriptor("fbx:1", false,
                    {descriptor("fbx:2", false, {descriptor("fbx:3", true)}), descriptor("fbx:4", false)});
}

TEST(ModelPartDescriptor, FlattensInPreOrder) {
  const ModelPartDescriptor tree = smallTree();
  std::vector<std::string> ids;
  for (const ModelPartDescriptor* node : tree.flattened()) ids.push_back(node->sourceID.rawValue);
  EXPECT_THAT(ids, testing::ElementsAre("fbx:1", "fbx:2", "fbx:3", "fbx:4"));
}

TEST(ModelPartDescriptor, FindsGeometryAtAnyDepth) {
  EXPECT_TRUE(smallTree().containsGeometry());
  EXPECT_FALSE(descriptor("fbx:1", false, {descriptor("fbx:2", false)}).containsGeometry());
}

TEST(ModelPartDescriptor, ComparesAndHashesAllFields) {
  EXPECT_EQ(smallTree(), smallTree());
  EXPECT_EQ(std::hash<ModelPartDescriptor>{}(smallTree()), std::hash<ModelPartDescriptor>{}(smallTree()));
  const std::vector<std::function<void(ModelPartDescriptor&)>> changes{
      [](ModelPartDescriptor& part) { part.sourceID = {"fbx:9"}; },
      [](ModelPartDescriptor& part) { part.path = ModelNodePath::root; },
      [](ModelPartDescriptor& part) { part.name = "other"; },
      [](ModelPartDescriptor& part) { part.hasGeometry = !part.hasGeometry; },
      [](ModelPartDescriptor& part) { part.isAuthoredHidden = true; },
      [](ModelPartDescriptor& part) { part.children.push_back(descriptor("fbx:9", false)); }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    ModelPartDescriptor other = smallTree();
    changes[i](other.children[0].children[0]);
    EXPECT_FALSE(other == smallTree()) << i;
    EXPECT_NE(std::hash<ModelPartDescriptor>{}(other), std::hash<ModelPartDescriptor>{}(smallTree())) << i;
  }
}

TEST(ModelPartDescriptor, ReadsWhatItWritesAndRequiresEveryKey) {
  EXPECT_EQ(roundTrip(smallTree()), smallTree());
  const std::vector<std::string> members{R"("sourceID":"fbx:1")", R"("path":{"components":[]})", R"("name":"a")",
                                         R"("hasGeometry":true)", R"("isAuthoredHidden":true)",  R"("children":[])"};
  const auto withoutMember = [&](std::size_t left) {
    std::string text;
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (i != left) text += (text.empty() ? "" : ",") + members[i];
    }
    return "{" + text + "}";
  };
  const auto whole = decode<ModelPartDescriptor>(withoutMember(members.size()));
  EXPECT_TRUE(whole.isAuthoredHidden && whole.hasGeometry);
  for (std::size_t left = 0; left < members.size(); ++left) {
    EXPECT_THROW(decode<ModelPartDescriptor>(withoutMember(left)), JSONError) << members[left];
  }
  EXPECT_EQ(compactJSON(encodeJSON(whole)), withoutMember(members.size()));
}

TEST(ModelPartDescriptor, IsCopiedComparedAndDestroyedAtAnyDepth) {
  ModelPartDescriptor tree = descriptor("fbx:0", true);
  for (int i = 0; i < 200'000; ++i) {
    std::vector<ModelPartDescriptor> children;
    children.push_back(std::move(tree));
    tree = descriptor("fbx:0", false, std::move(children));
  }
  const ModelPartDescriptor copy = tree;
  EXPECT_TRUE(copy == tree);
  EXPECT_TRUE(copy.containsGeometry());
  EXPECT_EQ(copy.flattened().size(), 200'001U);
  EXPECT_THROW(copy.toJSON(), JSONError);
}

TEST(PartPresentationState, ReadsAnEmptyObjectAsTheEmptyState) {
  EXPECT_EQ(decode<PartPresentationState>("{}"), PartPresentationState());
}

TEST(PartPresentationState, BringsTheAngleIntoRange) {
  const std::vector<std::pair<std::string, float>> angles{
      {"190", -170.0F},  {"-190", 170.0F}, {"540", 180.0F}, {"-180", -180.0F}, {"180", 180.0F},
      {"-540", -180.0F}, {"720.5", 0.5F},  {"1e300", 0.0F}, {"null", 0.0F},    {"3e38", std::fmod(3e38F, 360.0F)}};
  for (const auto& [text, expected] : angles) {
    const auto state = decode<PartPresentationState>(R"({"articulationAngleDegrees":)" + text + "}");
    const float inRange = expected > 180.0F ? expected - 360.0F : expected;
    EXPECT_EQ(state.articulationAngleDegrees, inRange) << text;
  }
  const float zero = decode<PartPresentationState>(R"({"articulationAngleDegrees":-360})").articulationAngleDegrees;
  EXPECT_EQ(zero, 0.0F);
  EXPECT_FALSE(std::signbit(zero));
  EXPECT_EQ(normalizedArticulationAngleDegrees(std::numeric_limits<float>::quiet_NaN()), 0.0F);
  EXPECT_EQ(normalizedArticulationAngleDegrees(-std::numeric_limits<float>::infinity()), 0.0F);
}

TEST(PartPresentationState, SortsHiddenPathsAndDropsRepeats) {
  const std::string a = R"({"components":[{"sourceID":"fbx:1","originalName":"a"}]})";
  const std::string b = R"({"components":[{"sourceID":"fbx:2","originalName":"b"}]})";
  const auto one = decode<PartPresentationState>(R"({"hiddenPartPaths":[)" + b + "," + a + "," + b + "]}");
  const auto other = decode<PartPresentationState>(R"({"hiddenPartPaths":[)" + a + "," + b + "]}");
  EXPECT_EQ(one, other);
  EXPECT_THAT(one.hiddenPartPaths,
              testing::ElementsAre(path({component("fbx:1", "a")}), path({component("fbx:2", "b")})));
}

TEST(PartPresentationState, ReadsWhatItWrites) {
  PartPresentationState state;
  state.selectedPartPath = path({component("fbx:1", "a")});
  state.hiddenPartPaths = {path({component("fbx:1", "a")}), path({component("fbx:2", "b")})};
  state.isolatedPartPath = ModelNodePath::root;
  state.showsDiagnosticColors = true;
  state.articulationFingerprint = "f";
  state.articulationAngleDegrees = 12.5F;
  EXPECT_EQ(roundTrip(state), state);
  EXPECT_EQ(compactJSON(encodeJSON(PartPresentationState())),
            R"({"hiddenPartPaths":[],"showsDiagnosticColors":false,"articulationAngleDegrees":0})");
}

}  // namespace
}  // namespace ornolith
