#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ContractTestSupport.h"
#include "contracts/CameraPresetDocument.h"

namespace ornolith {
namespace {

using namespace camera_preset_document_error;

constexpr float infinity = std::numeric_limits<float>::infinity();

CameraPresetDocument decode(std::string_view text) {
  return CameraPresetDocument::decode(bytes(text));
}

constexpr std::string_view cameraText =
    R"({"position":{"x":1,"y":2.5,"z":-3},"eulerAngles":{"x":0,"y":0.5,"z":0},"target":{"x":0,"y":0,"z":0},"fieldOfView":45})";

struct PresetText {
  std::string schema = R"("ornolith-camera-preset")";
  std::string version = "1";
  std::string name = R"("Front")";
  std::string space = R"("scene")";
  std::string camera{cameraText};

  std::string text() const {
    return "{\"schema\":" + schema + ",\"version\":" + version + ",\"name\":" + name + ",\"coordinateSpace\":" + space +
           ",\"camera\":" + camera + "}";
  }
};

CameraPresetDocument preset() {
  CameraPresetDocument document;
  document.name = "Front";
  document.camera.position = {1, 2.5f, -3};
  document.camera.eulerAngles = {0, 0.5f, 0};
  document.camera.fieldOfView = 45;
  return document;
}

template <typename Case>
void expectDecodeCase(const Case& expected, const PresetText& preset) {
  expectCase<CameraPresetDocumentError>(expected, [&] { decode(preset.text()); });
}

template <typename Case>
void expectValidateCase(const Case& expected, const CameraPresetDocument& document) {
  expectCase<CameraPresetDocumentError>(expected, [&] { document.validate(); });
}

std::string withFieldOfView(std::string_view fieldOfView) {
  return R"({"position":{"x":1,"y":2,"z":3},"eulerAngles":{"x":0,"y":0,"z":0},"target":{"x":0,"y":0,"z":0},"fieldOfView":)" +
         std::string(fieldOfView) + "}";
}

TEST(CameraPresetDocument, ReadsEveryField) {
  EXPECT_EQ(decode(PresetText{}.text()), preset());
}

TEST(CameraPresetDocument, UnknownKeysAreIgnored) {
  PresetText text;
  text.camera = R"({"roll":null,)" + text.camera.substr(1);
  EXPECT_EQ(decode(R"({"x":1,)" + text.text().substr(1)), preset());
}

TEST(CameraPresetDocument, SixtyFourKibibytesAreTheLimit) {
  std::string text = PresetText{}.text();
  text.resize(65'536, ' ');
  EXPECT_EQ(decode(text), preset());
  text += ' ';
  expectCase<CameraPresetDocumentError>(PayloadTooLarge{65'536}, [&] { decode(text); });
  EXPECT_EQ(descriptionOfFailure([&] { decode(text); }), "Camera presets must be smaller than 64 KiB.");
}

TEST(CameraPresetDocument, AnotherSchemaIsRefused) {
  expectDecodeCase(InvalidSchema{"other"}, {.schema = R"("other")"});
  EXPECT_EQ(descriptionOfFailure([] { decode(PresetText{.schema = R"("other")"}.text()); }),
            "This file is not an Ornolith 3D camera preset.");
}

TEST(CameraPresetDocument, AnotherVersionIsRefused) {
  expectDecodeCase(UnsupportedVersion{2}, {.version = "2"});
  expectDecodeCase(UnsupportedVersion{0}, {.version = "0"});
  EXPECT_EQ(descriptionOfFailure([] { decode(PresetText{.version = "0"}.text()); }),
            "This camera preset was created with a newer, unsupported version.");
}

TEST(CameraPresetDocument, ANameFromAFileIsTrimmed) {
  EXPECT_EQ(decode(PresetText{.name = R"(" Front ")"}.text()).name, "Front");
  EXPECT_EQ(decode(PresetText{.name = R"("\n\u00a0Front view\u3000")"}.text()).name, "Front view");
  expectDecodeCase(InvalidName{}, {.name = R"("   ")"});
  expectDecodeCase(InvalidName{}, {.name = R"("")"});
  EXPECT_EQ(descriptionOfFailure([] { decode(PresetText{.name = R"("")"}.text()); }),
            "Enter a camera preset name between 1 and 80 characters.");
}

TEST(CameraPresetDocument, ANameFromAProgramMustBeTrimmedAlready) {
  auto document = preset();
  document.name = " Front";
  expectValidateCase(InvalidName{}, document);
  expectCase<CameraPresetDocumentError>(InvalidName{}, [&] { document.toJSON(); });
}

TEST(CameraPresetDocument, EightyCharactersAreTheLimit) {
  auto document = preset();
  document.name = std::string(80, 'n');
  EXPECT_NO_THROW(document.validate());
  document.name += 'n';
  expectValidateCase(InvalidName{}, document);
  document.name.clear();
  for (int i = 0; i < 80; ++i) document.name += "e\u0301";
  EXPECT_NO_THROW(document.validate());
  expectDecodeCase(InvalidName{}, {.name = "\"" + std::string(81, 'n') + "\""});
  EXPECT_EQ(decode(PresetText{.name = "\"  " + std::string(80, 'n') + "  \""}.text()).name.size(), 80u);
}

TEST(CameraPresetDocument, AnotherSpaceIsRefusedBehindSchemaAndVersion) {
  expectDecodeCase(UnsupportedCoordinateSpace{"world"}, {.name = R"("")", .space = R"("world")"});
  expectDecodeCase(UnsupportedVersion{3}, {.version = "3", .space = R"("world")"});
  expectDecodeCase(InvalidSchema{"x"}, {.schema = R"("x")", .version = "3", .space = R"("world")"});
  EXPECT_EQ(descriptionOfFailure([] { decode(PresetText{.space = R"("Scene")"}.text()); }),
            "This camera preset uses an unsupported coordinate space.");
}

TEST(CameraPresetDocument, AMissingKeyOrAnotherTypeIsAJSONFailureEvenWithAWrongSchema) {
  EXPECT_EQ(descriptionOfFailure<JSONError>(
                [] { decode(R"({"schema":"x","version":1,"name":"a","coordinateSpace":"scene"})"); }),
            "The required key \"camera\" is missing.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { decode("{}"); }), "The required key \"schema\" is missing.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { decode(PresetText{.space = "null"}.text()); }),
            "coordinateSpace: The value is required and must not be null.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { decode(PresetText{.schema = "1", .version = "\"\""}.text()); }),
            "schema: Expected a string but found a number.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { decode(PresetText{.version = "true", .name = "1"}.text()); }),
            "version: Expected a number but found a boolean.");
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { decode("{\"schema\""); }),
            "line 1, column 10: Expected \":\" behind the key.");
}

