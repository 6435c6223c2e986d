#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ContractTestSupport.h"
#include "contracts/LocalRotationDegrees.h"
#include "contracts/ModelPartRotation.h"

namespace ornolith {
namespace {

using namespace model_pose_contract_error;

constexpr double infinity = std::numeric_limits<double>::infinity();

LocalRotationDegrees fromAxisSpec(std::string_view text) {
  return LocalRotationDegrees::fromAxisSpec(text);
}

void expectInvalidAxisSpec(std::string_view text) {
  expectCase<ModelPoseContractError>(InvalidAxisSpec{std::string(text)}, [&] { fromAxisSpec(text); });
}

void expectInvalidAngle(std::string_view text, std::string axis, std::string value) {
  expectCase<ModelPoseContractError>(InvalidAngle{std::move(axis), std::move(value)}, [&] { fromAxisSpec(text); });
}

TEST(LocalRotationDegrees, ReadsAxesInAnyOrder) {
  EXPECT_EQ(fromAxisSpec("x=90, y=-45"), (LocalRotationDegrees{.x = 90, .y = -45, .z = {}}));
  EXPECT_EQ(fromAxisSpec("z=1,x=2"), fromAxisSpec("x=2,z=1"));
  EXPECT_EQ(fromAxisSpec(" x = 1 , y = 2 "), (LocalRotationDegrees{.x = 1, .y = 2, .z = {}}));
  EXPECT_EQ(fromAxisSpec("\tz\n=\u00a03\r\n"), (LocalRotationDegrees{.x = {}, .y = {}, .z = 3}));
}

TEST(LocalRotationDegrees, AnglesAreNeitherWrappedNorLimited) {
  EXPECT_EQ(fromAxisSpec("x=720").x, 720.0);
  EXPECT_EQ(fromAxisSpec("x=-90").x, -90.0);
  EXPECT_EQ(fromAxisSpec("x=1e300").x, 1e300);
}

TEST(LocalRotationDegrees, AnglesFollowStrtod) {
  EXPECT_EQ(fromAxisSpec("x=+1.5e1").x, 15.0);
  EXPECT_EQ(fromAxisSpec("x=0x1p4").x, 16.0);
  EXPECT_EQ(fromAxisSpec("x=.5").x, 0.5);
  EXPECT_TRUE(std::signbit(fromAxisSpec("x=-0").x.value()));
}

TEST(LocalRotationDegrees, EmptyPiecesAreRefusedBeforeAnyAxisIsLookedAt) {
  for (const char* text : {"", " ", "x=1,", ",x=1", "x=1,,y=2", "x=1, ,y=2", "bad=1,", "x=1,x=2,"}) {
    expectInvalidAxisSpec(text);
  }
}

TEST(LocalRotationDegrees, PiecesThatAreNoAssignmentOfAnAxisAreRefused) {
  for (const char* text : {"x", "x=1=2", "X=1", "w=1", "=1", "x=", "x= ", "x==1", "xy=1", "x=1,y", "x=1;y=2", "1=x"}) {
    expectInvalidAxisSpec(text);
  }
}

TEST(LocalRotationDegrees, ARepeatedAxisIsReportedBeforeItsValueIsRead) {
  for (const char* text : {"x=1,x=2", "x=1,x=bad", "x=1, y=2 , x = 3"}) {
    expectCase<ModelPoseContractError>(DuplicateAxis{"x"}, [&] { fromAxisSpec(text); });
  }
  // An axis without a value has no form at all, also where it is repeated.
  expectInvalidAxisSpec("x=1,x=");
}

TEST(LocalRotationDegrees, AnglesThatAreNoFiniteNumberAreInvalid) {
  expectInvalidAngle("x=abc", "x", "abc");
  expectInvalidAngle("x=nan", "x", "nan");
  expectInvalidAngle("x=inf", "x", "inf");
  expectInvalidAngle("y= 1e999 ", "y", "1e999");
  expectInvalidAngle("z=1 2", "z", "1 2");
  expectInvalidAngle("z=1deg", "z", "1deg");
  // The first fault decides.
  expectInvalidAngle("x=bad,x=1", "x", "bad");
  expectInvalidAngle("x=bad,q=1", "x", "bad");
}

TEST(LocalRotationDegrees, ErrorsHaveTheirTexts) {
  const auto description = [](std::string_view text) {
    return descriptionOfFailure<ModelPoseContractError>([&] { fromAxisSpec(text); });
  };
  EXPECT_EQ(description("x=1,"),
            "Invalid axis specification 'x=1,'. Use comma-separated x=<degrees>, y=<degrees>, and/or z=<degrees>.");
  EXPECT_EQ(description("y=1,y=2"), "Axis 'y' may only be specified once.");
  EXPECT_EQ(description("x=abc"), "Invalid angle 'abc' for axis 'x'. Use a finite number of degrees.");
  EXPECT_EQ(descriptionOfFailure<ModelPoseContractError>([] { LocalRotationDegrees{}.validate(); }),
            "A node rotation must specify at least one local x, y, or z axis.");
  EXPECT_EQ(descriptionOfFailure<ModelPoseContractError>(
                [] { (LocalRotationDegrees{.x = 1, .y = infinity, .z = {}}).validate(); }),
            "The angle for axis 'y' must be finite.");
}

TEST(LocalRotationDegrees, ValidateReportsTheFirstAxisThatIsNotFinite) {
  const auto expectNonFinite = [](const LocalRotationDegrees& degrees, std::string axis) {
    expectCase<ModelPoseContractError>(NonFiniteAngle{std::move(axis)}, [&] { degrees.validate(); });
  };
  expectNonFinite({.x = std::nan(""), .y = infinity, .z = {}}, "x");
  expectNonFinite({.x = {}, .y = {}, .z = -infinity}, "z");
  expectCase<ModelPoseContractError>(NoRotationAxes{}, [] { LocalRotationDegrees{}.validate(); });
  EXPECT_NO_THROW((LocalRotationDegrees{.x = {}, .y = 0.0, .z = {}}).validate());
}

TEST(LocalRotationDegrees, AnAxisAtZeroIsAValidRotation) {
  const auto degrees = fromAxisSpec("x=0");
  const auto resolved = degrees.resolvedInXYZOrder();
  EXPECT_EQ(resolved[0], std::pair(ViewportAxis::x, 0.0));
  EXPECT_EQ(resolved[1], std::pair(ViewportAxis::y, 0.0));
  EXPECT_EQ(resolved[2], std::pair(ViewportAxis::z, 0.0));
  EXPECT_EQ(compactJSON(degrees.toJSON()), R"({"x":0})");
  EXPECT_NE(degrees, fromAxisSpec("x=0,y=0"));
}

TEST(LocalRotationDegrees, ResolvesAbsentAxesToZeroInOrder) {
  const auto resolved = fromAxisSpec("z=3,y=-2").resolvedInXYZOrder();
  EXPECT_THAT(resolved, testing::ElementsAre(std::pair(ViewportAxis::x, 0.0), std::pair(ViewportAxis::y, -2.0),
                                             std::pair(ViewportAxis::z, 3.0)));
}

TEST(LocalRotationDegrees, AbsentAxesAreNotWritten) {
  EXPECT_EQ(compactJSON((LocalRotationDegrees{.x = {}, .y = -0.5, .z = 720}).toJSON()), R"({"y":-0.5,"z":720})");
}

TEST(LocalRotationDegrees, AnInvalidRotationIsNeverWritten) {
  expectCase<ModelPoseContractError>(NoRotationAxes{}, [] { LocalRotationDegrees{}.toJSON(); });
  expectCase<ModelPoseContractError>(NonFiniteAngle{"x"},
                                     [] { (LocalRotationDegrees{.x = infinity, .y = {}, .z = {}}).toJSON(); });
}

TEST(LocalRotationDegrees, NullAndUnknownKeysAreIgnoredInReading) {
  EXPECT_EQ(readJSON<LocalRotationDegrees>(R"({"x":null,"y":2,"w":"?"})"),
            (LocalRotationDegrees{.x = {}, .y = 2, .z = {}}));
}

TEST(LocalRotationDegrees, AnObjectWithoutAxesIsAJSONFailureWithTheRulesText) {
  for (const char* text : {"{}", R"({"x":null})", R"({"X":1})"}) {
    expectCase<JSONError>(json_error::Malformed{"A node rotation must specify at least one local x, y, or z axis.", ""},
                          [&] { readJSON<LocalRotationDegrees>(text); });
  }
}

TEST(LocalRotationDegrees, OtherTypesAreJSONFailures) {
  for (const char* text : {R"({"x":"1"})", R"({"x":true})", "[1]", "1", R"({"x":[]})"}) {
    EXPECT_THROW(readJSON<LocalRotationDegrees>(text), JSONError) << text;
  }
}

TEST(ModelPartRotation, HasTwoRequiredKeys) {
  const auto rotation = readJSON<ModelPartRotation>(R"({"local_degrees":{"y":5},"selector":"arm","note":1})");
  EXPECT_EQ(rotation, (ModelPartRotation{ModelPartSelector::name("arm"), {.x = {}, .y = 5, .z = {}}}));
  EXPECT_EQ(compactJSON(rotation.toJSON()), R"({"selector":"name:arm","local_degrees":{"y":5}})");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { readJSON<ModelPartRotation>(R"({"selector":"arm"})"); }),
            "The required key \"local_degrees\" is missing.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { readJSON<ModelPartRotation>(R"({"local_degrees":{}})"); }),
            "The required key \"selector\" is missing.");
}

TEST(ViewportAxis, HasItsTexts) {
  EXPECT_EQ(rawValue(ViewportAxis::x), "x");
  EXPECT_EQ(rawValue(ViewportAxis::y), "y");
  EXPECT_EQ(rawValue(ViewportAxis::z), "z");
  EXPECT_EQ(fromRawValue<ViewportAxis>("X"), std::nullopt);
}

}  // namespace
}  // namespace ornolith
