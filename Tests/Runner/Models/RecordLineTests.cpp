#include "Base/JsonDecoder.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"
#include "Tests/Support/Golden.h"

#include <gtest/gtest.h>
#include <sstream>

namespace quoxelin::testing {

namespace {

/// The bytes that %XX stands for, and all others.
std::string bytesOf(std::string_view text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isEscaped = text[at] == '%';
        bytes +=
            isEscaped
                ? static_cast<char>(std::stoi(std::string(text.substr(at + 1, 2)), nullptr, 16))
                : text[at];
        at += isEscaped ? 2 : 0;
    }
    return bytes;
}

/// The decoded line encoded again, or why it is refused.
template <typename Record>
std::string outcome(std::string_view line) {
    const auto record = json::decode<Record>(line);
    if (record)
        return json::encode(*record);
    // What follows is the library's wording.
    const auto& reason = record.error().description;
    return reason.starts_with("no JSON: ") ? "not JSON" : reason;
}

/// Decodes the lines of a golden file, of which each ends with its outcome.
template <typename Record>
void expectOutcomes(const std::string& name, int count) {
    std::istringstream golden(goldenText(name));
    std::string text, line;
    for (; std::getline(golden, line); --count) {
        const auto written = line.substr(0, line.find('\t'));
        text += written + '\t' + outcome<Record>(bytesOf(written)) + '\n';
    }
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(matchesGolden(name, text));
}

} // namespace

TEST(UnusualLines, areDecodedAsNotificationsOrRefused) {
    expectOutcomes<HashiBusNotify>("lines/notifications", 148);
}

TEST(UnusualLines, areDecodedAsProfilesOrRefused) {
    expectOutcomes<ProfilesResponse>("lines/profiles", 18);
}

} // namespace quoxelin::testing
