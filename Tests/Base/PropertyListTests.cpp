#include "Base/PropertyList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quoxelin {
namespace {

using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::string list(const std::string& members) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"> <!-- <dict> is not here --> <dict>)" +
           members + "</dict></plist>\n";
}

TEST(PropertyList, findsStringsByKey) {
    EXPECT_THAT(
        stringsOfPropertyList(list(R"(
        <key>Name</key> <string>one</string>
        <key>Flag</key> <true/>
        <key>Nested</key> <dict><key>Name</key><string>wrong</string><dict/></dict>
        <key>List</key> <array><string>a</string></array>
        <key>Number</key> <integer>3</integer>
        <key>Empty</key> <string/>
        <key>Blank</key><string> </string>
        <!-- <key>Hidden</key><string>x</string> -->
        <key>Q&amp;A</key><string>&lt;&gt;&quot;&apos;&#65;&#xe9;&#x20AC;&#x1F512;</string>)")),
        Optional(UnorderedElementsAre(Pair("Name", "one"), Pair("Empty", ""), Pair("Blank", " "),
                                      Pair("Q&A", "<>\"'A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\x92"))));
    EXPECT_THAT(stringsOfPropertyList(list("")), Optional(IsEmpty()));
    EXPECT_THAT(stringsOfPropertyList("<?note <dict> ?><!DOCTYPE <x>><plist><dict></dict></plist>"),
                Optional(IsEmpty()));
}

TEST(PropertyList, knowsTheFirstAndTheLastCharacterOfEachLength) {
    const std::vector<std::pair<std::string, std::string>> characters = {
        {"&#1;", "\x01"},
        {"&#x7F;", "\x7F"},
        {"&#x80;", "\xC2\x80"},
        {"&#x7FF;", "\xDF\xBF"},
        {"&#x800;", "\xE0\xA0\x80"},
        {"&#xD7FF;", "\xED\x9F\xBF"},
        {"&#xE000;", "\xEE\x80\x80"},
        {"&#xFFFF;", "\xEF\xBF\xBF"},
        {"&#x10000;", "\xF0\x90\x80\x80"},
        {"&#x50000;", "\xF1\x90\x80\x80"},
        {"&#x10FFFF;", "\xF4\x8F\xBF\xBF"}};
    for (const auto& [reference, character] : characters)
        EXPECT_THAT(stringsOfPropertyList(list("<key>K</key><string>" + reference + "</string>")),
                    Optional(UnorderedElementsAre(Pair("K", character))))
            << reference;
}

TEST(PropertyList, isEmptyIfItIsMalformed) {
    for (const std::string& broken : {std::string(),
                                      std::string("no XML"),
                                      std::string("<plist><dict><key>K</key>"),
                                      std::string("<plist><dict><key>K</key><string>cut"),
                                      std::string("<dict><key>K</key><string>x</string></dict>"),
                                      std::string("<plist/>"),
                                      std::string("<plist><dict>"),
                                      std::string("<plist><dict><"),
                                      std::string("<!--"),
                                      std::string("<!-- <plist><dict></dict></plist>"),
                                      std::string("<?xml"),
                                      std::string("<plist/><dict></dict>"),
                                      std::string("<plist><dict/></dict></plist>"),
                                      std::string("<x><dict></dict></x>"),
                                      std::string("<plist><x></dict></plist>"),
                                      std::string("<plist><dict></dict"),
                                      std::string("<plist><dict></x></plist>"),
                                      list("<key>K</key><string>a<string>"),
                                      list("<key>K</key><string>a</"),
                                      list("<key>K</key><array></dict>"),
                                      list("<key>K</key><array><></></array>"),
                                      list("<key>K</key><string>&165;</string>"),
                                      list("<key>K</key><string>&#;</string>"),
                                      list("<string>no key</string>"),
                                      list("<key>K</key>"),
                                      list("<key>K</key></x>"),
                                      list("<key>K</key><string>x</key>"),
                                      list("<key>K</key><string>a<b/></string>"),
                                      list("<key>K</key><string>a<!-- b --></string>"),
                                      list("<key>K</key><array><dict></array>"),
                                      list("<key>K</key><string>&amp</string>"),
                                      list("<key>K</key><string>&other;</string>"),
                                      list("<key>K</key><string>&#0;</string>"),
                                      list("<key>K</key><string>&#xD800;</string>"),
                                      list("<key>K</key><string>&#xDFFF;</string>"),
                                      list("<key>K</key><string>&#4294967361;</string>"),
                                      list("<key>K</key><string>&#65x;</string>"),
                                      list("<key>K</key><string>&#x110000;</string>")})
        EXPECT_EQ(stringsOfPropertyList(broken), std::nullopt) << broken;
}

} // namespace
} // namespace quoxelin
