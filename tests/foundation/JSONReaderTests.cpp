#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "foundation/JSON.h"
#include "foundation/JSONCoding.h"
#include "foundation/JSONFaultFinder.h"

namespace ornolith {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

JSONDocument parse(std::string_view text) {
  return JSONDocument::parse(std::as_bytes(std::span(text)));
}

/// The text of the error that `action` throws.
template <typename Action>
std::string failure(Action action) {
  try {
    action();
  } catch (const JSONError& error) {
    return error.errorDescription();
  }
  return "(no failure)";
}

std::string parseFailure(std::string_view text) {
  return failure([&] { parse(text); });
}

TEST(JSONReader, KnowsTheKindsOfValues) {
  using Kind = JSONElement::Kind;
  EXPECT_EQ(parse("null").root().kind(), Kind::null);
  EXPECT_EQ(parse("true").root().kind(), Kind::boolean);
  EXPECT_EQ(parse("1").root().kind(), Kind::number);
  EXPECT_EQ(parse("18446744073709551615").root().kind(), Kind::number);
  EXPECT_EQ(parse("1.5").root().kind(), Kind::number);
  EXPECT_EQ(parse("\"a\"").root().kind(), Kind::string);
  EXPECT_EQ(parse("[]").root().kind(), Kind::array);
  EXPECT_EQ(parse(" {}\r\n").root().kind(), Kind::object);
}

TEST(JSONReader, AByteOrderMarkIsIgnored) {
  EXPECT_TRUE(parse("\xEF\xBB\xBF true").root().asBool());
  EXPECT_EQ(parseFailure("\xEF\xBB\xBF"), "The text is empty.");
}

TEST(JSONReader, ReadsStringsWithEscapes) {
  EXPECT_EQ(parse(R"("a\"\\\/\b\f\n\r\tA\u00e9\ud83d\ude00é")").root().asString(),
            "a\"\\/\b\f\n\r\tA\u00e9\U0001F600\u00e9");
  EXPECT_EQ(parse(R"("a\u0000b")").root().asString(), std::string("a\0b", 3));
}

TEST(JSONReader, ReadsIntegersHoweverTheyAreWritten) {
  for (const char* text : {"2", "2.0", "2e0", "0.2e1", "200E-2"}) EXPECT_EQ(parse(text).root().asInteger(), 2) << text;
  EXPECT_EQ(parse("-0").root().asInteger(), 0);
  EXPECT_EQ(parse("9223372036854775807").root().asInteger(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(parse("-9223372036854775808").root().asInteger(), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(parse("-9223372036854775808.0").root().asInteger(), std::numeric_limits<std::int64_t>::min());
}

TEST(JSONReader, RefusesIntegersWithAFractionOrBeyond64Bits) {
  const auto asInteger = [](const char* text) { return failure([&] { parse(text).root().asInteger(); }); };
  EXPECT_EQ(asInteger("1.5"), "Expected a whole number.");
  for (const char* text : {"9223372036854775808", "18446744073709551615", "18446744073709551616", "1e19",
                           "9223372036854775808.0", "-9223372036854775809e1", "1e300"}) {
    EXPECT_EQ(asInteger(text), "The number does not fit in a signed 64-bit integer.") << text;
  }
}

TEST(JSONReader, ReadsIntegersAsDoubles) {
  EXPECT_EQ(parse("3").root().asDouble(), 3.0);
  EXPECT_EQ(parse("18446744073709551615").root().asDouble(), 18446744073709551616.0);
  EXPECT_EQ(parse("1.7976931348623157e308").root().asDouble(), std::numeric_limits<double>::max());
}

TEST(JSONReader, NegativeZeroKeepsItsSign) {
  for (const char* text : {"-0", " -0 ", "-0.0", "-0e5"})
    EXPECT_TRUE(std::signbit(parse(text).root().asDouble())) << text;
  EXPECT_TRUE(std::signbit(parse("[-0]").root().elements().at(0).asDouble()));
  EXPECT_EQ(parse(R"({"a -0 ":"-0","b":-0})").root().value("a -0 ").asString(), "-0");
}

TEST(JSONReader, IntegersBeyond64BitsAreDoubles) {
  EXPECT_EQ(parse("100000000000000000000000").root().asDouble(), 1e23);
  EXPECT_EQ(parse("-100000000000000000000000").root().asDouble(), -1e23);
  EXPECT_EQ(parse("[18446744073709551616]").root().elements().at(0).asDouble(), 0x1p64);
  EXPECT_EQ(parse("-9223372036854775809").root().asDouble(), -0x1p63);
  EXPECT_EQ(parse("1" + std::string(308, '0')).root().asDouble(), 1e308);

  // What stands around such a number is read as always.
  const JSONDocument document =
      parse(R"({"100000000000000000000000\"":["18446744073709551616",18446744073709551616,7]})");
  const JSONElement list = document.root().value("100000000000000000000000\"");
  EXPECT_EQ(list.elements().at(0).asString(), "18446744073709551616");
  EXPECT_EQ(list.elements().at(1).asDouble(), 0x1p64);
  EXPECT_EQ(list.elements().at(2).asInteger(), 7);
}

TEST(JSONReader, NumbersThatNoDoubleHoldsAreRefused) {
  for (const std::string& text : {std::string("1e999"), std::string("-1e309"), "1" + std::string(309, '0')}) {
    EXPECT_EQ(parseFailure(text), "line 1, column 1: The number is too large.") << text;
  }
}

TEST(JSONReader, FloatsMustBeFinite) {
  EXPECT_EQ(parse("0.1").root().asFloat(), 0.1f);
  EXPECT_EQ(parse("3.4028234663852886e38").root().asFloat(), std::numeric_limits<float>::max());
  EXPECT_EQ(parse("3.4028235677973362e38").root().asFloat(), std::numeric_limits<float>::max());
  EXPECT_EQ(failure([] { parse("3.4028235677973366e38").root().asFloat(); }),
            "The number does not fit in a 32-bit float.");
  EXPECT_EQ(failure([] { parse("[-1e300]").root().elements()[0].asFloat(); }),
            "[0]: The number does not fit in a 32-bit float.");
}

TEST(JSONReader, OfARepeatedKeyTheFirstCounts) {
  const JSONDocument document = parse(R"({"a":1,"b":2,"a":3})");
  EXPECT_EQ(document.root().value("a").asInteger(), 1);
  const auto members = document.root().members();
  ASSERT_EQ(members.size(), 3u);
  EXPECT_EQ(members[0].first, "a");
  EXPECT_EQ(members[1].first, "b");
  EXPECT_EQ(members[2].first, "a");
  EXPECT_EQ(members[2].second.asInteger(), 3);
}

TEST(JSONReader, KeysAreComparedAfterUnescaping) {
  EXPECT_EQ(parse(R"({"\u0061":1})").root().value("a").asInteger(), 1);
  EXPECT_EQ(parse(R"({"a\u0000b":1})").root().value(std::string_view("a\0b", 3)).asInteger(), 1);
  EXPECT_FALSE(parse(R"({"a\u0000b":1})").root().optionalValue("a").has_value());
}

TEST(JSONReader, NullIsAnAbsentKey) {
  const JSONDocument document = parse(R"({"a":null})");
  EXPECT_FALSE(document.root().optionalValue("a").has_value());
  EXPECT_FALSE(document.root().optionalValue("b").has_value());
  EXPECT_EQ(failure([&] { document.root().value("a"); }), "a: The value is required and must not be null.");
  EXPECT_EQ(failure([&] { document.root().value("b"); }), "The required key \"b\" is missing.");
}

TEST(JSONReader, AnotherTypeIsRefusedWithItsPlace) {
  const JSONDocument document = parse(R"({"poses":[{"id":"a"},{"id":3,"x y":[true]}]})");
  const JSONElement second = document.root().value("poses").elements().at(1);
  EXPECT_EQ(second.place(), "poses[1]");
  EXPECT_EQ(failure([&] { second.value("id").asString(); }), "poses[1].id: Expected a string but found a number.");
  EXPECT_EQ(failure([&] { second.value("rotations"); }), "poses[1]: The required key \"rotations\" is missing.");
  EXPECT_EQ(failure([&] { second.value("x y").elements()[0].asDouble(); }),
            "poses[1][\"x y\"][0]: Expected a number but found a boolean.");
  EXPECT_EQ(failure([&] { document.root().asBool(); }), "Expected a boolean but found an object.");
  EXPECT_EQ(failure([&] { document.root().elements(); }), "Expected a list but found an object.");
  EXPECT_EQ(failure([&] { second.value("x y").members(); }), "poses[1][\"x y\"]: Expected an object but found a list.");
  EXPECT_EQ(document.root().place(), "the document");
}

TEST(JSONReader, APlaceIsTheElementItselfAmongEqualOnes) {
  const JSONDocument document = parse("[[1,1],[1,1]]");
  EXPECT_EQ(document.root().elements()[1].elements()[0].place(), "[1][0]");
}

TEST(JSONReader, AFlagIsNoNumberAndANumberNoFlag) {
  EXPECT_EQ(failure([] { parse("1").root().asBool(); }), "Expected a boolean but found a number.");
  EXPECT_EQ(failure([] { parse("true").root().asInteger(); }), "Expected a number but found a boolean.");
  EXPECT_EQ(failure([] { parse("\"1\"").root().asDouble(); }), "Expected a number but found a string.");
}

TEST(JSONReader, ADocumentCanBeMovedWhileItsElementsStay) {
  JSONDocument first = parse(R"(["a"])");
  const JSONElement element = first.root().elements()[0];
  const JSONDocument second = std::move(first);
  EXPECT_EQ(element.asString(), "a");
  EXPECT_EQ(element.place(), "[0]");
}

struct Malformed {
  std::string_view text;
  std::string_view message;
};

class JSONReaderMalformed : public testing::TestWithParam<Malformed> {};

TEST_P(JSONReaderMalformed, IsRefusedWithTheFaultAndItsPlace) {
  EXPECT_EQ(parseFailure(GetParam().text), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, JSONReaderMalformed,
    testing::Values(Malformed{"", "The text is empty."}, Malformed{" \n ", "The text is empty."},
                    Malformed{"{", "line 1, column 2: The text ends too early."},
                    Malformed{"[1,", "line 1, column 4: The text ends too early."},
                    Malformed{"{\"a\"", "line 1, column 5: Expected \":\" behind the key."},
                    Malformed{"{\n  \"a\" 1}", "line 2, column 7: Expected \":\" behind the key."},
                    Malformed{"{a:1}", "line 1, column 2: Expected a key in quotes."},
                    Malformed{"{\"a\":1,}", "line 1, column 8: Expected a key in quotes."},
                    Malformed{"[1,]", "line 1, column 4: Expected a value."},
                    Malformed{"[,1]", "line 1, column 2: Expected a value."},
                    Malformed{"[1 2]", "line 1, column 4: Expected \",\" or \"]\"."},
                    Malformed{"{\"a\":1 \"b\":2}", "line 1, column 8: Expected \",\" or \"}\"."},
                    Malformed{"[1}", "line 1, column 3: Expected \",\" or \"]\"."},
                    Malformed{"]", "line 1, column 1: Expected a value."},
                    Malformed{"1 2", "line 1, column 3: Nothing may follow the value."},
                    Malformed{"{} x", "line 1, column 4: Nothing may follow the value."},
                    Malformed{"nul", "line 1, column 1: Expected a value."},
                    Malformed{"NaN", "line 1, column 1: Expected a value."},
                    Malformed{"truex", "line 1, column 5: Nothing may follow the value."},
                    Malformed{"'a'", "line 1, column 1: Expected a value."},
                    Malformed{"[1 /* c */]", "line 1, column 4: Expected \",\" or \"]\"."},
                    Malformed{"01", "line 1, column 1: The number is not written as JSON requires."},
                    Malformed{"-", "line 1, column 1: The number is not written as JSON requires."},
                    Malformed{"+1", "line 1, column 1: Expected a value."},
                    Malformed{".5", "line 1, column 1: Expected a value."},
                    Malformed{"[1.]", "line 1, column 2: The number is not written as JSON requires."},
                    Malformed{"1e", "line 1, column 1: The number is not written as JSON requires."},
                    Malformed{"-01", "line 1, column 1: The number is not written as JSON requires."},
                    Malformed{"00000000000000000000000000001",
                              "line 1, column 1: The number is not written as JSON requires."},
                    Malformed{"\"a", "line 1, column 1: The string is not closed."},
                    Malformed{"[\"a\nb\"]", "line 1, column 4: A control character inside a string must be escaped."},
                    Malformed{"\"\\x\"", "line 1, column 2: The string holds an unknown escape."},
                    Malformed{"\"\\u12g4\"", "line 1, column 2: The string holds an unknown escape."},
                    Malformed{"\"\\ud800\"", "line 1, column 2: The string holds half of a surrogate pair."},
                    Malformed{"\"\\udc00\"", "line 1, column 2: The string holds half of a surrogate pair."},
                    Malformed{"\"\\ud800\\u0041\"", "line 1, column 2: The string holds half of a surrogate pair."},
                    Malformed{"\"\\ud800\\ud800\"", "line 1, column 2: The string holds half of a surrogate pair."},
                    Malformed{"{\"\\udfff\":1}", "line 1, column 3: The string holds half of a surrogate pair."},
                    Malformed{"\"\u00e9\xFF\"", "line 1, column 3: The text is not UTF-8."},
                    Malformed{"\"\xED\xA0\x80\"", "line 1, column 2: The text is not UTF-8."},
                    Malformed{"\"\xC0\x80\"", "line 1, column 2: The text is not UTF-8."},
                    Malformed{"\xEF\xBB\xBF\xEF\xBB\xBF{}", "line 1, column 1: Expected a value."}));

std::string nested(std::size_t depth, std::string_view innermost) {
  return std::string(depth, '[') + std::string(innermost) + std::string(depth, ']');
}

TEST(JSONReaderLimits, NestingIsLimited) {
  for (const char* innermost : {"1", "[]", "{}", "[ ]"}) {
    EXPECT_EQ(parse(nested(maximumJSONDepth, innermost)).root().elements().size(), 1u) << innermost;
    EXPECT_EQ(parseFailure(nested(maximumJSONDepth + 1, innermost)),
              "line 1, column 514: Lists and objects may be nested at most 512 deep.")
        << innermost;
  }
}

TEST(JSONReaderLimits, SixteenMebibytesOfBracketsFail) {
  EXPECT_THAT(parseFailure(std::string(16u << 20, '[')), StartsWith("line 1, column 514: "));
}

TEST(JSONReaderLimits, SixteenMebibytesOfTinyValuesAreRead) {
  std::string text = "[0";
  while (text.size() < (16u << 20) - 3) text += ",0";
  text += "]";
  const JSONDocument document = parse(text);
  const auto elements = document.root().elements();
  EXPECT_EQ(elements.size(), (text.size() - 1) / 2);
  EXPECT_EQ(elements.back().asInteger(), 0);
}

TEST(JSONReaderLimits, ALongNumberIsReadOnce) {
  EXPECT_EQ(parse("0." + std::string(4u << 20, '1')).root().asDouble(), 1.0 / 9.0);
  EXPECT_EQ(parseFailure(std::string(4u << 20, '1')), "line 1, column 1: The number is too large.");
}

TEST(JSONReaderLimits, EveryCutOfAValidTextFailsOrIsWhole) {
  const std::string text = R"({"a":[1,2.5e3,-0,true,false,null,"\ud83d\ude00\n"],"b":{"c":100000000000000000000000}})";
  parse(text);
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_NE(parseFailure(text.substr(0, length)), "(no failure)") << length;
    EXPECT_TRUE(findJSONFault(text.substr(0, length)).has_value()) << length;
  }
  EXPECT_EQ(findJSONFault(text), std::nullopt);
}

TEST(JSONReader, TheFaultFinderAndTheParserAgreeOnChangedTexts) {
  const std::string text = R"({"a":[1,2.5e3,-0,true,"\ud83d\ude00\n"],"b":{"c":100000000000000000000000}})";
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = text;
      changed[at] = static_cast<char>(byte);
      const bool isAccepted = parseFailure(changed) == "(no failure)";
      EXPECT_EQ(isAccepted, !findJSONFault(changed).has_value()) << changed;
    }
  }
}

enum class Fruit { apple, pear };

}  // namespace

