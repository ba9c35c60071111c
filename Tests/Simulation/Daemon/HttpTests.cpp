#include "Simulation/Daemon/Http.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

using Progress = HttpRequest::Progress;

const std::string patch = "PATCH /localapi/v0/hatago HTTP/1.1\r\n"
                          "Host: local-quoxelind.sock\r\n"
                          "Content-Length: 2\r\n"
                          "Connection: close\r\n"
                          "\r\n"
                          "{}";

TEST(HttpRequest, isReadInAnyPieces) {
    for (std::size_t cut = 1; cut < patch.size(); ++cut) {
        HttpRequest request;
        EXPECT_EQ(request.read(patch.substr(0, cut)), Progress::incomplete) << cut;
        EXPECT_EQ(request.read(patch), Progress::complete) << cut;
        EXPECT_EQ(request.size(), patch.size());
        EXPECT_EQ(request.method(), "PATCH");
        EXPECT_EQ(request.target(), "/localapi/v0/hatago");
        EXPECT_EQ(request.body(), "{}");
        EXPECT_FALSE(request.keepAlive());
        EXPECT_EQ(request.headers().at(1),
                  (std::pair<std::string, std::string>("Content-Length", "2")));
    }
}

TEST(HttpRequest, endsWithItsHeaderWhenNoLengthIsGiven) {
    const std::string logout =
        "POST /localapi/v0/logout HTTP/1.1\r\nHost: local-quoxelind.sock\r\n\r\n";
    HttpRequest request;
    EXPECT_EQ(request.read(logout + "more"), Progress::complete);
    EXPECT_EQ(request.size(), logout.size());
    EXPECT_TRUE(request.keepAlive());
    EXPECT_EQ(request.body(), "");
}

TEST(HttpRequest, isMalformedWhenItIsNotHttp) {
    for (const char* bytes :
         {"HELLO\r\n\r\n", "GET /\r\n\r\n", "GET / HTTP/1.1\r\nno colon\r\n\r\n",
          "GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n"}) {
        HttpRequest request;
        EXPECT_EQ(request.read(bytes), Progress::malformed) << bytes;
    }
}

TEST(HttpReply, saysHowLongTheBodyIs) {
    EXPECT_EQ(httpReply(200, {{"X", "y"}}, "body", false),
              "HTTP/1.1 200 OK\r\nContent-Length: 4\r\nConnection: close\r\nX: y\r\n\r\nbody");
    EXPECT_EQ(httpReply(404, {}, "", true), "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
}

} // namespace
} // namespace quoxelin::sim