TEST(CameraPresetDocument, EveryKeyOfTheCameraIsRequired) {
  for (const char* key : {"position", "eulerAngles", "target", "fieldOfView"}) {
    PresetText text;
    text.camera.replace(text.camera.find(key), 1, "_");
    EXPECT_EQ(descriptionOfFailure<JSONError>([&] { decode(text.text()); }),
              "camera: The required key \"" + std::string(key) + "\" is missing.");
  }
  PresetText text;
  text.camera.replace(text.camera.find("\"z\":-3"), 3, "\"w\"");
  EXPECT_EQ(descriptionOfFailure<JSONError>([&] { decode(text.text()); }),
            "camera.position: The required key \"z\" is missing.");
}

TEST(CameraPresetDocument, ValuesBeyondAFloatAreAJSONFailure) {
  PresetText text;
  text.camera.replace(text.camera.find("2.5"), 3, "1e39");
  EXPECT_EQ(descriptionOfFailure<JSONError>([&] { decode(text.text()); }),
            "camera.position.y: The number does not fit in a 32-bit float.");
}

TEST(CameraPresetDocument, EveryComponentMustBeFinite) {
  for (const float bad : {infinity, -infinity, std::nanf("")}) {
    for (CodableVector3 CameraState::*vector :
         {&CameraState::position, &CameraState::target, &CameraState::eulerAngles}) {
      for (float CodableVector3::*component : {&CodableVector3::x, &CodableVector3::y, &CodableVector3::z}) {
        auto document = preset();
        document.camera.*vector.*component = bad;
        document.camera.fieldOfView = 0;
        expectValidateCase(NonFiniteCameraValue{}, document);
      }
    }
  }
  EXPECT_EQ(CameraPresetDocumentError(NonFiniteCameraValue{}).errorDescription(),
            "The camera preset contains an invalid position or angle.");
}

