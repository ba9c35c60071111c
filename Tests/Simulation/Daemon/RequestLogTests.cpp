#include "Simulation/Daemon/RequestLog.h"

#include "Tests/Simulation/Daemon/Tree.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

ReceivedRequest request(std::string method, std::string target) {
    ReceivedRequest received;
    received.method = std::move(method);
    received.target = std::move(target);
    return received;
}

TEST(RequestLog, numbersAndCountsWhatWasReceived) {
    RequestLog log;
    EXPECT_EQ(log.add(request("GET", "/a")).index, 1u);
    EXPECT_EQ(log.add(request("POST", "/b?x=1")).index, 2u);
    EXPECT_EQ(log.count("", ""), 2u);
    EXPECT_EQ(log.count("GET", ""), 1u);
    EXPECT_EQ(log.count("", "/b"), 1u);
    EXPECT_EQ(log.count("GET", "/b"), 0u);
}

TEST(RequestLog, reportsEveryByteAndNeverBreaksTheJsonLine) {
    RequestLog log;
    ReceivedRequest odd = request("GET", "/\xFF");
    odd.headers.emplace_back("X", "\xFE");
    odd.body = "\x80";
    odd.bytes = std::string("GET /\xFF\0", 7);
    odd.complete = false;
    log.add(std::move(odd));
    const Tree told = Tree(log.report(0, "", "")).at(0);
    EXPECT_EQ(told.at("bytes"), std::string("GET /\xC3\xBF\0", 8));
    EXPECT_EQ(told.at("target"), "/?");
    EXPECT_EQ(told.at("headers").at(0).at(1), "?");
    EXPECT_EQ(told.at("complete"), false);
}

TEST(RequestLog, reportsRequestsAfterANumber) {
    RequestLog log;
    for (const char* target : {"/a", "/b", "/c"})
        log.add(request("GET", target));
    const Tree told = log.report(1, "", "");
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told.at(0).at("target"), "/b");
    EXPECT_EQ(log.report(0, "GET", "/c").size(), 1u);
}

TEST(RequestLog, keepsTheNewestTenThousand) {
    RequestLog log;
    for (int i = 0; i < 10002; ++i)
        log.add(request("GET", "/a"));
    EXPECT_EQ(Tree(log.report(0, "", "")).at(0).at("index"), 3);
    EXPECT_EQ(log.count("", ""), 10000u);
}

} // namespace
} // namespace quoxelin::sim
