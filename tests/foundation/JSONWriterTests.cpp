#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "foundation/JSON.h"

namespace ornolith {
namespace {

using Array = JSONValue::Array;
using Object = JSONValue::Object;

JSONDocument parse(std::string_view text) {
  return JSONDocument::parse(std::as_bytes(std::span(text)));
}

TEST(JSONWriter, CanonicalTextIsPrettyAndSorted) {
  const JSONValue value =
      Object{{"version", 1}, {"schema", "a/b"}, {"poses", Array{Object{{"id", "x"}}, 2.5, nullptr, true}}};
  EXPECT_EQ(canonicalJSON(value), R"({
  "poses" : [
    {
      "id" : "x"
    },
    2.5,
    null,
    true
  ],
  "schema" : "a\/b",
  "version" : 1
}
)");
}

TEST(JSONWriter, KeysCanStayAsAdded) {
  const JSONValue value = Object{{"b", 1}, {"a", Object{{"d", 2}, {"c", 3}}}};
  EXPECT_EQ(canonicalJSON(value, JSONKeyOrder::asAdded),
            "{\n  \"b\" : 1,\n  \"a\" : {\n    \"d\" : 2,\n    \"c\" : 3\n  }\n}\n");
}

TEST(JSONWriter, EmptyListsAndObjectsTakeThreeLines) {
  EXPECT_EQ(canonicalJSON(Array{}), "[\n\n]\n");
  EXPECT_EQ(canonicalJSON(Object{}), "{\n\n}\n");
  EXPECT_EQ(canonicalJSON(Object{{"a", Array{}}, {"b", Array{Object{}}}}),
            "{\n  \"a\" : [\n\n  ],\n  \"b\" : [\n    {\n\n    }\n  ]\n}\n");
}

TEST(JSONWriter, KeysSortByTheirBytes) {
  const JSONValue value =
      Object{{"\u00e9", 1}, {"a", 1}, {"B", 1}, {"a_b", 1}, {"ab", 1}, {"", 1}, {"\U0001F600", 1}, {"\uFFFD", 1}};
  std::vector<std::string> keys;
  const std::string text = canonicalJSON(value);
  const JSONDocument document = parse(text);
  for (const auto& [key, element] : document.root().members()) keys.push_back(key);
  EXPECT_THAT(keys, testing::ElementsAre("", "B", "a", "a_b", "ab", "\u00e9", "\uFFFD", "\U0001F600"));
}

TEST(JSONWriter, CompactTextHasNoBlanks) {
  EXPECT_EQ(compactJSON(Object{{"b", Array{1, 2}}, {"a", Object{}}, {"c", Array{}}}), R"({"b":[1,2],"a":{},"c":[]})");
}

TEST(JSONWriter, StringsAreEscapedWhereTheyMustAndAtSlashes) {
  EXPECT_EQ(compactJSON("a/\"\\\b\f\n\r\t\x01\x1f\x7f\u00e9\u2028\U0001F600"),
            "\"a\\/\\\"\\\\\\b\\f\\n\\r\\t\\u0001\\u001f\x7f\u00e9\u2028\U0001F600\"");
  EXPECT_EQ(compactJSON(std::string("a\0b", 3)), "\"a\\u0000b\"");
  EXPECT_EQ(compactJSON(Object{{"k/\n", 1}}), R"({"k\/\n":1})");
}

TEST(JSONWriter, TextThatIsNotUTF8IsRefused) {
  EXPECT_THROW(compactJSON("\xFF"), JSONError);
  EXPECT_THROW(canonicalJSON(Object{{"\xED\xA0\x80", 1}}), JSONError);
}

struct NumberCase {
  double number;
  std::string_view text;
};

class JSONWriterNumber : public testing::TestWithParam<NumberCase> {};

TEST_P(JSONWriterNumber, HasItsShortestForm) {
  EXPECT_EQ(compactJSON(GetParam().number), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Doubles, JSONWriterNumber,
    testing::Values(NumberCase{0.0, "0"}, NumberCase{-0.0, "-0"}, NumberCase{1.0, "1"}, NumberCase{-90.0, "-90"},
                    NumberCase{100000.0, "100000"}, NumberCase{0.1, "0.1"}, NumberCase{5.5, "5.5"},
                    NumberCase{123456.789, "123456.789"}, NumberCase{1e15, "1000000000000000"},
                    NumberCase{9007199254740993.0, "9007199254740992"}, NumberCase{1e20, "100000000000000000000"},
                    NumberCase{123456789012345680000.0, "123456789012345680000"}, NumberCase{1e21, "1e+21"},
                    NumberCase{1.5e21, "1.5e+21"}, NumberCase{1e-6, "0.000001"}, NumberCase{1.25e-6, "0.00000125"},
                    NumberCase{1e-7, "1e-7"}, NumberCase{-2.5e-7, "-2.5e-7"}, NumberCase{1e23, "1e+23"},
                    NumberCase{static_cast<double>(0.1f), "0.10000000149011612"},
                    NumberCase{std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
                    NumberCase{std::numeric_limits<double>::denorm_min(), "5e-324"}));

TEST(JSONWriter, FloatsHaveTheirOwnShortestForm) {
  EXPECT_EQ(compactJSON(0.1f), "0.1");
  EXPECT_EQ(compactJSON(16777216.0f), "16777216");
  EXPECT_EQ(compactJSON(std::numeric_limits<float>::max()), "3.4028235e+38");
}

TEST(JSONWriter, IntegersAreExact) {
  EXPECT_EQ(compactJSON(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(compactJSON(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(JSONWriter, NumbersThatAreNotFiniteAreRefused) {
  EXPECT_THROW(compactJSON(std::numeric_limits<double>::infinity()), JSONError);
  EXPECT_THROW(compactJSON(std::nan("")), JSONError);
  EXPECT_THROW(canonicalJSON(Array{std::numeric_limits<float>::infinity()}), JSONError);
}

JSONValue nestedList(std::size_t depth) {
  JSONValue value = 1;
  for (std::size_t i = 0; i < depth; ++i) {
    Array outer;
    outer.push_back(std::move(value));
    value = std::move(outer);
  }
  return value;
}

TEST(JSONWriter, NestingIsLimitedAsInReading) {
  parse(compactJSON(nestedList(maximumJSONDepth)));
  EXPECT_THROW(compactJSON(nestedList(maximumJSONDepth + 1)), JSONError);
}

TEST(JSONWriter, RandomNumbersReadBackAsTheSameBits) {
  std::mt19937_64 random(5);
  for (int round = 0; round < 50'000; ++round) {
    const auto number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    const std::string text = compactJSON(number);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(parse(text).root().asDouble()), std::bit_cast<std::uint64_t>(number))
        << text;
    const auto single = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (!std::isfinite(single)) continue;
    const std::string singleText = compactJSON(single);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(parse(singleText).root().asFloat()), std::bit_cast<std::uint32_t>(single))
        << singleText;
  }
}

/// The value of `element`, to be written again.
JSONValue copyOf(const JSONElement& element) {
  switch (element.kind()) {
    case JSONElement::Kind::null:
      return nullptr;
    case JSONElement::Kind::boolean:
      return element.asBool();
    case JSONElement::Kind::number:
      return element.asDouble();
    case JSONElement::Kind::string:
      return element.asString();
    case JSONElement::Kind::array: {
      Array array;
      for (const JSONElement& entry : element.elements()) array.push_back(copyOf(entry));
      return array;
    }
    case JSONElement::Kind::object:
      break;
  }
  Object object;
  for (const auto& [key, entry] : element.members()) object.emplace_back(key, copyOf(entry));
  return object;
}

JSONValue randomValue(std::mt19937& random, int depth) {
  const auto randomText = [&] {
    std::string text;
    for (auto i = random() % 6; i > 0; --i) {
      constexpr std::array pieces{"a", "/", "\"", "\\", "\n", "\x01", "\u00e9", "\U0001F600", " "};
      text += pieces[random() % pieces.size()];
    }
    return text;
  };
  switch (random() % (depth > 0 ? 7 : 5)) {
    case 0:
      return nullptr;
    case 1:
      return random() % 2 == 0;
    case 2:
      return static_cast<double>(random()) / 1024.0;
    case 3:
      return static_cast<std::int64_t>(random()) - 2'000'000'000;
    case 4:
      return randomText();
    case 5: {
      Array array;
      for (auto i = random() % 4; i > 0; --i) array.push_back(randomValue(random, depth - 1));
      return array;
    }
    default: {
      Object object;
      for (auto i = random() % 4; i > 0; --i) object.emplace_back(randomText(), randomValue(random, depth - 1));
      return object;
    }
  }
}

TEST(JSONWriter, WhatIsWrittenReadsBackAndIsWrittenTheSame) {
  std::mt19937 random(6);
  for (int round = 0; round < 2000; ++round) {
    const JSONValue value = randomValue(random, 4);
    const std::string canonical = canonicalJSON(value);
    EXPECT_EQ(canonicalJSON(copyOf(parse(canonical).root())), canonical);
    const std::string compact = compactJSON(value);
    EXPECT_EQ(compactJSON(copyOf(parse(compact).root())), compact);
    EXPECT_EQ(canonical.back(), '\n');
    EXPECT_NE(canonical.at(canonical.size() - 2), '\n');
  }
}

TEST(JSONWriter, MakesTheElementsOfALazyListInOrder) {
  const auto lazy = [](std::size_t count) {
    return JSONValue(JSONValue::LazyArray{
        .count = count, .element = [](std::size_t index) { return JSONValue(static_cast<std::int64_t>(index)); }});
  };
  EXPECT_EQ(compactJSON(lazy(3)), "[0,1,2]");
  EXPECT_EQ(canonicalJSON(lazy(2)), canonicalJSON(JSONValue::Array{0, 1}));
  EXPECT_EQ(canonicalJSON(lazy(0)), canonicalJSON(JSONValue::Array{}));
}

}  // namespace
}  // namespace ornolith
