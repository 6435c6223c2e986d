#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "imaging/ImageDecoder.h"
#include "render/ModelRenderError.h"
#include "render/RenderService.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::contentsOf;
using testsupport::TemporaryFolder;

ModelLoadDiagnostic finding(ModelDiagnosticSeverity severity, std::string code, std::string message) {
  return {.severity = severity,
          .code = std::move(code),
          .format = ModelFormat::fbx,
          .message = std::move(message),
          .resourcePath = "/not/printed"};
}

TEST(WriteDiagnostics, WritesOneLineForEachFindingAndSkipsWhatIsNoText) {
  const TemporaryFolder folder;
  const std::string file = folder.makeFile("error");
  const int descriptor = ::open(file.c_str(), O_WRONLY);
  const std::vector<ModelLoadDiagnostic> findings{
      finding(ModelDiagnosticSeverity::info, "a.b", "first"),
      finding(ModelDiagnosticSeverity::warning, "a.b", "no text: \xFF"),
      finding(ModelDiagnosticSeverity::warning, "c.d", "Änderung"),
      finding(ModelDiagnosticSeverity::error, "e.f", "last"),
  };
  writeDiagnostics(findings, descriptor);
  ::close(descriptor);
  EXPECT_EQ(contentsOf(file),
            "ornolith-render: info [a.b]: first\n"
            "ornolith-render: warning [c.d]: Änderung\n"
            "ornolith-render: error [e.f]: last\n");
}

TEST(WriteDiagnostics, IgnoresAStreamThatTakesNothing) {
  const int full = ::open("/dev/full", O_WRONLY);
  EXPECT_NO_THROW(writeDiagnostics({{finding(ModelDiagnosticSeverity::info, "a", "b")}}, full));
  ::close(full);
}

class RenderService : public testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string model = folder / "service.fbx";
  const std::string errorFile = folder.makeFile("error");
  const int error = ::open(errorFile.c_str(), O_WRONLY);

  RenderService() { useExample("mirrored.fbx"); }
  ~RenderService() override { ::close(error); }

  void useExample(const std::string& name) {
    std::filesystem::copy_file(std::string(ORNOLITH_EXAMPLES) + "/" + name, model,
                               std::filesystem::copy_options::overwrite_existing);
  }

  ModelRenderRequest request() const {
    ModelRenderRequest result;
    result.modelURL = FileURL(model);
    result.destination = model_render_destination::Png{FileURL(folder / "x.png")};
    result.width = 32;
    result.height = 32;
    return result;
  }

  void render(const ModelRenderRequest& job) const {
    ModelImageRenderService(ModelImportService(ModelImportService::commandLineConfiguration()), {.error = error})
        .render(job);
  }

  /// The text with which a job fails, or "" where it does not.
  std::string failure(const ModelRenderRequest& job) const {
    try {
      render(job);
    } catch (const Error& thrown) {
      return thrown.errorDescription();
    }
    return "";
  }

  bool hasOutput() const { return std::filesystem::exists(folder / "x.png"); }
};

TEST_F(RenderService, WritesThePNG) {
  render(request());
  const auto image = decodeImageFile(folder / "x.png");
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 32U);
  EXPECT_EQ(contentsOf(errorFile), "");
}

TEST_F(RenderService, ADirectoryNeedsPoses) {
  ModelRenderRequest job = request();
  job.destination = model_render_destination::Directory{FileURL(folder / "out", true)};
  EXPECT_EQ(failure(job), "The requested renderer output destination is invalid.");
  EXPECT_FALSE(std::filesystem::exists(folder / "out"));
}

TEST_F(RenderService, WritesTheFindingsOfTheLoadBeforeALaterFailure) {
  useExample("skinned.fbx");
  ModelRenderRequest job = request();
  job.width = 9000;
  EXPECT_THAT(failure(job), testing::HasSubstr("limited to 16 megapixels"));
  EXPECT_THAT(contentsOf(errorFile),
              testing::StartsWith("ornolith-render: warning [fbx.material-resource]: FBX authored"));
  EXPECT_FALSE(hasOutput());
}

TEST_F(RenderService, PosesOfAnotherModelFailBeforeTheDestinationIsLookedAt) {
  ModelRenderRequest job = request();
  job.destination = model_render_destination::Directory{FileURL(folder / "out", true)};
  ExplicitPoseDocument document;
  document.modelSHA256 = std::string(64, 'a');
  document.poses.push_back({.id = "rest", .label = std::nullopt, .rotations = {}});
  job.explicitPoseDocument = document;
  EXPECT_EQ(failure(job), "Pose document model_sha256 mismatch (expected " + std::string(64, 'a') + ", got " +
                              ModelImportService::sha256(FileURL(model)) + ").");
}

TEST_F(RenderService, KeepsTheErrorOfALoadThatFails) {
  folder.makeFile("service.fbx", "no model at all");
  try {
    render(request());
    FAIL() << "the load did not fail";
  } catch (const FbxLoadError& thrown) {
    EXPECT_EQ(thrown.code(), 1);
  }
  EXPECT_FALSE(hasOutput());
}

TEST_F(RenderService, APresetWinsOverEverythingElse) {
  ModelRenderRequest job = request();
  job.cameraPreset = CameraPresetDocument{};
  job.cameraPreset->camera = {.position = {0, 500, 0}, .eulerAngles = {1, 0, 0}, .target = {}, .fieldOfView = 30};
  job.cameraPosition = simd_double3{0, 0, 5};
  render(job);
  const auto image = decodeImageFile(folder / "x.png");
  ASSERT_TRUE(image);
  for (std::size_t offset = 3; offset < image->pixels.size(); offset += 4) {
    ASSERT_EQ(image->pixels[offset], 0) << "the preset looks into the sky";
  }
}

TEST(ModelRenderErrorTexts, AreTheseToTheLetter) {
  using namespace model_render_error;
  EXPECT_EQ(ModelRenderError(MetalDeviceUnavailable{}).errorDescription(),
            "Metal device unavailable. SceneKit offscreen rendering requires GPU access.");
  EXPECT_EQ(ModelRenderError(InvalidOutputDestination{}).errorDescription(),
            "The requested renderer output destination is invalid.");
  EXPECT_EQ(ModelRenderError(ExplicitPoseOutputRequiresOnePage{}).errorDescription(),
            "This explicit pose plan does not fit in one PNG. Use --output-directory.");
  EXPECT_EQ(ModelRenderError(ExplicitPoseTilesTooSmall{}).errorDescription(),
            "Every pose tile in a single PNG must be at least 128 by 128 pixels. Use a larger output or "
            "--output-directory.");
  EXPECT_EQ(ModelRenderError(ExplicitPoseResultMissing{}).errorDescription(),
            "The explicit pose renderer did not produce the requested PNG.");
}

}  // namespace
}  // namespace ornolith
