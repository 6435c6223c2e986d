#include <gmock/gmock.h>

#include "loaders/obj/OBJMaterials.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

/// The material "m" of a library with these lines.
class OBJMaterial : public testing::Test {
 protected:
  std::shared_ptr<SCNMaterial> material(const std::string& lines) const {
    folder_.makeFile("m.mtl", "newmtl m\n" + lines);
    folder_.makeFile("m.obj", "mtllib m.mtl\n");
    const OBJMaterials materials =
        readOBJMaterials(SceneKitOBJMaterialNormalization::prepare(FileURL(folder_ / "m.obj"), {}));
    return materials.at("m");
  }
  double opacity(const std::string& lines) const { return material(lines)->transparency; }
  double roughness(const std::string& lines) const { return std::get<double>(material(lines)->roughness.contents); }
  FileURL file(const std::string& name) const { return FileURL(folder_.makeFile(name)); }

  testsupport::TemporaryFolder folder_;
};

TEST_F(OBJMaterial, TakesColorsAsSRGB) {
  const auto m = material("Kd 0.25 0.5 2\nKs 0.5\nKe 1 0 0\nka 1 1 1\n");
  EXPECT_EQ(std::get<NSColor>(m->diffuse.contents), (NSColor{0.25, 0.5, 1, 1}));
  EXPECT_EQ(std::get<NSColor>(m->specular.contents), (NSColor{0.5, 0.5, 0.5, 1}));
  EXPECT_EQ(std::get<NSColor>(m->emission.contents), (NSColor{1, 0, 0, 1}));
  EXPECT_EQ(std::get<NSColor>(material("Kd spectral file.rfl\n")->diffuse.contents), NSColor::whiteColor());
  EXPECT_EQ(std::get<NSColor>(material("Kd xyz 1 1 1\nKd nan 1 1\n")->diffuse.contents), NSColor::whiteColor());
  EXPECT_EQ(m->lightingModelName, SCNLightingModelPhysicallyBased);
  EXPECT_TRUE(m->isDoubleSided);
}

TEST_F(OBJMaterial, IsAsOpaqueAsItsExporterCanHaveMeant) {
  EXPECT_EQ(opacity(""), 1);
  EXPECT_EQ(opacity("d 0.25\n"), 0.25);
  EXPECT_EQ(opacity("d -halo 0.25\n"), 0.25);
  EXPECT_EQ(opacity("Tr 0.25\n"), 0.75);
  EXPECT_EQ(opacity("d 0.25\nTr 0.75\n"), 0.25);
  EXPECT_EQ(opacity("d 0.25\nTr 0.25\n"), 0.25);
  EXPECT_EQ(opacity("Tr 0\n"), 1);
  EXPECT_EQ(opacity("Tr 1.000000\n"), 1);
  EXPECT_EQ(opacity("d 1\nTr 1\n"), 1);
  EXPECT_EQ(opacity("d 0\nTr 0\n"), 1);
  EXPECT_EQ(opacity("d 0\nTr 1\n"), 0);
  EXPECT_EQ(opacity("d 0\n"), 0);
  EXPECT_EQ(opacity("d 7\n"), 1);
  file("a.png");
  EXPECT_EQ(opacity("d 0\nmap_d a.png\n"), 1);
}

TEST_F(OBJMaterial, IsAsRoughAsItsHighlightIsWide) {
  EXPECT_EQ(roughness(""), 0.85);
  EXPECT_EQ(roughness("Ks 1 1 1\nNs 0\n"), 1);
  EXPECT_NEAR(roughness("Ks 1 1 1\nNs 30\nillum 2\n"), 0.5, 1e-12);
  EXPECT_EQ(roughness("Ks 1 1 1\nNs 30\nillum 1\n"), 0.85);
  EXPECT_EQ(roughness("Ks 0 0 0\nNs 30\n"), 0.85);
  EXPECT_EQ(roughness("Ks 1 1 1\nNs 30\nPr 0.2\n"), 0.2);
  EXPECT_EQ(std::get<double>(material("Pm 0.75\n")->metalness.contents), 0.75);
  EXPECT_EQ(std::get<double>(material("")->metalness.contents), 0);
  EXPECT_EQ(std::get<double>(material("Pc 0.5\n")->clearCoat.contents), 0.5);
  EXPECT_EQ(std::get<double>(material("Pcr 0.5\n")->clearCoatRoughness.contents), 0.5);
}

TEST_F(OBJMaterial, ShowsItsTextures) {
  const SCNMaterialContents a = file("a.png");
  const SCNMaterialContents b = file("b.png");
  const auto m = material(
      "map_Kd a.png\nmap_Ke -clamp on a.png\nmap_Ks a.png\nmap_Pr a.png\nmap_Pm a.png\nbump -bm 0.5 a.png\nmap_d "
      "b.png\n");
  for (const SCNMaterialProperty* property :
       {&m->diffuse, &m->emission, &m->specular, &m->roughness, &m->metalness, &m->normal}) {
    EXPECT_EQ(property->contents, a);
  }
  EXPECT_EQ(m->transparent.contents, b);
  EXPECT_EQ(m->normal.intensity, 0.5);
  EXPECT_EQ(m->emission.wrapS, SCNWrapMode::clamp);
  EXPECT_EQ(m->diffuse.wrapT, SCNWrapMode::repeat);
  EXPECT_FALSE(holdsImage(material("map_Kd a.png\nmap_d a.png\n")->transparent.contents));
}

TEST_F(OBJMaterial, LaterDefinitionsReplaceEarlierOnes) {
  const auto m = material("Kd 1 0 0\nnewmtl m\nKe 0 1 0\n");
  EXPECT_EQ(std::get<NSColor>(m->diffuse.contents), NSColor::whiteColor());
}

TEST_F(OBJMaterial, ReadsLibrariesWithAnyLineEnds) {
  for (const char* lines :
       {"Kd 0 1 0\nKe 0 0 1", "Kd 0 1 0\r\nKe 0 0 1\r\n", "Kd 0 1 0\rKe 0 0 1\rnewmtl b\rKd 1 1 1\r"}) {
    const auto m = material(lines);
    EXPECT_EQ(std::get<NSColor>(m->diffuse.contents), (NSColor{0, 1, 0, 1})) << lines;
    EXPECT_EQ(std::get<NSColor>(m->emission.contents), (NSColor{0, 0, 1, 1})) << lines;
  }
}

TEST(OBJMaterialName, IsTheRestOfTheLine) {
  EXPECT_EQ(objMaterialName("  Material  #25\t x \r"), "Material #25 x");
  EXPECT_EQ(objMaterialName(" \"My paint\" "), "My paint");
  EXPECT_EQ(objMaterialName(" Terraind\xFC"
                            "k"),
            "Terraind\uFFFDk");
  EXPECT_EQ(objMaterialName(""), "");
}

TEST(OBJMaterialName, MayEndInAComment) {
  EXPECT_EQ(objMaterialNameBeforeComment(" Material #25"), "Material");
  EXPECT_EQ(objMaterialNameBeforeComment(" \"My paint\" # the best"), "My paint");
  EXPECT_EQ(objMaterialNameBeforeComment(" paint"), "");
  EXPECT_EQ(objMaterialNameBeforeComment(" # paint"), "");
}

}  // namespace
}  // namespace ornolith