TEST(CameraPresetDocument, TheFieldOfViewLiesBetweenItsEnds) {
  expectDecodeCase(InvalidFieldOfView{}, {.camera = withFieldOfView("180")});
  expectDecodeCase(InvalidFieldOfView{}, {.camera = withFieldOfView("0")});
  expectDecodeCase(InvalidFieldOfView{}, {.camera = withFieldOfView("-1")});
  EXPECT_EQ(decode(PresetText{.camera = withFieldOfView("179.9")}.text()).camera.fieldOfView, 179.9);
  EXPECT_EQ(descriptionOfFailure([] { decode(PresetText{.camera = withFieldOfView("180")}.text()); }),
            "The camera field of view must be between 0 and 180 degrees.");
  auto document = preset();
  for (const double bad : {std::nan(""), static_cast<double>(infinity), -static_cast<double>(infinity)}) {
    document.camera.fieldOfView = bad;
    expectValidateCase(InvalidFieldOfView{}, document);
  }
}

TEST(CameraPresetDocument, PositionAndTargetMustDiffer) {
  auto document = preset();
  document.camera.target = document.camera.position;
  expectValidateCase(CoincidentPositionAndTarget{}, document);
  EXPECT_EQ(descriptionOfFailure([&] { document.validate(); }), "The camera position and target must be different.");
  document.camera.target.z = std::nextafter(document.camera.target.z, 0.0f);
  EXPECT_NO_THROW(document.validate());
  // Zeros of both signs are the same place.
  document.camera.position = {0, 0, -0.0f};
  document.camera.target = {-0.0f, 0, 0};
  expectValidateCase(CoincidentPositionAndTarget{}, document);
}

TEST(CameraPresetDocument, ChecksComeInTheirOrder) {
  CameraPresetDocument document{.schema = "x", .version = 2, .name = "", .coordinateSpace = {}, .camera = {}};
  document.camera.position.x = infinity;
  document.camera.target.x = infinity;
  document.camera.fieldOfView = 0;
  expectValidateCase(InvalidSchema{"x"}, document);
  document.schema = CameraPresetDocument::schemaText;
  expectValidateCase(UnsupportedVersion{2}, document);
  document.version = 1;
  expectValidateCase(InvalidName{}, document);
  document.name = "a";
  expectValidateCase(NonFiniteCameraValue{}, document);
  document.camera.position.x = document.camera.target.x = 1;
  expectValidateCase(InvalidFieldOfView{}, document);
  document.camera.fieldOfView = 1;
  expectValidateCase(CoincidentPositionAndTarget{}, document);
}

TEST(CameraPresetDocument, WritesItsKeysInOrder) {
  EXPECT_EQ(compactJSON(preset().toJSON()), PresetText{}.text());
}

TEST(CameraPresetDocument, WhatIsWrittenReadsBackEqual) {
  auto document = preset();
  document.name = "\u00dcber/\"alles\"";
  document.camera.position = {0.1f, 1e-30f, 3.4e38f};
  document.camera.fieldOfView = 0.1;
  for (const std::string& text : {canonicalJSON(document.toJSON(), JSONKeyOrder::asAdded),
                                  canonicalJSON(document.toJSON()), compactJSON(document.toJSON())}) {
    EXPECT_EQ(decode(text), document) << text;
  }
}

}  // namespace
}  // namespace ornolith
