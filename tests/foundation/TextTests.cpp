#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "foundation/Text.h"

namespace ornolith {
namespace {

using testing::ElementsAre;

TEST(TextUTF8, AcceptsWellFormedTextAndRefusesTheRest) {
  EXPECT_TRUE(isValidUTF8(""));
  EXPECT_TRUE(isValidUTF8(std::string_view("a\0b", 3)));
  EXPECT_TRUE(isValidUTF8("\u00e9\u4e2d\U0001F600"));
  EXPECT_FALSE(isValidUTF8("\x80"));
  EXPECT_FALSE(isValidUTF8("\xC0\xAF"));          // overlong
  EXPECT_FALSE(isValidUTF8("\xED\xA0\x80"));      // a surrogate
  EXPECT_FALSE(isValidUTF8("\xF4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(isValidUTF8("a\xE4\xB8"));         // cut off
}

TEST(TextUTF8, RepairReplacesEachStrayByteAndNothingElse) {
  EXPECT_EQ(repairingUTF8("a\xFF\u00e9\xE4\xB8"), "a\uFFFD\u00e9\uFFFD\uFFFD");
  EXPECT_EQ(repairingUTF8("plain"), "plain");
}

TEST(TextTrimming, RemovesEveryUnicodeWhiteSpaceCharacterAtBothEnds) {
  for (const char* blank : {" ", "\t", "\n", "\v", "\f", "\r", "\u0085", "\u00a0", "\u1680", "\u2000", "\u200a",
                            "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"}) {
    const std::string text = std::string(blank) + "a" + blank + "b" + blank + blank;
    EXPECT_EQ(trimmingWhitespace(text), std::string("a") + blank + "b");
    EXPECT_TRUE(isBlank(blank));
  }
}

TEST(TextTrimming, KeepsWhatOnlyLooksBlank) {
  for (const char* kept : {"\u200b", "\ufeff", "\u180e", "\u2060"}) EXPECT_EQ(trimmingWhitespace(kept), kept);
}

TEST(TextTrimming, KeepsStrayBytes) {
  EXPECT_EQ(trimmingWhitespace(" \x85 "), "\x85");
  EXPECT_EQ(trimmingWhitespace("\xA0"), "\xA0");
  EXPECT_EQ(trimmingWhitespace(" a\xE2\x80 "), "a\xE2\x80");
}

TEST(TextCharacters, CountsWhatAReaderSees) {
  EXPECT_EQ(characterCount(""), 0u);
  EXPECT_EQ(characterCount("abc"), 3u);
  EXPECT_EQ(characterCount("e\u0301"), 1u);
  EXPECT_EQ(characterCount("\r\n"), 1u);
  EXPECT_EQ(characterCount("\n\r"), 2u);
  EXPECT_EQ(characterCount("\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1u);  // a family
  EXPECT_EQ(characterCount("\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"), 2u);    // two flags
  EXPECT_EQ(characterCount("\uac00\u11a8"), 1u);                                // a Hangul syllable in two parts
}

TEST(TextCharacters, CountsEachStrayByteAsOne) {
  EXPECT_EQ(characterCount("\xFF\xFE"), 2u);
  EXPECT_EQ(characterCount("a\xC3"), 2u);
  EXPECT_EQ(characterCount("\xE4\xB8z"), 3u);
}

TEST(TextSplitting, KeepsEmptyPieces) {
  EXPECT_THAT(splitting("", ','), ElementsAre(""));
  EXPECT_THAT(splitting("a", ','), ElementsAre("a"));
  EXPECT_THAT(splitting(",a,,b,", ','), ElementsAre("", "a", "", "b", ""));
}

TEST(TextCanonicalEquivalence, ComposedAndDecomposedTextsAreEqual) {
  EXPECT_TRUE(canonicallyEqual("caf\u00e9", "cafe\u0301"));
  EXPECT_TRUE(canonicallyEqual("\u212b", "A\u030a"));               // the angstrom sign
  EXPECT_TRUE(canonicallyEqual("\uac01", "\u1100\u1161\u11a8"));    // Hangul
  EXPECT_TRUE(canonicallyEqual("a\u0323\u0307", "a\u0307\u0323"));  // marks in another order
  EXPECT_EQ(canonicalKey("cafe\u0301"), "caf\u00e9");
  EXPECT_EQ(canonicalKey("a\u0307\u0323"), "\u1ea1\u0307");
}

TEST(TextCanonicalEquivalence, CompatibilityAndCaseDoNotCount) {
  EXPECT_FALSE(canonicallyEqual("\ufb01", "fi"));
  EXPECT_FALSE(canonicallyEqual("A", "a"));
  EXPECT_FALSE(canonicallyEqual("e", "e\u0301"));
}

TEST(TextCanonicalEquivalence, StrayBytesAreEqualOnlyToThemselves) {
  EXPECT_TRUE(canonicallyEqual("e\u0301\xFF", "\u00e9\xFF"));
  EXPECT_FALSE(canonicallyEqual("\xFF", "\xFE"));
  EXPECT_FALSE(canonicallyEqual("\xFF", "\uFFFD"));
  EXPECT_EQ(canonicalKey("e\xFF\u0301"), "e\xFF\u0301");
}

TEST(TextCanonicalEquivalence, KeyIsAFixedPointForRandomTexts) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string text;
    for (auto i = random() % 12; i > 0; --i) {
      constexpr std::array pieces{"a",      "e",      "\u0301", "\u0323", "\u0307", "\u1100",
                                  "\u1161", "\u11a8", "\u212b", "\xFF",   "\u0345"};
      text += pieces[random() % pieces.size()];
    }
    const std::string key = canonicalKey(text);
    EXPECT_EQ(canonicalKey(key), key);
    EXPECT_EQ(isValidUTF8(key), isValidUTF8(text));
  }
}

TEST(TextCanonicalEquivalence, AMillionCombiningMarksAreOrderedInTime) {
  std::string text = "a";
  for (int i = 0; i < 500'000; ++i) text += "\u0301\u0323";
  const auto start = std::chrono::steady_clock::now();
  const std::string key = canonicalKey(text);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_TRUE(key.starts_with("\u1ea1\u0323\u0323"));
}

TEST(TextCase, LowercasesCodePointByCodePoint) {
  EXPECT_EQ(lowercased("FBX"), "fbx");
  EXPECT_EQ(lowercased("\u00c4\u0394\u0416"), "\u00e4\u03b4\u0436");
  EXPECT_EQ(lowercased("\u0130"), "i");  // the simple mapping, without the dot
  EXPECT_EQ(lowercased("\u00df"), "\u00df");
  EXPECT_EQ(lowercased("A\xFF"), "a\xFF");
}

TEST(TextCase, FoldingIgnoresCaseAlone) {
  EXPECT_EQ(caseFolded("STRASSE"), caseFolded("stra\u00dfe"));
  EXPECT_EQ(caseFolded("\u00c9"), caseFolded("e\u0301"));
  EXPECT_NE(caseFolded("e"), caseFolded("\u00e9"));
}

/// The names in the order that the comparison gives, whatever order they come in.
std::vector<std::string> sorted(std::vector<std::string> names) {
  std::reverse(names.begin(), names.end());
  std::sort(names.begin(), names.end(),
            [](const auto& left, const auto& right) { return localizedStandardCompare(left, right) < 0; });
  return names;
}

TEST(TextFileOrder, DigitRunsCompareByValue) {
  EXPECT_THAT(sorted({"file1", "file2", "file10", "file010b", "file11"}),
              ElementsAre("file1", "file2", "file10", "file010b", "file11"));
  EXPECT_THAT(sorted({"9", "10", "99999999999999999999", "100000000000000000000"}),
              ElementsAre("9", "10", "99999999999999999999", "100000000000000000000"));
}

TEST(TextFileOrder, CaseAndAccentsDecideOnlyWhereNothingElseDoes) {
  EXPECT_THAT(sorted({"a", "A", "\u00e1", "b", "B"}), ElementsAre("a", "A", "\u00e1", "b", "B"));
  EXPECT_THAT(sorted({"textures", "Textures", "textures 2"}), ElementsAre("textures", "Textures", "textures 2"));
  EXPECT_TRUE(localizedStandardCompare("Abc", "abd") < 0);
  EXPECT_TRUE(localizedStandardCompare("\u00e9a", "eb") < 0);
}

TEST(TextFileOrder, BlanksStandBeforePunctuationBeforeDigitsBeforeLetters) {
  EXPECT_THAT(sorted({"a b", "a_b", "a-b", "a+b", "a1", "ab"}), ElementsAre("a b", "a_b", "a-b", "a+b", "a1", "ab"));
  EXPECT_THAT(sorted({"", "a", "a/x"}), ElementsAre("", "a", "a/x"));
}

TEST(TextFileOrder, FewerLeadingZerosComeFirst) {
  EXPECT_THAT(sorted({"0", "00", "1", "01", "001"}), ElementsAre("0", "00", "1", "01", "001"));
}

TEST(TextFileOrder, IsATotalOrder) {
  std::mt19937 random(11);
  std::vector<std::string> names;
  for (int i = 0; i < 60; ++i) {
    std::string name;
    for (auto length = random() % 5; length > 0; --length) {
      constexpr std::array pieces{"a", "A", "\u00e4", "1", "0", "10", "_", " ", "\xFF", "\u0301", "z", "\u4e2d"};
      name += pieces[random() % pieces.size()];
    }
    names.push_back(name);
  }
  for (const auto& a : names) {
    for (const auto& b : names) {
      const auto ab = localizedStandardCompare(a, b);
      EXPECT_EQ(ab == 0, a == b);
      EXPECT_EQ(ab<0, localizedStandardCompare(b, a)> 0);
      for (const auto& c : names) {
        if (ab < 0 && localizedStandardCompare(b, c) < 0) {
          EXPECT_TRUE(localizedStandardCompare(a, c) < 0);
        }
      }
    }
  }
}

}  // namespace
}  // namespace ornolith
