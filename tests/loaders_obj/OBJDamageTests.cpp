#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

#include "OBJFiles.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/obj/OBJStatements.h"
#include "scenegraph/SceneCheck.h"
#include "support/FailureOf.h"

namespace ornolith {
namespace {

using namespace testsupport;

constexpr const char* triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\n";

std::string failure(const std::string& text) {
  return failureOf([&] { sceneOf(text); });
}

TEST(OBJDamage, IsSurvivedAtEveryByte) {
  const std::string text =
      std::string("o a\n") + triangle +
      "usemtl x\ns 1\nf 1/1/1 2/1/1 3/1/1\ng b\ns off\nf -3//-1 -2//-1 \\\n -1//-1\nl 1 2\np 3\nv 1 2 3 .5 .5 1\n";
  std::size_t read = 0;
  for (std::size_t size = 0; size <= text.size(); ++size) {
    try {
      EXPECT_FALSE(checkScene(*sceneOf(text.substr(0, size))).brokenPromise) << size;
      ++read;
    } catch (const MeshReadError& error) {
      EXPECT_THAT(error.errorDescription(), testing::StartsWith("The OBJ file is damaged: ")) << size;
    }
  }
  EXPECT_GT(read, text.size() / 2);
  for (std::size_t place = 0; place < text.size(); ++place) {
    for (const char letter : {'\0', '/', '9', '-', '\\', '\r', ' ', '\xFF'}) {
      std::string changed = text;
      changed[place] = letter;
      try {
        EXPECT_FALSE(checkScene(*sceneOf(changed)).brokenPromise) << place;
      } catch (const MeshReadError&) {
      }
    }
  }
}

TEST(OBJDamage, IsNamedWithItsLine) {
  EXPECT_EQ(failure("v 0 0 0\n\nv 1 x 0\n"), "The OBJ file is damaged: a number is missing in line 3.");
  EXPECT_EQ(failure("v 0 0 0\r\nv 1 1\r\n"),
            "The OBJ file is damaged: a vertex has fewer than three coordinates in line 2.");
  EXPECT_EQ(failure("#\r#\rvn 1 1\r"), "The OBJ file is damaged: a number is missing in line 3.");
  EXPECT_EQ(failure(std::string(triangle) + "f 1 a 3\n"), "The OBJ file is damaged: an index is missing in line 6.");
  EXPECT_EQ(failure(std::string(triangle) + "f 1 2.5 3\n"),
            "The OBJ file is damaged: an index is not a whole number in line 6.");
  EXPECT_EQ(failure(std::string(triangle) + "f 1 2 0\n"),
            "The OBJ file is damaged: an index is out of range in line 6.");
}

TEST(OBJDamage, IsNamedByTheFirstOfSeveralStretches) {
  std::string text;
  while (text.size() < std::size_t{9} << 20) text += "v 0.125 0.25 0.5 # and a remark that takes room in the file\n";
  const std::size_t lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ(failure(text + "v x\n" + text + "v y\n"),
            "The OBJ file is damaged: a number is missing in line " + std::to_string(lines + 1) + ".");
}

TEST(OBJDamage, OfIndicesIsRefused) {
  const std::string noVertex = "The OBJ file is damaged: it refers to a vertex that it does not have; it has 3.";
  for (const char* face : {"f 1 2 4", "f 1 2 -4", "f 1 2 1000000000", "f 1 2 -1000000000", "l 1 4", "p -4"}) {
    EXPECT_EQ(failure(std::string(triangle) + face), noVertex) << face;
  }
  for (const char* face : {"f 1 2 2147483648", "f 1 2 4294967296", "f 1 2 -4294967293", "f 1 2 99999999999999999999",
                           "f 1 2 1073741824", "f 1 2 -1073741824"}) {
    EXPECT_EQ(failure(std::string(triangle) + face), "The OBJ file is damaged: an index is out of range in line 6.")
        << face;
  }
  EXPECT_EQ(failure(std::string(triangle) + "f 1/1 2/2 3/1"),
            "The OBJ file is damaged: it refers to a texture coordinate that it does not have; it has 1.");
  EXPECT_EQ(failure(std::string(triangle) + "f 1//1 2//1 3//-2"),
            "The OBJ file is damaged: it refers to a normal that it does not have; it has 1.");
}

double secondsFor(const std::string& text) {
  const auto begin = std::chrono::steady_clock::now();
  sceneOf(text);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// Each of these would take minutes or more where the time grew with the square.

TEST(OBJDamage, ManySeamsAtOneVertexTakeNoSquaredTime) {
  std::string text = triangle;
  for (int i = 0; i < 200000; ++i) text += "vt 0." + std::to_string(i) + " 0\nf 1/-1 2/-1 3/-1\n";
  EXPECT_LT(secondsFor(text), 20);
}

TEST(OBJDamage, ManySmoothingGroupsAtOneVertexTakeNoSquaredTime) {
  std::string text = triangle;
  for (int i = 0; i < 200000; ++i) text += "s " + std::to_string(i % 2 == 0 ? 0 : i) + "\nf 1 2 3\n";
  EXPECT_LT(secondsFor(text), 20);
}

TEST(OBJDamage, ManyPartsTakeNoSquaredTime) {
  std::string text = triangle;
  for (int i = 0; i < 50000; ++i) {
    text +=
        "g " + std::to_string(i) + "\nusemtl " + std::to_string(i) + "\nv 0 0 " + std::to_string(i) + "\nf 1 2 -1\n";
  }
  EXPECT_LT(secondsFor(text), 20);
}

TEST(OBJDamage, ManyStatementsAboutNothingTakeNoMemory) {
  std::string text = triangle;
  for (int i = 0; i < 300000; ++i) text += "s 1\ng a\nusemtl b\no c\n";
  text += "f 1 2 3\n";
  for (const OBJStretch& stretch : readOBJStatements(text).stretches) EXPECT_LE(stretch.changes.size(), 4U);
}

}  // namespace
}  // namespace ornolith
