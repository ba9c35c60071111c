#include "Base/Json.h"

#include <gtest/gtest.h>

namespace quoxelin::json {

namespace {

struct Inner {
    std::int64_t id = 0;
    std::optional<std::string> name;

    bool operator==(const Inner&) const = default;

    template <typename Record, typename Coder>
    static void describe(Record& record, Coder& coder) {
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
    static void describe(Record& record, Coder& coder) {
        coder("text", record.text);
        coder("flag", record.flag);
        coder.orEmpty("list", record.list);
        coder("words", record.words);
        coder("map", record.map);
        coder("inner", record.inner);
    }
};

std::string failureOf(std::string_view text) {
    const auto outer = decode<Outer>(text);
    return outer ? "" : outer.error().description;
}

bool parses(std::string_view text) {
    return Document::parse(text).has_value();
}

std::optional<std::int64_t> integerIn(std::string_view text) {
    const auto document = Document::parse(text);
    return document ? document->root().integer() : std::nullopt;
}

std::string repeated(std::string_view part, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

std::string keysOf(std::string_view text) {
    const auto document = Document::parse(text).value();
    std::string keys;
    for (const auto& member : document.root().members())
        keys += std::string(member.key) + '=' + std::to_string(*member.value.integer()) + ' ';
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
}

TEST(Json, takesNoOtherNumberAsAnInteger) {
    for (const auto* const text :
         {"4.5", "9223372036854775808", "-9223372036854775809", "9223372036854775808.0", "1e19",
          "1e400", "-1e400", "18446744073709551616", "123456789012345678901234567890"})
        EXPECT_EQ(integerIn(text), std::nullopt) << text;
}

TEST(Json, readsEveryNumberAsAFloatingOne) {
    EXPECT_EQ(Document::parse("0.25")->root().number(), 0.25);
    EXPECT_EQ(Document::parse("-3")->root().number(), -3);
    EXPECT_EQ(Document::parse("18446744073709551615")->root().number(), 18446744073709551616.0);
    EXPECT_EQ(Document::parse("true")->root().number(), std::nullopt);
    EXPECT_EQ(Document::parse("\"1\"")->root().number(), std::nullopt);
}

TEST(Json, keepsNumbersAndBooleansApart) {
    EXPECT_EQ(integerIn("true"), std::nullopt);
    EXPECT_EQ(integerIn("\"4\""), std::nullopt);
    EXPECT_EQ(Document::parse("1")->root().boolean(), std::nullopt);
    EXPECT_EQ(Document::parse("\"true\"")->root().boolean(), std::nullopt);
    EXPECT_EQ(Document::parse("false")->root().boolean(), false);
}

TEST(Json, readsNoOtherTypeAsAString) {
    for (const auto* const text : {"1", "true", "null", "[]", "{}"})
        EXPECT_EQ(Document::parse(text)->root().string(), std::nullopt) << text;
    EXPECT_EQ(Document::parse(R"("a\u00e9\ud83d\ude00\n")")->root().string(), "aé😀\n");
    EXPECT_EQ(Document::parse(R"("\u0000")")->root().string(), std::string_view("\0", 1));
}

TEST(Json, readsOnlyAnArrayOfNothingButStringsAsStrings) {
    const auto strings = [](std::string_view text) {
        return Document::parse(text)->root().strings();
    };
    EXPECT_EQ(strings(R"(["a","b"])"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(strings("[]"), std::vector<std::string>());
    EXPECT_EQ(strings(R"(["a",1])"), std::nullopt);
    EXPECT_EQ(strings(R"([null])"), std::nullopt);
    EXPECT_EQ(strings(R"("a")"), std::nullopt);
    EXPECT_EQ(strings(R"({"a":"b"})"), std::nullopt);
}

TEST(Json, hasNoElementsMembersOrFindingsWhereThereIsNoContainer) {
    const auto document = Document::parse("7").value();
    for (const auto element : document.root().elements())
        FAIL() << static_cast<int>(element.kind());
    EXPECT_TRUE(document.root().members().empty());
    EXPECT_FALSE(document.root().find("a").has_value());
    EXPECT_FALSE(Document::parse(R"(["a"])")->root().find("a").has_value());
}

TEST(Json, walksElementsInOrderOverNestedOnes) {
    const auto document = Document::parse("[1,[2,[3]],{\"a\":4},5]").value();
    std::string kinds;
    for (const auto element : document.root().elements())
        kinds += element.isArray() ? 'a' : element.isObject() ? 'o' : 'n';
    EXPECT_EQ(kinds, "naon");
    EXPECT_EQ(document.root().elements().size(), 4u);
}

TEST(Json, keepsMembersInTheDocumentsOrder) {
    EXPECT_EQ(keysOf(R"({"z":1,"a":2,"m":3})"), "z=1 a=2 m=3 ");
}

TEST(Json, letsTheLastOfDuplicateKeysWinAndVisitsItOnce) {
    EXPECT_EQ(keysOf(R"({"a":1,"b":2,"a":3,"c":4,"a":5})"), "b=2 c=4 a=5 ");
    const auto document = Document::parse(R"({"a":1,"b":2,"a":3})").value();
    EXPECT_EQ(document.root().find("a")->integer(), 3);
    EXPECT_EQ(decode<Inner>(R"({"ID":"wrong","ID":7})"), (Inner{7, std::nullopt}));
    EXPECT_FALSE(decode<Inner>(R"({"ID":7,"ID":"wrong"})").has_value());
    EXPECT_EQ(
        decode<Outer>(R"({"text":"","flag":true,"map":{"k":{},"k":{"ID":2}}})")->map->at("k").id,
        2);
}

TEST(Json, comparesKeysAfterTheirEscapes) {
    EXPECT_EQ(Document::parse(R"({"\u0061":1})")->root().find("a")->integer(), 1);
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

TEST(Json, refusesWhatIsNoJson) {
    using namespace std::string_view_literals;
    for (const auto text : {""sv,
                            " "sv,
                            "{"sv,
                            "{}}"sv,
                            "{} {}"sv,
                            "nul"sv,
                            "{'a':1}"sv,
                            "[1,]"sv,
                            "{\"a\":1,}"sv,
                            "01"sv,
                            "-"sv,
                            "1."sv,
                            ".5"sv,
                            "+1"sv,
                            "1e"sv,
                            "NaN"sv,
                            "\"\x01\""sv,
                            "\"a"sv,
                            "\"\\x\""sv,
                            "{}\0"sv,
                            "\0{}"sv,
                            "\"a\0b\""sv,
                            "\xEF\xBB\xBF{}"sv,
                            "\"\xFF\""sv,
                            "\"\xC0\x80\""sv,
                            "\"\xED\xA0\x80\""sv,
                            R"("\ud800")"sv,
                            R"("\ud800x")"sv,
                            R"("\ud800\u0041")"sv,
                            R"("\udc00")"sv,
                            R"("\ud800\ud800")"sv})
        EXPECT_FALSE(parses(text)) << text;
}

TEST(Json, acceptsWhiteSpaceAroundTheValue) {
    EXPECT_TRUE(parses(" \t\r\n{} \r"));
}

TEST(Json, refusesWhatIsNestedDeeperThan512) {
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

TEST(Json, ignoresNumbersBeyondEveryTypeInMembersThatNobodyReads) {
    const std::string huge = "123456789012345678901234567890";
    for (const auto& number : {huge, '-' + huge, huge + ".5", std::string("1e400"),
                               std::string("-1E+99999"), std::string("18446744073709551616")}) {
        EXPECT_EQ(decode<Inner>(R"({"x":)" + number + R"(,"ID":7})"), (Inner{7, {}})) << number;
        EXPECT_EQ(decode<Inner>(R"({"ID":7,"x":[{"y":)" + number + "}]}"), (Inner{7, {}}))
            << number;
        EXPECT_FALSE(decode<Inner>(R"({"ID":)" + number + "}").has_value()) << number;
    }
    EXPECT_EQ(decode<Inner>(R"({"x":)" + huge + R"(,"Name":"\"1e400, 1","ID":4e0})"),
              (Inner{4, "\"1e400, 1"}));
    EXPECT_EQ(decode<Inner>("{\"x\":" + repeated("9", 100'000) + ",\"ID\":1}"), (Inner{1, {}}));
}

TEST(Json, refusesMalformedNumbersHoweverLong) {
    for (const auto* const number :
         {"0123456789012345678901234567890", "123456789012345678901234567890.",
          "123456789012345678901234567890e", "--123456789012345678901234567890",
          "123456789012345678901234567890-", "1e400.5", "123456789012345678901234567890x"})
        EXPECT_FALSE(parses(std::string("{\"x\":1e999,\"y\":") + number + "}")) << number;
}

TEST(Json, givesNothingOfOneTextToTheNext) {
    const auto first = Document::parse(R"({"a":"first"})").value();
    const auto second = Document::parse(R"({"a":"second"})").value();
    EXPECT_EQ(first.root().find("a")->string(), "first");
    EXPECT_EQ(second.root().find("a")->string(), "second");
    EXPECT_FALSE(parses("{"));
    EXPECT_TRUE(parses("{}"));
}

TEST(Json, parsesShortTextsAfterAHugeOne) {
    EXPECT_TRUE(parses("[\"" + std::string(3 << 20, 'x') + "\"]"));
    EXPECT_EQ(integerIn("7"), 7);
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

TEST(JsonRecords, sayWhereTheyFail) {
    EXPECT_EQ(failureOf(R"([])"), "the whole should be an object");
    EXPECT_EQ(failureOf(R"({"flag":true})"), "text is missing");
    EXPECT_EQ(failureOf(R"({"text":null,"flag":true})"), "text should be a string");
    EXPECT_EQ(failureOf(R"({"text":"","flag":1})"), "flag should be a boolean");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"list":{}})"), "list should be an array");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"list":[{"ID":1},{}]})"),
              "list[1].ID is missing");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"list":[null]})"), "list[0] should be an object");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"words":["a",1]})"),
              "words[1] should be a string");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"map":{"k":{"ID":1.5}}})"),
              "map.k.ID should be an integer of at most 64 bits");
    EXPECT_EQ(failureOf(R"({"text":"","flag":true,"inner":{"ID":1,"Name":0}})"),
              "inner.Name should be a string");
    EXPECT_EQ(failureOf("{").substr(0, 9), "no JSON: ");
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
