#include "Base/JsonDecoder.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace quoxelin::json {

namespace {

struct Inner {
    std::int64_t id = 0;
    std::optional<std::string> name;

    bool operator==(const Inner&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("ID", record.id);
        coder("Name", record.name);
    }
};

struct Outer {
    std::string text;
    bool flag = false;
    std::vector<Inner> list;
    std::optional<std::vector<std::string>> words;
    std::optional<std::map<std::string, Inner>> map;
    std::optional<Inner> inner;

    bool operator==(const Outer&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("text", record.text);
        coder("flag", record.flag);
        coder("list", record.list);
        coder("words", record.words);
        coder("map", record.map);
        coder("inner", record.inner);
    }
};

struct Lists {
    std::optional<Later<std::vector<Inner>>> list;
    std::optional<Later<std::map<std::string, Inner>>> map;

    bool operator==(const Lists&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("list", record.list);
        coder("map", record.map);
    }
};

/// What kind of value there is.
struct Kind {
    std::string name;
};

std::string_view decodeValue(const Value& value, Kind& into) {
    into.name = value.isArray()    ? "array"
                : value.isObject() ? "object"
                : value.isNull()   ? "null"
                : value.boolean()  ? "boolean"
                : value.integer()  ? "integer"
                : value.number()   ? "number"
                                   : "string";
    return value.string() == "wrong" ? "is a wrong text" : "";
}

bool parses(std::string_view text) {
    return parse(text).has_value();
}

std::optional<std::int64_t> integerIn(std::string_view text) {
    const auto value = parse(text);
    return value ? value->integer() : std::nullopt;
}

std::string repeated(std::string_view part, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

std::string keysOf(std::string_view text) {
    const auto value = parse(text).value();
    std::string keys;
    for (const auto& member : value.members())
        keys += member.key + '=' + std::to_string(*member.value.integer()) + ' ';
    return keys;
}

} // namespace

TEST(Json, takesEveryIntegralNumberInRangeAsAnInteger) {
    EXPECT_EQ(integerIn("4"), 4);
    EXPECT_EQ(integerIn("4.0"), 4);
    EXPECT_EQ(integerIn("4e0"), 4);
    EXPECT_EQ(integerIn("40E-1"), 4);
    EXPECT_EQ(integerIn("-0"), 0);
    EXPECT_EQ(integerIn("-0.0"), 0);
    EXPECT_EQ(integerIn("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(integerIn("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(integerIn("-9223372036854775808.0"), INT64_MIN);
    EXPECT_EQ(integerIn("9223372036854775807.0"), INT64_MAX);
    EXPECT_EQ(integerIn("9007199254740993.0"), 9007199254740993);
    EXPECT_EQ(integerIn("-90071992547409930e-1"), -9007199254740993);
    EXPECT_EQ(integerIn("92233720368547758E+2"), 9223372036854775800);
    EXPECT_EQ(integerIn("0.00000009007199254740993e23"), 9007199254740993);
    EXPECT_EQ(integerIn("9223372035e9"), 9223372035000000000) << "no double is like it";
    EXPECT_EQ(Value(-0x1p63).integer(), INT64_MIN);
    EXPECT_EQ(Value(0x1p63).integer(), std::nullopt);
}

TEST(Json, readsLargeIntegersOfRecordsExactly) {
    const auto id = [](const std::string& text) {
        const auto record = decode<Inner>("{\"ID\":" + text + "}");
        return record ? std::optional(record->id) : std::nullopt;
    };
    EXPECT_EQ(id("9007199254740993.0"), 9007199254740993) << "no double is like it";
    EXPECT_EQ(id("-9007199254740993.0"), -9007199254740993);
    EXPECT_EQ(id("9007199254740995.0"), 9007199254740995);
    EXPECT_EQ(id("-9007199254740995.0"), -9007199254740995);
    EXPECT_EQ(id("9223372036854775807.0"), INT64_MAX);
    EXPECT_EQ(id("9223372036854775808.0"), std::nullopt);
    EXPECT_EQ(id("9223372035e9"), 9223372035000000000);
}

TEST(Json, takesExponentsOfAnySize) {
    for (const auto* const exponent :
         {"-2147483648", "-2147483649", "-9223372036854775808", "-99999999999999999999",
          "2147483648", "9223372036854775808"})
        EXPECT_TRUE(json::parse(fmt::format("[1.0000000000000000e{}]", exponent))) << exponent;
    EXPECT_EQ(integerIn("1.0000000000000000e-2147483649"), 0);
    EXPECT_EQ(parse("[100e-1,1e400]")->elements()[0].integer(), 10) << "the other stays as it is";
}

TEST(Json, rejectsOtherNumbersAsIntegers) {
    for (const auto* const text :
         {"4.5", "9223372036854775808", "-9223372036854775809", "9223372036854775808.0", "1e19",
          "1e400", "-1e400", "1e0400", "-0.5e400", "18446744073709551616",
          "123456789012345678901234567890"}) {
        EXPECT_EQ(integerIn(text), std::nullopt) << text;
        EXPECT_TRUE(parse(text)->number()) << text;
    }
    EXPECT_EQ(integerIn(repeated("9", 400) + "e5"), std::nullopt);
}

TEST(Json, changesNothingButNumbers) {
    EXPECT_EQ(parse(R"(["\"9007199254740993.0"])")->elements()[0].string(), "\"9007199254740993.0");
    for (const auto* const text : {"x9007199254740993.0", "x9223372035e9"}) {
        const auto value = parse(fmt::format(R"({{"{0}":"{0}"}})", text)).value();
        EXPECT_EQ(value.members().at(0), (Member{text, text}));
    }
    for (const auto* const text : {"00000000000000001.0", "9007199254740993.", "9007199254740993e",
                                   "--9007199254740993.0", "9007199254740993.0.0", "00e400"})
        EXPECT_FALSE(parse(text)) << text;
}

TEST(Json, readsEveryNumberAsAFloatingPointNumber) {
    EXPECT_EQ(parse("0.25")->number(), 0.25);
    EXPECT_EQ(parse("-3")->number(), -3);
    EXPECT_EQ(parse("18446744073709551615")->number(), 18446744073709551616.0);
    EXPECT_EQ(parse("true")->number(), std::nullopt);
    EXPECT_EQ(parse("\"1\"")->number(), std::nullopt);
}

TEST(Json, keepsNumbersAndBooleansApart) {
    EXPECT_EQ(integerIn("true"), std::nullopt);
    EXPECT_EQ(integerIn("\"4\""), std::nullopt);
    EXPECT_EQ(parse("1")->boolean(), std::nullopt);
    EXPECT_EQ(parse("\"true\"")->boolean(), std::nullopt);
    EXPECT_EQ(parse("false")->boolean(), false);
}

TEST(Json, readsOnlyStringsAsStrings) {
    for (const auto* const text : {"1", "true", "null", "[]", "{}"})
        EXPECT_EQ(parse(text)->string(), std::nullopt) << text;
    EXPECT_EQ(parse(R"("a\u00e9\ud83d\ude00\n")")->string(), "aé😀\n");
    EXPECT_EQ(parse(R"("\u0000")")->string(), std::string_view("\0", 1));
}

TEST(Json, readsOnlyAnArrayOfStringsAsStrings) {
    const auto strings = [](std::string_view text) { return parse(text)->strings(); };
    EXPECT_EQ(strings(R"(["a","b"])"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(strings("[]"), std::vector<std::string>());
    EXPECT_EQ(strings(R"(["a",1])"), std::nullopt);
    EXPECT_EQ(strings(R"([null])"), std::nullopt);
    EXPECT_EQ(strings(R"("a")"), std::nullopt);
    EXPECT_EQ(strings(R"({"a":"b"})"), std::nullopt);
}

TEST(Json, hasNoElementsMembersOrFindingsIfItIsNotAContainer) {
    const auto value = parse("7").value();
    EXPECT_TRUE(value.elements().empty());
    EXPECT_TRUE(value.members().empty());
    EXPECT_EQ(value.find("a"), nullptr);
    EXPECT_EQ(parse(R"(["a"])")->find("a"), nullptr);
}

TEST(Json, walksElementsInOrderOverNestedOnes) {
    const auto value = parse("[1,[2,[3]],{\"a\":4},5]").value();
    std::string kinds;
    for (const auto& element : value.elements())
        kinds += element.isArray() ? 'a' : element.isObject() ? 'o' : 'n';
    EXPECT_EQ(kinds, "naon");
    EXPECT_EQ(value.elements().size(), 4u);
}

TEST(Json, keepsMembersInTheDocumentsOrder) {
    EXPECT_EQ(keysOf(R"({"z":1,"a":2,"m":3})"), "z=1 a=2 m=3 ");
}

TEST(Json, letsTheLastOfDuplicateKeysWinAndVisitsItOnce) {
    EXPECT_EQ(keysOf(R"({"a":1,"b":2,"a":3,"c":4,"a":5})"), "b=2 c=4 a=5 ");
    const auto value = parse(R"({"a":1,"b":2,"a":3})").value();
    EXPECT_EQ(value.find("a")->integer(), 3);
    EXPECT_EQ(decode<Inner>(R"({"ID":"wrong","ID":7})"), (Inner{7, std::nullopt}));
    EXPECT_FALSE(decode<Inner>(R"({"ID":7,"ID":"wrong"})").has_value());
    EXPECT_EQ(
        decode<Outer>(R"({"text":"","flag":true,"map":{"k":{},"k":{"ID":2}}})")->map->at("k").id,
        2);
    using Map = std::map<std::string, Inner>;
    for (const auto* const name : {"", R"(,"Name":null)"})
        EXPECT_EQ(
            decode<Map>(fmt::format(R"({{"k":{{"ID":1,"Name":"n"}},"k":{{"ID":2{}}}}})", name)),
            (Map{{"k", {2, {}}}}));
    using Lists = std::map<std::string, std::vector<std::string>>;
    EXPECT_EQ(decode<Lists>(R"({"k":["1"],"k":["2"]})"), (Lists{{"k", {"2"}}}));
    using Maps = std::map<std::string, std::map<std::string, std::string>>;
    EXPECT_EQ(decode<Maps>(R"({"k":{"a":"1"},"k":{"b":"2"}})"), (Maps{{"k", {{"b", "2"}}}}));
}

TEST(Json, hasNoByteOrderMark) {
    EXPECT_EQ(parse("\xEF\xBB\xBF[]").error().description,
              "no JSON: it begins with a byte-order mark");
}

TEST(Json, showsItsOwnTypesWhatKindOfValueTheyRead) {
    const auto kinds = decode<std::vector<Kind>>(R"(["text",[1],{"a":1},null,4,4.5,true])");
    ASSERT_TRUE(kinds) << kinds.error().description;
    std::string all;
    for (const auto& kind : *kinds)
        all += kind.name + ' ';
    EXPECT_EQ(all, "string array object null integer number boolean ");
    EXPECT_EQ(decode<std::vector<Kind>>(R"(["text","wrong"])").error().description,
              "[1] is a wrong text");
}

TEST(Json, decodesEscapesBeforeComparingKeys) {
    EXPECT_EQ(parse(R"({"\u0061":1})")->find("a")->integer(), 1);
    EXPECT_EQ(decode<Inner>(R"({"I\u0044":7})")->id, 7);
}

TEST(Json, findsMembersOfLargeObjects) {
    std::string text = "{";
    for (int i = 0; i < 1000; ++i)
        text += "\"k" + std::to_string(i) + "\":0,";
    EXPECT_EQ(decode<Inner>(text + R"("ID":9})")->id, 9);
    EXPECT_EQ(decode<Inner>(text + R"("ID":9,"x":1,"ID":10})")->id, 10);
    EXPECT_FALSE(decode<Inner>(text + R"("x":0})").has_value());
}

TEST(Json, refusesNestingDeeperThan512) {
    const auto nested = [](std::size_t depth) {
        return repeated("[", depth) + repeated("]", depth);
    };
    EXPECT_TRUE(parses(nested(512)));
    EXPECT_FALSE(parses(nested(513)));
    EXPECT_FALSE(parses(nested(100'000)));
    EXPECT_FALSE(parses(repeated("[", 100'000)));
    EXPECT_FALSE(parses(repeated("{\"a\":", 100'000) + "1" + repeated("}", 100'000)));
    EXPECT_TRUE(parses("[" + nested(511) + "," + nested(511) + "]"));
}

TEST(Json, ignoresAVeryLongNumberInAMemberThatIsNotRead) {
    EXPECT_EQ(decode<Inner>("{\"x\":" + repeated("9", 100'000) + ",\"ID\":1}"), (Inner{1, {}}));
}

TEST(Json, keepsNothingFromOneTextToTheNext) {
    const auto first = parse(R"({"a":"first"})").value();
    const auto second = parse(R"({"a":"second"})").value();
    EXPECT_EQ(first.find("a")->string(), "first");
    EXPECT_EQ(second.find("a")->string(), "second");
    EXPECT_FALSE(parses("{"));
    EXPECT_TRUE(parses("{}"));
}

TEST(Json, parsesShortTextsAfterAHugeOne) {
    EXPECT_TRUE(parses("[\"" + std::string(3 << 20, 'x') + "\"]"));
    EXPECT_EQ(integerIn("7"), 7);
}

TEST(Json, writesATreeAsItWasRead) {
    for (const auto* const text :
         {"null", "[true,false,-4,0.25,1e+300,\"\\u0001\\\"é\",[],{}]", R"({"b":[{}],"a":null})"})
        EXPECT_EQ(serialize(parse(text).value()), text);
    EXPECT_EQ(serialize(Object{{"a", 1}, {"b", Array{"x", nullptr, 0.5}}, {"c", Object()}}),
              R"({"a":1,"b":["x",null,0.5],"c":{}})");
}

TEST(Json, keepsNumbersWhateverTheirNotation) {
    for (const char* text : {"[3.0]", "[4e0]", "[-0.0]", "[1e300]", "[0.1]"}) {
        const auto tree = parse(text).value();
        EXPECT_EQ(parse(serialize(tree)).value(), tree) << text;
    }
}

TEST(JsonRecords, readListsAndMapsLaterFromWhatAllCopiesShare) {
    std::optional<Lists> first =
        decode<Lists>(R"({"list":[{"ID":1},{"ID":2}],"map":{"a":{"ID":3},"b":{"ID":4}}})").value();
    const auto copy = *first;
    first.reset();
    const auto other = decode<Lists>(R"({"list":[{"ID":9}],"map":{"a":null,"a":{"ID":5}}})");
    EXPECT_EQ(copy.list->get(), (std::vector<Inner>{{1, {}}, {2, {}}}));
    EXPECT_EQ(copy.map->get(), (std::map<std::string, Inner>{{"a", {3, {}}}, {"b", {4, {}}}}));
    EXPECT_EQ(copy.map->find("b"), (Inner{4, {}}));
    EXPECT_EQ(copy.map->find("c"), std::nullopt);
    EXPECT_EQ(other->map->find("a"), (Inner{5, {}}));
    EXPECT_EQ(decode<Lists>(encode(copy)), copy);
    EXPECT_NE(*other, copy);
    EXPECT_EQ(Later<std::vector<Inner>>().get(), std::vector<Inner>());
    EXPECT_EQ((Later<std::map<std::string, Inner>>().find("a")), std::nullopt);
}

TEST(JsonRecords, areCheckedCompletelyWhenRead) {
    EXPECT_EQ(decode<Lists>(R"({"list":[{"ID":1},{}]})").error().description,
              "list[1].ID is missing");
    EXPECT_EQ(decode<Lists>(R"({"map":{"a":{"ID":1,"Name":2}}})").error().description,
              "map.a.Name should be a string");
    EXPECT_EQ(
        decode<Outer>(R"({"text":"","flag":true,"words":null,"inner":3})").error().description,
        "inner should be an object");
    EXPECT_EQ(
        decode<std::vector<std::vector<std::string>>>(R"([["a"],["b",1]])").error().description,
        "[1][1] should be a string");
}

TEST(JsonRecords, areNeverMadeOfTextsThatAreNotUtf8) {
    EXPECT_DEATH(Later<std::vector<std::string>>({"\xFF"}),
                 "programming fault: a text that is not UTF-8 has no encoding");
}

TEST(JsonRecords, treatNullAndAbsentOptionalMembersAlike) {
    const Outer expected{"t", true, {}, {}, {}, {}};
    EXPECT_EQ(decode<Outer>(R"({"text":"t","flag":true})"), expected);
    EXPECT_EQ(decode<Outer>(R"({"text":"t","flag":true,"list":null,"words":null,"map":null,
                               "inner":null})"),
              expected);
}

TEST(JsonRecords, fillEveryMember) {
    EXPECT_EQ(
        decode<Outer>(R"({"inner":{"ID":1,"Name":"n"},"map":{"b":{"ID":2},"a":{"ID":3}},
                               "words":["x","y"],"list":[{"ID":4}],"flag":false,"text":"",
                               "unknown":{"ID":"ignored"}})"),
        (Outer{
            "", false, {{4, {}}}, {{"x", "y"}}, {{{"a", {3, {}}}, {"b", {2, {}}}}}, {{1, "n"}}}));
}

TEST(JsonRecords, encodeToTheKeysThatTheyAreDecodedFrom) {
    const Outer outer{"a\"\\\x01\n\x7f"
                      "é",
                      true,
                      {{-4, {}}},
                      {{"x", ""}},
                      {{{"k", {2, "n"}}}},
                      {{1, {}}}};
    EXPECT_EQ(encode(outer),
              "{\"text\":\"a\\\"\\\\\\u0001\\u000a\x7fé\",\"flag\":true,\"list\":[{\"ID\":-4}],"
              "\"words\":[\"x\",\"\"],\"map\":{\"k\":{\"ID\":2,\"Name\":\"n\"}},"
              "\"inner\":{\"ID\":1}}");
    EXPECT_EQ(decode<Outer>(encode(outer)), outer);
    EXPECT_EQ(encode(Outer{}), R"({"text":"","flag":false,"list":[]})");
}

} // namespace quoxelin::json
