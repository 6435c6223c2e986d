#include <gmock/gmock.h>

#include <chrono>
#include <limits>

#include "ContractTestSupport.h"
#include "contracts/ExplicitPoseDocument.h"

namespace ornolith {
namespace {

using namespace explicit_pose_document_error;
using testing::StartsWith;

const std::string hash(64, 'a');

ExplicitPoseDocument decode(std::string_view text) {
  return ExplicitPoseDocument::decode(bytes(text));
}

std::string decodeFailure(std::string_view text) {
  return descriptionOfFailure<ExplicitPoseDocumentError>([&] { decode(text); });
}

template <typename Case>
void expectDecodeCase(const Case& expected, std::string_view text) {
  expectCase<ExplicitPoseDocumentError>(expected, [&] { decode(text); });
}

/// A document with the right schema and version around `rest`.
std::string documentText(std::string_view rest) {
  return R"({"schema":"ornolabs.ornolith-render.poses","version":1,)" + std::string(rest) + "}";
}

std::string documentWithPoses(std::string_view poses) {
  return documentText("\"poses\":[" + std::string(poses) + "]");
}

ModelPartRotation rotation(std::string_view selector, double x = 1) {
  return {ModelPartSelector::parsing(selector), {.x = x, .y = {}, .z = {}}};
}

ExplicitModelPose pose(std::string id, std::vector<ModelPartRotation> rotations = {}) {
  return {.id = std::move(id), .label = {}, .rotations = std::move(rotations)};
}

ExplicitPoseDocument documentOf(std::vector<ExplicitModelPose> poses) {
  ExplicitPoseDocument document;
  document.poses = std::move(poses);
  return document;
}

template <typename Case>
void expectValidateCase(const Case& expected, const ExplicitPoseDocument& document,
                        const std::optional<std::string>& modelSHA256 = std::nullopt) {
  expectCase<ExplicitPoseDocumentError>(expected, [&] { document.validate(modelSHA256); });
}

std::vector<ModelPartRotation> rotations(int count) {
  std::vector<ModelPartRotation> list;
  for (int i = 0; i < count; ++i) list.push_back(rotation("part " + std::to_string(i)));
  return list;
}

std::vector<ExplicitModelPose> poses(int count) {
  std::vector<ExplicitModelPose> list;
  for (int i = 0; i < count; ++i) list.push_back(pose("pose " + std::to_string(i)));
  return list;
}

TEST(ExplicitPoseDocument, ReadsEveryField) {
  const auto document = decode(R"({
    "schema": "ornolabs.ornolith-render.poses", "version": 1, "model_sha256": ")" +
                               hash + R"(", "author": "someone",
    "poses": [
      {"id": "open", "label": "Wide open", "rotations": [
        {"selector": "lid", "local_degrees": {"x": -90.5}, "why": null},
        {"selector": "path:fbx:1/fbx:02", "local_degrees": {"y": 720, "z": 0}}]},
      {"id": "rest", "label": null, "rotations": [], "x": [[]]}]})");
  auto expected =
      documentOf({pose("open", {rotation("lid", -90.5),
                                {ModelPartSelector::parsing("path:fbx:1/fbx:2"), {.x = {}, .y = 720, .z = 0}}}),
                  pose("rest")});
  expected.modelSHA256 = hash;
  expected.poses[0].label = "Wide open";
  EXPECT_EQ(document, expected);
}

TEST(ExplicitPoseDocument, SixteenMebibytesAreTheLimit) {
  std::string text = documentWithPoses(R"({"id":"a","rotations":[]})");
  text.resize(16'777'216, ' ');
  EXPECT_EQ(decode(text).poses.size(), 1u);
  text += ' ';
  expectDecodeCase(PayloadTooLarge{16'777'216}, text);
  EXPECT_EQ(decodeFailure(text), "Pose JSON is limited to 16 MiB.");
  EXPECT_EQ(decodeFailure(std::string(16'777'217, '[')), "Pose JSON is limited to 16 MiB.");
}

TEST(ExplicitPoseDocument, AMissingKeyIsInvalidJSONWhateverTheSchemaSays) {
  EXPECT_EQ(decodeFailure(R"({"schema":"other","version":1})"),
            "Invalid pose JSON: The required key \"poses\" is missing.");
  EXPECT_EQ(decodeFailure(R"({"schema":"other","poses":[]})"),
            "Invalid pose JSON: The required key \"version\" is missing.");
  EXPECT_EQ(decodeFailure(R"({"version":7,"poses":[]})"), "Invalid pose JSON: The required key \"schema\" is missing.");
  EXPECT_EQ(decodeFailure(R"({"schema":null,"version":1,"poses":[]})"),
            "Invalid pose JSON: schema: The value is required and must not be null.");
}

TEST(ExplicitPoseDocument, KeysAreReadInTheirOrder) {
  EXPECT_EQ(decodeFailure(R"({"poses":1,"model_sha256":1,"version":"1","schema":1})"),
            "Invalid pose JSON: schema: Expected a string but found a number.");
  EXPECT_EQ(decodeFailure(R"({"poses":1,"model_sha256":1,"version":"1","schema":""})"),
            "Invalid pose JSON: version: Expected a number but found a string.");
  EXPECT_EQ(decodeFailure(R"({"poses":1,"model_sha256":1,"version":1,"schema":""})"),
            "Invalid pose JSON: model_sha256: Expected a string but found a number.");
  EXPECT_EQ(decodeFailure(R"({"poses":1,"version":1,"schema":""})"),
            "Invalid pose JSON: poses: Expected a list but found a number.");
  EXPECT_EQ(decodeFailure(documentWithPoses(R"({"rotations":1,"label":1,"id":1})")),
            "Invalid pose JSON: poses[0].id: Expected a string but found a number.");
  EXPECT_EQ(decodeFailure(documentWithPoses(R"({"rotations":1,"label":1,"id":"a"})")),
            "Invalid pose JSON: poses[0].label: Expected a string but found a number.");
  EXPECT_EQ(decodeFailure(documentWithPoses(R"({"rotations":1,"id":"a"})")),
            "Invalid pose JSON: poses[0].rotations: Expected a list but found a number.");
}

TEST(ExplicitPoseDocument, TheSchemaIsLookedAtOnceTheWholeDocumentIsRead) {
  expectDecodeCase(InvalidSchema{"other"}, R"({"schema":"other","version":2,"poses":[]})");
  EXPECT_EQ(decodeFailure(R"({"schema":"other","version":1,"poses":[]})"),
            "This file is not an Ornolith renderer pose document.");
  expectDecodeCase(NoPoses{}, documentWithPoses(""));
  EXPECT_EQ(decodeFailure(documentWithPoses("")), "A pose document must contain at least one explicit pose.");
}

TEST(ExplicitPoseDocument, AnotherVersionIsReportedBeforeAnyPoseIsExamined) {
  const std::string text = R"({"schema":"ornolabs.ornolith-render.poses","version":2,"poses":[]})";
  expectDecodeCase(UnsupportedVersion{2}, text);
  EXPECT_EQ(decodeFailure(text), "This pose document uses an unsupported version.");
  EXPECT_EQ(decode(R"({"schema":"ornolabs.ornolith-render.poses","version":1.0,"poses":[{"id":"a","rotations":[]}]})")
                .version,
            1);
  EXPECT_EQ(decodeFailure(R"({"schema":"ornolabs.ornolith-render.poses","version":1.5,"poses":[]})"),
            "Invalid pose JSON: version: Expected a whole number.");
}

TEST(ExplicitPoseDocument, TheHashMustBeLowerCaseHexadecimal) {
  for (const std::string& bad : {std::string(64, 'A'), std::string(63, 'a'), std::string(65, 'a'), std::string(64, 'g'),
                                 std::string(), hash + " "}) {
    const std::string text = documentText("\"model_sha256\":\"" + bad + "\",\"poses\":[]");
    expectDecodeCase(InvalidModelSHA256{bad}, text);
    EXPECT_EQ(decodeFailure(text), "Invalid model_sha256 '" + bad + "'. Use a lowercase 64-character SHA-256 value.");
  }
}

TEST(ExplicitPoseDocument, ANullHashIsAnAbsentOne) {
  const auto document = decode(documentText(R"("model_sha256":null,"poses":[{"id":"a","rotations":[]}])"));
  EXPECT_EQ(document.modelSHA256, std::nullopt);
  EXPECT_NO_THROW(document.validate(hash));
}

TEST(ExplicitPoseDocument, TheHashMustBeThatOfTheModelWhereBothAreKnown) {
  auto document = documentOf({pose("a")});
  EXPECT_NO_THROW(document.validate(hash));
  document.modelSHA256 = hash;
  EXPECT_NO_THROW(document.validate());
  EXPECT_NO_THROW(document.validate(hash));
  const std::string other(64, 'b');
  expectValidateCase(ModelSHA256Mismatch{.expected = hash, .actual = other}, document, other);
  EXPECT_EQ(descriptionOfFailure([&] { document.validate(other); }),
            "Pose document model_sha256 mismatch (expected " + hash + ", got " + other + ").");
  // The form comes before the comparison: the model's own hash in capitals is invalid, not different.
  document.modelSHA256 = std::string(64, 'A');
  expectValidateCase(InvalidModelSHA256{std::string(64, 'A')}, document, hash);
}

TEST(ExplicitPoseDocument, ChecksComeInTheirOrder) {
  ExplicitPoseDocument document{.schema = "x", .version = 2, .modelSHA256 = "x", .poses = {}};
  expectValidateCase(InvalidSchema{"x"}, document);
  document.schema = ExplicitPoseDocument::schemaText;
  expectValidateCase(UnsupportedVersion{2}, document);
  document.version = 1;
  expectValidateCase(InvalidModelSHA256{"x"}, document, hash);
  document.modelSHA256 = hash;
  expectValidateCase(ModelSHA256Mismatch{.expected = hash, .actual = "y"}, document, "y");
  expectValidateCase(NoPoses{}, document, hash);
  document.poses = poses(4097);
  document.poses[0].id = "";
  expectValidateCase(TooManyPoses{4096}, document);
  document.poses.pop_back();
  document.poses[0].rotations = rotations(257);
  expectValidateCase(InvalidPoseID{0}, document);
  document.poses[0].id = "pose 1";
  expectValidateCase(TooManyRotations{.poseID = "pose 1", .maximum = 256}, document);
  document.poses[0].rotations = {rotation("a"), rotation("a"), rotation("b", std::numeric_limits<double>::infinity())};
  expectValidateCase(DuplicateSelector{.poseID = "pose 1", .selector = "name:a"}, document);
  document.poses[0].rotations[1].localDegrees = {};
  expectCase<ModelPoseContractError>(model_pose_contract_error::NoRotationAxes{}, [&] { document.validate(); });
  document.poses[0].rotations.clear();
  document.poses[1].rotations = rotations(257);
  expectValidateCase(DuplicatePoseID{"pose 1"}, document);
}

TEST(ExplicitPoseDocument, At4096PosesIsTheLimit) {
  EXPECT_NO_THROW(documentOf(poses(4096)).validate());
  expectValidateCase(TooManyPoses{4096}, documentOf(poses(4097)));
  EXPECT_EQ(descriptionOfFailure([] { documentOf(poses(4097)).validate(); }),
            "A pose document may contain at most 4096 poses.");
}

TEST(ExplicitPoseDocument, At256RotationsIsTheLimit) {
  EXPECT_NO_THROW(documentOf({pose("a", rotations(256))}).validate());
  expectValidateCase(TooManyRotations{.poseID = "b", .maximum = 256},
                     documentOf({pose("a"), pose("b", rotations(257))}));
  EXPECT_EQ(descriptionOfFailure([] { documentOf({pose("b", rotations(257))}).validate(); }),
            "Pose 'b' may contain at most 256 node rotations.");
}

TEST(ExplicitPoseDocument, BlankIDsAreReportedByTheirIndex) {
  for (const char* blank : {"", "   ", "\n\t", "\u00a0\u2029"}) {
    auto document = documentOf(poses(5));
    document.poses[3].id = blank;
    expectValidateCase(InvalidPoseID{3}, document);
    EXPECT_EQ(descriptionOfFailure([&] { document.validate(); }), "Pose at index 3 has an empty id.");
  }
}

TEST(ExplicitPoseDocument, IDsAreUniqueAsWritten) {
  EXPECT_NO_THROW(documentOf({pose("a"), pose(" a"), pose("A")}).validate());
  expectValidateCase(DuplicatePoseID{"a"}, documentOf({pose("a"), pose("b"), pose("a")}));
  EXPECT_EQ(descriptionOfFailure([] { documentOf({pose("a"), pose("a")}).validate(); }), "Pose id 'a' is duplicated.");
  expectValidateCase(DuplicatePoseID{"e\u0301"}, documentOf({pose("\u00e9"), pose("e\u0301")}));
}

TEST(ExplicitPoseDocument, ASelectorMayStandOncePerPose) {
  const auto twice = documentOf({pose("p", {rotation("arm"), rotation("name:arm")})});
  expectValidateCase(DuplicateSelector{.poseID = "p", .selector = "name:arm"}, twice);
  EXPECT_EQ(descriptionOfFailure([&] { twice.validate(); }), "Pose 'p' specifies selector 'name:arm' more than once.");
  EXPECT_NO_THROW(documentOf({pose("p", {rotation("arm")}), pose("q", {rotation("arm")})}).validate());
  EXPECT_NO_THROW(documentOf({pose("p", {rotation("arm"), rotation("id:fbx:1"), rotation("path:fbx:1")})}).validate());
  expectValidateCase(DuplicateSelector{.poseID = "p", .selector = "id:fbx:1"},
                     documentOf({pose("p", {rotation("id:fbx:1"), rotation("id:fbx:01")})}));
}

TEST(ExplicitPoseDocument, BadRotationsAreFoundWhileReading) {
  const auto withRotation = [](const char* text) {
    return documentWithPoses(R"({"id":"a","rotations":[)" + std::string(text) + "]}");
  };
  EXPECT_EQ(
      decodeFailure(withRotation(R"({"selector":"arm","local_degrees":{}})")),
      "Invalid pose JSON: poses[0].rotations[0].local_degrees: A node rotation must specify at least one local x, "
      "y, or z axis.");
  EXPECT_EQ(decodeFailure(withRotation(R"({"selector":" ","local_degrees":{"x":1}})")),
            "Invalid pose JSON: poses[0].rotations[0].selector: Invalid part selector ' '. Use name:<name>, "
            "id:<source-id>, path:<source-id/...>, or an unambiguous bare name.");
  EXPECT_THAT(decodeFailure(withRotation(R"({"selector":"arm","local_degrees":{"x":1e999}})")),
              StartsWith("Invalid pose JSON: line 1, column "));
}

TEST(ExplicitPoseDocument, APoseNeedsItsRotationsButTheyMayBeNone) {
  EXPECT_EQ(decodeFailure(documentWithPoses(R"({"id":"a"})")),
            "Invalid pose JSON: poses[0]: The required key \"rotations\" is missing.");
  EXPECT_TRUE(decode(documentWithPoses(R"({"id":"a","rotations":[]})")).poses.at(0).rotations.empty());
}

TEST(ExplicitPoseDocument, WhateverIsNoJSONIsInvalidJSON) {
  EXPECT_EQ(decodeFailure(""), "Invalid pose JSON: The text is empty.");
  EXPECT_EQ(decodeFailure("[]"), "Invalid pose JSON: Expected an object but found a list.");
  EXPECT_EQ(decodeFailure("{\n\"schema\": \"x\",\n}"),
            "Invalid pose JSON: line 3, column 1: Expected a key in quotes.");
}

TEST(ExplicitPoseDocument, WritesItsKeysAndLeavesAbsentOnesOut) {
  auto document = documentOf({pose("open", {rotation("path:fbx:1/fbx:2", -90)}), pose("rest")});
  document.poses[0].label = "";
  EXPECT_EQ(canonicalJSON(document.toJSON()), R"({
  "poses" : [
    {
      "id" : "open",
      "label" : "",
      "rotations" : [
        {
          "local_degrees" : {
            "x" : -90
          },
          "selector" : "path:fbx:1\/fbx:2"
        }
      ]
    },
    {
      "id" : "rest",
      "rotations" : [

      ]
    }
  ],
  "schema" : "ornolabs.ornolith-render.poses",
  "version" : 1
}
)");
}

