#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TestImages.h"
#include "imaging/HEICPictures.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(HEICDecoding, ThePrimaryImageComesBack) {
  const Image image = gradientImage(64, 48);
  const std::optional<Image> decoded = decodeImage(writeHEIC(image));
  ASSERT_TRUE(decoded);
  EXPECT_LE(largestDifference(*decoded, image), 8);
}

std::size_t placeOf(const ByteVector& file, std::string_view text) {
  const auto found = std::search(file.begin(), file.end(), text.begin(), text.end(), [](std::byte a, char b) {
    return std::to_integer<unsigned>(a) == static_cast<unsigned char>(b);
  });
  return static_cast<std::size_t>(found - file.begin());
}

TEST(HEICPictures, AreAsLargeAsTheirParameterSetsSay) {
  EXPECT_EQ(largestHEICPicture(writeHEIC(gradientImage(64, 48))), 64U * 64) << "the encoder's smallest";
  EXPECT_EQ(largestHEICPicture(writeHEIC(gradientImage(200, 104))), 200U * 104);
  EXPECT_FALSE(largestHEICPicture({}));
  EXPECT_FALSE(largestHEICPicture(ByteVector(100)));
}

TEST(HEICPictures, DoNotDependOnWhatTheImageClaims) {
  ByteVector file = writeHEIC(gradientImage(320, 272));
  const std::size_t size = placeOf(file, "ispe") + 8;
  ASSERT_LT(size + 8, file.size());
  file[size + 2] = file[size + 6] = std::byte{0};  // 64 by 16.
  EXPECT_EQ(largestHEICPicture(file), 320U * 272);
  EXPECT_FALSE(decodeImage(file));
}

TEST(HEICPictures, AreToldWhateverFollowsTheLastBox) {
  ByteVector file = writeHEIC(gradientImage(64, 48));
  file.insert(file.end(), 5, std::byte{7});
  EXPECT_TRUE(largestHEICPicture(file));
  EXPECT_TRUE(decodeImage(file));
}

/// Boxes, big-endian.
class BoxWriter {
 public:
  BoxWriter& number(std::uint32_t value, unsigned bytes) {
    for (unsigned i = bytes; i-- > 0;) bytes_.push_back(static_cast<std::byte>(value >> (8 * i) & 255U));
    return *this;
  }
  BoxWriter& text(std::string_view value) {
    for (const char c : value) bytes_.push_back(static_cast<std::byte>(c));
    return *this;
  }
  BoxWriter& bytes(const ByteVector& value) {
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return *this;
  }
  ByteVector take() { return std::move(bytes_); }

 private:
  ByteVector bytes_;
};

ByteVector box(std::string_view type, const ByteVector& content) {
  return BoxWriter().number(static_cast<std::uint32_t>(content.size()) + 8, 4).text(type).bytes(content).take();
}

struct HEICStructure {
  std::string itemType = "hvc1";
  std::vector<std::uint32_t> units = {0x02018000};  ///< Each four bytes of the coded item; one picture.
  std::string madeType = "grid";
  std::string referenceType = "dimg";
  std::uint32_t reference = 1;  ///< The item that another image is made of.
  std::uint32_t primary = 1;
  std::uint32_t locations = 1;  ///< How many times the item location box tells where item 1 is.
};

/// A file without pixels: item 1 holds the units, item 2 is made of it.
ByteVector structureOnly(const HEICStructure& structure) {
  const auto entry = [](std::uint32_t item, std::string_view type) {
    return box("infe", BoxWriter().number(2U << 24U, 4).number(item, 2).number(0, 2).text(type).number(0, 1).take());
  };
  BoxWriter data;
  for (const std::uint32_t unit : structure.units) data.number(4, 4).number(unit, 4);
  const ByteVector items = data.take();
  BoxWriter places;
  for (std::uint32_t i = 0; i < structure.locations; ++i) {
    places.number(1, 2).number(1, 2);  // In the item data box.
    places.number(0, 2).number(1, 2).number(0, 4).number(static_cast<std::uint32_t>(items.size()), 4);
  }
  return box("meta",
             BoxWriter()
                 .number(0, 4)
                 .bytes(box("iinf", BoxWriter()
                                        .number(0, 4)
                                        .number(2, 2)
                                        .bytes(entry(1, structure.itemType))
                                        .bytes(entry(2, structure.madeType))
                                        .take()))
                 .bytes(box("iloc", BoxWriter()
                                        .number(1U << 24U, 4)
                                        .number(0x4400, 2)
                                        .number(structure.locations, 2)
                                        .bytes(places.take())
                                        .take()))
                 .bytes(box("iref",
                            BoxWriter()
                                .number(0, 4)
                                .bytes(box(structure.referenceType,
                                           BoxWriter().number(2, 2).number(1, 2).number(structure.reference, 2).take()))
                                .take()))
                 .bytes(box("pitm", BoxWriter().number(0, 4).number(structure.primary, 2).take()))
                 .bytes(box("iprp", box("ipco", {})))
                 .bytes(box("idat", items))
                 .take());
}

TEST(HEICPictures, MustStandAloneInTheirItems) {
  EXPECT_TRUE(largestHEICPicture(structureOnly({})));
  EXPECT_TRUE(largestHEICPicture(structureOnly({.units = {0x02018000, 0x02010000}}))) << "two slices of one picture";
  EXPECT_FALSE(largestHEICPicture(structureOnly({.units = {0x02018000, 0x02018000}})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.units = {0x02018000, 0x00000380, 0x00000380}})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.units = {0x42010101, 0x02018000}}))) << "a size of its own";
  EXPECT_TRUE(largestHEICPicture(structureOnly({.units = {0x44010101, 0x02018000}})));
}

TEST(HEICPictures, AreNotLookedForInTheSameBytesAgainAndAgain) {
  const std::vector<std::uint32_t> units(1000, 0x02010000);
  EXPECT_TRUE(largestHEICPicture(structureOnly({.units = units})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.units = units, .locations = 2})));
}

TEST(HEICPictures, AreTheTilesOfGrids) {
  EXPECT_FALSE(largestHEICPicture(structureOnly({.reference = 2})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.itemType = "grid"})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.madeType = "iovl"})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.madeType = "av01"})));
  EXPECT_TRUE(largestHEICPicture(structureOnly({.madeType = "tmap", .reference = 2}))) << "of no say in what is shown";
}

TEST(HEICPictures, MayHaveThumbnailsThatOtherCodersMade) {
  EXPECT_TRUE(largestHEICPicture(structureOnly({.madeType = "jpeg", .referenceType = "thmb"})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.madeType = "jpeg", .referenceType = "thmb", .primary = 2})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.madeType = "jpeg", .referenceType = "auxl"})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.madeType = "jpeg", .referenceType = "thmb", .reference = 2})));
  EXPECT_FALSE(largestHEICPicture(structureOnly({.itemType = "jpeg", .madeType = "hvc1", .referenceType = "thmb"})));
}

TEST(HEICPictures, AreToldOfSoundStructuresOnly) {
  const ByteVector sound = structureOnly({});
  for (std::size_t length = 0; length < sound.size(); ++length) {
    EXPECT_FALSE(largestHEICPicture(ByteVector(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(length))));
  }
  ByteVector twice = sound;
  twice.insert(twice.end(), sound.begin(), sound.end());
  EXPECT_FALSE(largestHEICPicture(twice));
}

}  // namespace
}  // namespace ornolith
