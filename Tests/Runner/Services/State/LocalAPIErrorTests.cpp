#include "Runner/Services/State/LocalAPIError.h"

#include <gtest/gtest.h>

namespace quoxelin {

namespace {
using Case = LocalAPIError::Case;
}

TEST(LocalAPIError, hasADescriptionForUsers) {
    const auto described = [](Case kind) {
        return LocalAPIError{kind, "why", 404}.errorDescription();
    };
    EXPECT_EQ(described(Case::connectFailed), "Failed to connect to quoxelind socket: why");
    EXPECT_EQ(described(Case::writeFailed), "Failed to write request: why");
    EXPECT_EQ(described(Case::readFailed), "Failed to read response: why");
    EXPECT_EQ(described(Case::httpError), "HTTP error 404: why");
    EXPECT_EQ(described(Case::socketCreateFailed), "Failed to create unix domain socket");
    EXPECT_EQ(described(Case::socketPathTooLong), "Socket path too long");
    EXPECT_EQ(described(Case::badHTTPResponse), "Bad HTTP response from LocalAPI");
    EXPECT_EQ(described(Case::decodeFailed), "Failed to decode LocalAPI JSON response");
}

TEST(LocalAPIError, printsItsCaseWithWhatItCarries) {
    const auto printed = [](Case kind) {
        return LocalAPIError{kind, "no \"x\"\\\n", 404}.debugDescription();
    };
    EXPECT_EQ(printed(Case::connectFailed), R"(connectFailed("no \"x\"\\\n"))");
    EXPECT_EQ(printed(Case::writeFailed), R"(writeFailed("no \"x\"\\\n"))");
    EXPECT_EQ(printed(Case::readFailed), R"(readFailed("no \"x\"\\\n"))");
    EXPECT_EQ(printed(Case::httpError), R"(httpError(404, "no \"x\"\\\n"))");
    EXPECT_EQ(printed(Case::socketCreateFailed), "socketCreateFailed");
    EXPECT_EQ(printed(Case::socketPathTooLong), "socketPathTooLong");
    EXPECT_EQ(printed(Case::badHTTPResponse), "badHTTPResponse");
    EXPECT_EQ(printed(Case::decodeFailed), "decodeFailed");
    EXPECT_EQ((LocalAPIError{Case::connectFailed, "\x01\x1F\x7F ~\r\té"}.debugDescription()),
              R"(connectFailed("\u{1}\u{1F}\u{7F} ~\r\té"))");
}

} // namespace quoxelin