TEST(ExplicitPoseDocument, ABadDocumentIsNeverWritten) {
  expectCase<ExplicitPoseDocumentError>(NoPoses{}, [] { documentOf({}).toJSON(); });
  expectCase<ExplicitPoseDocumentError>(DuplicatePoseID{"a"}, [] { documentOf({pose("a"), pose("a")}).toJSON(); });
}

TEST(ExplicitPoseDocument, WhatIsWrittenReadsBackEqual) {
  auto document = documentOf({pose("a/\"\u00e9\n", {rotation("name: x", 0.1), rotation("id:gltf:3", -0.0),
                                                    rotation("path:fbx:18446744073709551615", 1e-300)}),
                              pose("b")});
  document.modelSHA256 = hash;
  document.poses[1].label = "two\u2028lines";
  for (const std::string& text : {canonicalJSON(document.toJSON()), compactJSON(document.toJSON())}) {
    EXPECT_EQ(decode(text), document);
  }
}

TEST(ExplicitPoseDocument, HostileDocumentsEndSoon) {
  const auto start = std::chrono::steady_clock::now();
  std::string manyPoses;
  while (manyPoses.size() < 16'000'000) manyPoses += R"({"id":"a","rotations":[]},)";
  manyPoses.pop_back();
  expectDecodeCase(TooManyPoses{4096}, documentWithPoses(manyPoses));

  std::string marks = "a";
  while (marks.size() < 16'000'000) marks += "\u0301\u0323";
  EXPECT_NO_THROW(decode(documentWithPoses("{\"id\":\"" + marks + "\",\"rotations\":[]}")));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace ornolith
