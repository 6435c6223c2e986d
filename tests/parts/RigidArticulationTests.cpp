#include <gmock/gmock.h>

#include <functional>

#include "foundation/SHA256.h"
#include "parts/RigidArticulationBinding.h"
#include "parts/RigidArticulationDescriptor.h"
#include "parts/RigidArticulationReportAdapter.h"
#include "parts/RigidArticulationSession.h"

namespace ornolith {
namespace {

namespace failure = rigid_articulation_report_error;

const std::string modelHash(64, 'a');

template <typename T>
T decode(std::string_view text) {
  const JSONDocument document = JSONDocument::parse(std::as_bytes(std::span(text)));
  return decodeJSON<T>(document.root());
}

RigidArticulationDescriptor makeDescriptor(
    std::vector<std::string> fixed, std::optional<std::string> pivotPart, std::vector<std::string> moving,
    RigidArticulationEvidence evidence = RigidArticulationEvidence::pipelineReport) {
  return RigidArticulationDescriptor::make(modelHash, "Root", "Pivot", std::move(fixed), std::move(pivotPart),
                                           std::move(moving), ViewportAxis::y, {evidence, {}});
}

/// The framing rule by another way: the bytes are put together first.
std::string expectedFingerprint(const std::vector<std::string>& texts) {
  std::string bytes;
  for (const std::string& text : texts) {
    bytes += std::string(6, '\0');
    bytes += static_cast<char>(text.size() / 256);
    bytes += static_cast<char>(text.size() % 256);
    bytes += text;
  }
  return SHA256::hexadecimal(SHA256::hash(std::as_bytes(std::span(bytes))));
}

TEST(RigidArticulationFingerprint, HashesNineFramedTexts) {
  EXPECT_EQ(makeDescriptor({"b", "a"}, "p", {"m"}).fingerprint,
            expectedFingerprint({"ornolith.rigid-articulation.v1", modelHash, "Root", "Pivot",
                                 "a\x1F"
                                 "b",
                                 "p", "m\x1Fp", "y", "pipelineReport"}));
  EXPECT_EQ(makeDescriptor({"a"}, std::nullopt, {"m"}, RigidArticulationEvidence::structuralInference).fingerprint,
            expectedFingerprint({"ornolith.rigid-articulation.v1", modelHash, "Root", "Pivot", "a", "", "m", "y",
                                 "structuralInference"}));
}

TEST(RigidArticulationFingerprint, DependsOnTheNamesAndTheEvidenceButNotOnTheirOrder) {
  EXPECT_EQ(makeDescriptor({"a", "b"}, "p", {"m", "n"}).fingerprint,
            makeDescriptor({"b", "a", "b"}, "p", {"n", "p", "m"}).fingerprint);
  EXPECT_NE(makeDescriptor({"a"}, "p", {"m"}).fingerprint,
            makeDescriptor({"a"}, "p", {"m"}, RigidArticulationEvidence::structuralInference).fingerprint);
  EXPECT_NE(makeDescriptor({"a"}, "p", {"m"}).fingerprint, makeDescriptor({"a", "m"}, "p", {}).fingerprint);
  EXPECT_EQ(makeDescriptor({"a\x1F"
                            "b"},
                           "p", {"m"})
                .fingerprint,
            makeDescriptor({"a", "b"}, "p", {"m"}).fingerprint);
}

TEST(RigidArticulationDescriptor, DoesNotTrustAStoredFingerprint) {
  const RigidArticulationDescriptor original = makeDescriptor({"a", "b"}, "p", {"m"});
  RigidArticulationDescriptor edited = original;
  edited.fingerprint = "edited";
  edited.fixedPartNodeNames = {"b", "a", "a"};
  edited.movingPartNodeNames = {"m"};
  EXPECT_EQ(decode<RigidArticulationDescriptor>(compactJSON(encodeJSON(edited))), original);
}

TEST(RigidArticulationDescriptor, ReadsAnotherSchemaVersionWithAnIssue) {
  RigidArticulationDescriptor descriptor = makeDescriptor({"a"}, std::nullopt, {"m"});
  descriptor.schemaVersion = 2;
  const auto read = decode<RigidArticulationDescriptor>(compactJSON(encodeJSON(descriptor)));
  ASSERT_EQ(read.validation.issues.size(), 1U);
  EXPECT_EQ(read.validation.issues[0].code, RigidArticulationValidationIssueCode::unsupportedSchema);
  EXPECT_EQ(read.fingerprint, read.computedFingerprint());
  // The issue is there already at the second reading.
  EXPECT_EQ(decode<RigidArticulationDescriptor>(compactJSON(encodeJSON(read))), read);
}

TEST(RigidArticulationDescriptor, LeavesAnAbsentPivotPartOut) {
  EXPECT_EQ(compactJSON(encodeJSON(makeDescriptor({"a"}, std::nullopt, {"m"}))).find("pivotPartNodeName"),
            std::string::npos);
}

TEST(RigidArticulationRecords, ReadWhatTheyWrite) {
  const ModelNodePath path{{{{"fbx:1"}, "a"}}};
  RigidArticulationBinding binding{UUID::random(),
                                   "f",
                                   path,
                                   path,
                                   {path},
                                   std::nullopt,
                                   {path},
                                   ViewportAxis::y,
                                   {RigidArticulationEvidence::structuralInference,
                                    {{RigidArticulationValidationIssueCode::ambiguousHierarchy, {"x", "y"}}}}};
  EXPECT_EQ(decode<RigidArticulationBinding>(compactJSON(encodeJSON(binding))), binding);
  binding.pivotPartPath = path;
  EXPECT_EQ(decode<RigidArticulationBinding>(compactJSON(encodeJSON(binding))), binding);
  const RigidArticulationSession session{UUID::random(), UUID::random(), path, 12.25F,
                                         RigidArticulationSession::Source::viewportRing};
  EXPECT_EQ(decode<RigidArticulationSession>(compactJSON(encodeJSON(session))), session);
}

/// A report that passes, in which each test spoils one thing.
std::string goodReport() {
  return R"({"schema":"ornogen.local.rigid_articulation.v1","status":"success","extra":1,
"plan":{"source_mode":"multi_object","fixed_parts":["base","frame"],"pivot_part":"hinge","rotating_parts":["door","knob"],
"export_names":{"base":"Base","frame":"Frame","hinge":"Hinge","door":"Door","knob":"Knob"},"root_name":"Root",
"pivot_node_name":" Pivot ","unity_rotation_axis":"Y","requires_blender":true,"network_required":false},
"result":{"schema":"ornogen.local.rigid_articulation.blender.v1","source_mode":"multi_object",
"mesh_names":["Knob","Base","Frame","Hinge","Door"],"mesh_count":5,"armature_count":0,
"hierarchy":{"Root":["Pivot","Frame","Base"],"Pivot":["Door","Hinge","Knob"]}},
"verification":{"schema":"ornogen.local.rigid_articulation.verification.v1","passed":true,"missing":[],"armature_count":0,"hierarchy_valid":true,"root_parent_is_none":true,"root_transform_neutral":true,
"rotating_changed_90":true}})";
}

