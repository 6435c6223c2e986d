#include <gmock/gmock.h>

#include <random>
#include <set>
#include <unordered_set>

#include "ContractTestSupport.h"
#include "contracts/ModelPartSelector.h"

namespace ornolith {
namespace {

using namespace model_pose_contract_error;

ModelPartSelector parsing(std::string_view text) {
  return ModelPartSelector::parsing(text);
}

void expectInvalidSelector(std::string_view text) {
  expectCase<ModelPoseContractError>(InvalidSelector{std::string(text)}, [&] { parsing(text); });
}

void expectInvalidSourceID(std::string_view text, std::string_view payload) {
  expectCase<ModelPoseContractError>(InvalidSourceID{std::string(payload)}, [&] { parsing(text); });
}

TEST(ModelPartSelector, BlankNamesAreInvalid) {
  for (const char* text : {"name:", "name:   ", "", "  ", "\n", "name:\t\r\n", "\u00a0\u3000", "name:\u2028"}) {
    expectInvalidSelector(text);
  }
}

TEST(ModelPartSelector, NamesAreKeptUntrimmed) {
  EXPECT_EQ(*parsing("name: a").asName(), " a");
  EXPECT_EQ(parsing("name: a").canonicalString(), "name: a");
  EXPECT_EQ(*parsing("name:  arm ").asName(), "  arm ");
  EXPECT_EQ(*parsing(" arm\n").asName(), " arm\n");
}

TEST(ModelPartSelector, BareAndPrefixedNamesAreTheSameSelector) {
  EXPECT_EQ(parsing("arm"), parsing("name:arm"));
  EXPECT_EQ(std::hash<ModelPartSelector>{}(parsing("arm")), std::hash<ModelPartSelector>{}(parsing("name:arm")));
  EXPECT_EQ(parsing("arm").canonicalString(), "name:arm");
}

TEST(ModelPartSelector, BareNamesMayHoldColonsAndSlashes) {
  for (const char* text : {"arm:left", "rig/arm", "Name:x", "ID:fbx:1", "fbx:1", " id:fbx:1", "idfbx:1"}) {
    EXPECT_EQ(*parsing(text).asName(), text);
  }
  EXPECT_EQ(*parsing("name:id:5").asName(), "id:5");
  EXPECT_EQ(*parsing("name:name:a").asName(), "name:a");
}

TEST(ModelPartSelector, AlternativesNeverEqualEachOther) {
  EXPECT_NE(parsing("name:fbx:1"), parsing("id:fbx:1"));
  EXPECT_NE(parsing("id:fbx:1"), parsing("path:fbx:1"));
  EXPECT_NE(parsing("id:fbx:1"), parsing("id:gltf:1"));
  EXPECT_NE(parsing("path:fbx:1/fbx:2"), parsing("path:fbx:2/fbx:1"));
}

TEST(ModelPartSelector, NamesCompareByCanonicalEquivalence) {
  const auto composed = parsing("caf\u00e9");
  const auto decomposed = parsing("cafe\u0301");
  EXPECT_EQ(composed, decomposed);
  EXPECT_EQ(std::hash<ModelPartSelector>{}(composed), std::hash<ModelPartSelector>{}(decomposed));
  EXPECT_EQ(decomposed.canonicalString(), "name:cafe\u0301");
  EXPECT_NE(parsing("Arm"), parsing("arm"));
}

TEST(ModelPartSelector, LeadingZerosOfAnIdentityGo) {
  EXPECT_EQ(parsing("id:fbx:12"), parsing("id:fbx:0012"));
  EXPECT_EQ(parsing("id:fbx:0012").canonicalString(), "id:fbx:12");
  EXPECT_EQ(parsing("id:fbx:0007").asID()->rawValue, "fbx:7");
  EXPECT_EQ(parsing("id:fbx:0").canonicalString(), "id:fbx:0");
}

TEST(ModelPartSelector, FbxIdentitiesAreUnsignedAndGltfIdentitiesSigned) {
  expectInvalidSourceID("id:gltf:9223372036854775808", "gltf:9223372036854775808");
  EXPECT_EQ(parsing("id:gltf:9223372036854775807").asID()->rawValue, "gltf:9223372036854775807");
  EXPECT_EQ(parsing("id:fbx:9223372036854775808").asID()->rawValue, "fbx:9223372036854775808");
  EXPECT_EQ(parsing("id:fbx:18446744073709551615").asID()->rawValue, "fbx:18446744073709551615");
  expectInvalidSourceID("id:fbx:18446744073709551616", "fbx:18446744073709551616");
}

TEST(ModelPartSelector, MalformedIdentitiesAreInvalid) {
  for (const char* text : {"FBX:1", "fbx:", "fbx:1:2", "fbx:-1", "fbx:+1", "", "fbx", ":1", "usd:1", "fbx: 1", "fbx:1 ",
                           " fbx:1", "fbx:0x1", "fbx:1.0", "fbx:\uff11", "gltf:-0"}) {
    expectInvalidSourceID(std::string("id:") + text, text);
  }
}

TEST(ModelPartSelector, PathsListIdentitiesFromTheTopDown) {
  const auto selector = parsing("path:fbx:1/fbx:0022/gltf:3");
  EXPECT_EQ(*selector.asPath(), (ModelPartSelector::Path{{"fbx:1"}, {"fbx:22"}, {"gltf:3"}}));
  EXPECT_EQ(selector.canonicalString(), "path:fbx:1/fbx:22/gltf:3");
  EXPECT_EQ(selector.asName(), nullptr);
  EXPECT_EQ(selector.asID(), nullptr);
}

TEST(ModelPartSelector, PathsWithEmptyPiecesAreInvalidAsAWhole) {
  for (const char* text : {"path:", "path:fbx:1/", "path:fbx:1//fbx:2", "path:/fbx:1", "path:bad//"}) {
    expectInvalidSelector(text);
  }
}

TEST(ModelPartSelector, TheFirstBadPieceOfAPathIsReported) {
  expectInvalidSourceID("path:fbx:1/bad", "bad");
  expectInvalidSourceID("path:fbx:1/ /bad", " ");
}

TEST(ModelPartSelector, ErrorsHaveTheirTexts) {
  EXPECT_EQ(descriptionOfFailure<ModelPoseContractError>([] { parsing("name: "); }),
            "Invalid part selector 'name: '. Use name:<name>, id:<source-id>, path:<source-id/...>, or an unambiguous "
            "bare name.");
  EXPECT_EQ(descriptionOfFailure<ModelPoseContractError>([] { parsing("id:FBX:1"); }),
            "Invalid source node ID 'FBX:1'. Use fbx:<number> or gltf:<number>.");
}

TEST(ModelPartSelector, CanonicalTextReadsBackAsAnEqualSelector) {
  std::mt19937_64 random(1);
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (auto i = random() % 8; i > 0; --i) {
      constexpr std::array pieces{"name:", "id:",  "path:", "fbx:",   "gltf:",   "/", ":",
                                  "12",    "0099", " ",     "\u00e9", "e\u0301", "a", "18446744073709551615"};
      text += pieces[random() % pieces.size()];
    }
    try {
      const auto selector = parsing(text);
      const std::string canonical = selector.canonicalString();
      EXPECT_EQ(parsing(canonical), selector) << text;
      EXPECT_EQ(parsing(canonical).canonicalString(), canonical) << text;
    } catch (const ModelPoseContractError&) {
      // No selector.
    }
  }
}

TEST(ModelPartSelector, BytesThatAreNotUTF8MakeANameOfTheirOwn) {
  EXPECT_EQ(*parsing("arm\xFF").asName(), "arm\xFF");
  EXPECT_NE(parsing("arm\xFF"), parsing("arm\xFE"));
  EXPECT_NE(parsing("arm\xFF"), parsing("arm\uFFFD"));
}

TEST(ModelPartSelector, JSONIsTheCanonicalString) {
  EXPECT_EQ(compactJSON(parsing("arm").toJSON()), R"("name:arm")");
  EXPECT_EQ(compactJSON(parsing("path:fbx:1/fbx:02").toJSON()), R"("path:fbx:1\/fbx:2")");
  EXPECT_EQ(readJSON<ModelPartSelector>(R"("path:fbx:1\/fbx:2")"), parsing("path:fbx:1/fbx:2"));
}

TEST(ModelPartSelector, ABadSelectorIsAJSONFailureWithItsMessageAndPlace) {
  const JSONDocument document = JSONDocument::parse(bytes(R"({"selector":"id:FBX:1"})"));
  expectCase<JSONError>(
      json_error::Malformed{"Invalid source node ID 'FBX:1'. Use fbx:<number> or gltf:<number>.", "selector"},
      [&] { decodeJSON<ModelPartSelector>(document.root(), "selector"); });
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { readJSON<ModelPartSelector>("3"); }),
            "Expected a string but found a number.");
}

TEST(ModelNodeSourceID, OrderIsThatOfTheRawText) {
  EXPECT_LT(ModelNodeSourceID{"fbx:10"}, ModelNodeSourceID{"fbx:9"});
  EXPECT_LT(ModelNodeSourceID{"fbx:9"}, ModelNodeSourceID{"gltf:0"});
  EXPECT_EQ(ModelNodeSourceID{"fbx:1"}, ModelNodeSourceID{"fbx:1"});
  const std::unordered_set<ModelNodeSourceID> ids{{"fbx:1"}, {"fbx:2"}, {"fbx:1"}};
  EXPECT_EQ(ids.size(), 2u);
}

TEST(ModelNodeSourceID, JSONIsAPlainStringOfAnyForm) {
  EXPECT_EQ(readJSON<ModelNodeSourceID>(R"("whatever")").rawValue, "whatever");
  EXPECT_EQ(compactJSON(ModelNodeSourceID{"fbx:1"}.toJSON()), R"("fbx:1")");
}

}  // namespace
}  // namespace ornolith