template <>
inline constexpr auto rawValueTable<Fruit> = std::to_array<RawValueEntry<Fruit>>({{Fruit::apple, "apple"},
                                                                                  {Fruit::pear, "pear"}});

namespace {

TEST(JSONCoding, EnumerationsAreTheirTexts) {
  const JSONDocument document = parse(R"({"fruit":"pear","fruits":["apple","Pear"]})");
  EXPECT_EQ(decodeJSON<Fruit>(document.root(), "fruit"), Fruit::pear);
  EXPECT_EQ(failure([&] { decodeJSON<std::vector<Fruit>>(document.root(), "fruits"); }),
            "fruits[1]: The text \"Pear\" is none of the values that may stand here.");
  EXPECT_EQ(compactJSON(encodeJSON(std::vector{Fruit::apple, Fruit::pear})), R"(["apple","pear"])");
}

TEST(JSONCoding, AbsentOptionalMembersAreNotWritten) {
  JSONValue::Object object;
  addOptionalMember(object, "a", std::optional<std::string>());
  addOptionalMember(object, "b", std::optional<std::string>(""));
  addMember(object, "c", std::vector<double>{1, 0.5});
  EXPECT_EQ(compactJSON(object), R"({"b":"","c":[1,0.5]})");
}

TEST(JSONCoding, ListsAreReadInOrder) {
  EXPECT_THAT(decodeJSON<std::vector<std::int64_t>>(parse("[3,1,2.0]").root()), ElementsAre(3, 1, 2));
}

}  // namespace
}  // namespace ornolith