std::string spoiled(std::initializer_list<std::pair<std::string, std::string>> changes) {
  std::string report = goodReport();
  for (const auto& [from, to] : changes) {
    const std::size_t at = report.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    report.replace(at, from.size(), to);
  }
  return report;
}

RigidArticulationReportError::Case failureOf(const std::string& report, const std::string& hash = modelHash) {
  try {
    RigidArticulationReportAdapter::decode(std::as_bytes(std::span(report)), hash);
  } catch (const RigidArticulationReportError& error) {
    return error.errorCase();
  }
  ADD_FAILURE() << "the report was accepted";
  return failure::InvalidPayload{};
}

#define EXPECT_FAILURE(expected, ...) EXPECT_TRUE(std::holds_alternative<failure::expected>(failureOf(__VA_ARGS__)))

TEST(RigidArticulationReportAdapter, TurnsAGoodReportIntoADescriptor) {
  const std::string report = goodReport();
  const auto descriptor = RigidArticulationReportAdapter::decode(std::as_bytes(std::span(report)), modelHash);
  EXPECT_EQ(descriptor.schemaVersion, 1);
  EXPECT_EQ(descriptor.modelSHA256, modelHash);
  EXPECT_EQ(descriptor.rootNodeName, "Root");
  EXPECT_EQ(descriptor.pivotNodeName, "Pivot");
  EXPECT_THAT(descriptor.fixedPartNodeNames, testing::ElementsAre("Base", "Frame"));
  EXPECT_EQ(descriptor.pivotPartNodeName, "Hinge");
  EXPECT_THAT(descriptor.movingPartNodeNames, testing::ElementsAre("Door", "Hinge", "Knob"));
  EXPECT_EQ(descriptor.axis, ViewportAxis::y);
  EXPECT_EQ(descriptor.validation, RigidArticulationValidation());
  EXPECT_EQ(descriptor.fingerprint, descriptor.computedFingerprint());
}

TEST(RigidArticulationReportAdapter, IgnoresTheOrderOfTheLists) {
  const std::string one = goodReport();
  const std::string other = spoiled({{R"(["base","frame"])", R"(["frame","base"])"},
                                     {R"(["door","knob"])", R"(["knob","door"])"},
                                     {R"("Y")", R"("y")"}});
  EXPECT_EQ(RigidArticulationReportAdapter::decode(std::as_bytes(std::span(one)), modelHash),
            RigidArticulationReportAdapter::decode(std::as_bytes(std::span(other)), modelHash));
}

TEST(RigidArticulationReportAdapter, ChecksTheHashBeforeTheReport) {
  EXPECT_FAILURE(InvalidModelSHA256, "no JSON", std::string(64, 'A'));
  EXPECT_FAILURE(InvalidModelSHA256, goodReport(), std::string(63, 'a'));
  EXPECT_FAILURE(InvalidModelSHA256, goodReport(), std::string(64, 'g'));
}

TEST(RigidArticulationReportAdapter, KnowsAReportOfAFailureWhateverElseItHolds) {
  EXPECT_FAILURE(InvalidPayload, "no JSON");
  EXPECT_FAILURE(InvalidPayload, "[]");
  EXPECT_FAILURE(UnsupportedSchema, "{}");
  EXPECT_FAILURE(UnsupportedSchema, spoiled({{"articulation.v1", "articulation.v2"}}));
  EXPECT_FAILURE(UnsuccessfulStatus, spoiled({{"success", "failed"}}));
  EXPECT_FAILURE(UnsuccessfulStatus,
                 R"({"schema":"ornogen.local.rigid_articulation.v1","status":"failed","plan":[1],"result":"x"})");
  EXPECT_FAILURE(UnsuccessfulStatus, R"({"schema":"ornogen.local.rigid_articulation.v1"})");
  EXPECT_FAILURE(InvalidAssignment, R"({"schema":"ornogen.local.rigid_articulation.v1","status":"success"})");
  EXPECT_FAILURE(InvalidPayload, spoiled({{R"("mesh_count":5)", R"("mesh_count":"5")"}}));
}

TEST(RigidArticulationReportAdapter, RequiresACompleteAssignment) {
  EXPECT_FAILURE(InvalidAssignment, spoiled({{R"("root_name":"Root")", R"("root_name":" \n ")"}}));
  EXPECT_FAILURE(InvalidAssignment, spoiled({{R"("fixed_parts":["base","frame"])", R"("fixed_parts":[])"}}));
  EXPECT_FAILURE(InvalidAssignment,
                 spoiled({{R"("rotating_parts":["door","knob"])", R"("rotating_parts":["door",""])"}}));
  EXPECT_FAILURE(InvalidAssignment, spoiled({{R"("knob":"Knob")", R"("knob":" ")"}}));
  EXPECT_FAILURE(InvalidAssignment, spoiled({{R"(,"knob":"Knob")", ""}}));
  EXPECT_FAILURE(InvalidAssignment, spoiled({{R"("knob":"Knob")", R"("knob":"Knob","more":"More")"}}));
}

TEST(RigidArticulationReportAdapter, RefusesNamesThatDifferInCaseAlone) {
  EXPECT_FAILURE(DuplicateName, spoiled({{R"(["base","frame"])", R"(["Arm","arm"])"}}));
  EXPECT_FAILURE(DuplicateName, spoiled({{R"("root_name":"Root")", R"("root_name":"PIVOT")"}}));
  EXPECT_FAILURE(DuplicateName, spoiled({{R"("base":"Base")", R"("base":"FRAME")"}}));
  EXPECT_FAILURE(DuplicateName, spoiled({{R"("base":"Base")", R"("base":"root")"}}));
}

TEST(RigidArticulationReportAdapter, SupportsOneAxisAndTheKnownModes) {
  EXPECT_FAILURE(UnsupportedAxis, spoiled({{R"("Y")", R"("x")"}}));
  EXPECT_FAILURE(UnsupportedAxis, spoiled({{R"("unity_rotation_axis":"Y",)", ""}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{R"("requires_blender":true)", R"("requires_blender":false)"}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{R"("network_required":false)", R"("network_required":null)"}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{"multi_object", "other"}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{"multi_object", "part_files"}}));
}

TEST(RigidArticulationReportAdapter, ChecksTheResultAgainstThePlan) {
  EXPECT_FAILURE(InvalidPayload, spoiled({{R"("mesh_count":5)", R"("mesh_count":6)"}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{R"("Knob","Base")", R"("Other","Base")"}}));
  EXPECT_FAILURE(InvalidPayload, spoiled({{"blender.v1", "blender.v2"}}));
  EXPECT_FAILURE(ArmaturePresent, spoiled({{R"("armature_count":0)", R"("armature_count":1)"},
                                           {R"("Knob","Base")", R"("Other","Base")"}}));
  EXPECT_FAILURE(InvalidHierarchy, spoiled({{R"(["Pivot","Frame","Base"])", R"(["Frame","Base"])"}}));
  EXPECT_FAILURE(InvalidHierarchy, spoiled({{R"("Pivot":["Door")", R"("Extra":[],"Pivot":["Door")"}}));
}

TEST(RigidArticulationReportAdapter, RequiresTheProducersVerification) {
  EXPECT_FAILURE(VerificationFailed, spoiled({{R"("rotating_changed_90":true)", R"("rotating_changed_90":false)"}}));
  EXPECT_FAILURE(VerificationFailed, spoiled({{R"("missing":[])", R"("missing":["a"])"}}));
  EXPECT_FAILURE(VerificationFailed, spoiled({{R"("passed":true,)", ""}}));
  EXPECT_FAILURE(VerificationFailed, spoiled({{"verification.v1", "verification.v2"}}));
  EXPECT_FAILURE(ArmaturePresent,
                 spoiled({{"\"armature_count\":0,\"hierarchy_valid\"", "\"armature_count\":2,\"hierarchy_valid\""}}));
}

TEST(RigidArticulationReportError, SaysWhatIsWrong) {
  const auto text = [](RigidArticulationReportError::Case reason) {
    return RigidArticulationReportError(reason).errorDescription();
  };
  EXPECT_EQ(text(failure::InvalidPayload{}), "The articulation report is incomplete or malformed.");
  EXPECT_EQ(text(failure::UnsupportedSchema{}), "The articulation report uses an unsupported schema.");
  EXPECT_EQ(text(failure::UnsuccessfulStatus{}), "The articulation report does not describe a successful operation.");
  EXPECT_EQ(text(failure::InvalidModelSHA256{}), "The model SHA-256 is invalid.");
  EXPECT_EQ(text(failure::InvalidAssignment{}),
            "The articulation report contains an incomplete or conflicting part assignment.");
  EXPECT_EQ(text(failure::DuplicateName{}), "The articulation report contains ambiguous part names.");
  EXPECT_EQ(text(failure::UnsupportedAxis{}), "Only local Y-axis rigid articulation is supported.");
  EXPECT_EQ(text(failure::InvalidHierarchy{}),
            "The articulation report does not describe the expected root and pivot hierarchy.");
  EXPECT_EQ(text(failure::ArmaturePresent{}), "Rigid articulation reports must not contain an armature.");
  EXPECT_EQ(text(failure::VerificationFailed{}), "The producer did not verify the rigid articulation successfully.");
}

}  // namespace
}  // namespace ornolith
